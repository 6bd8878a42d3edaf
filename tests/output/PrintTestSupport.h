#pragma once

#include "AppContext.h"
#include "Clock.h"
#include "FileDialogService.h"
#include "MessageService.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "SettingsRecord.h"

#include <QStringList>
#include <QTemporaryDir>
#include <memory>
#include <vector>

// A stored parts-table line as the tests write it into BUHINHYO_M.
struct StoredLine {
    QString zno, hinmei, zaishitu;
    QVariant suryo;
    QString tani;
    QVariant suryo2;
    QString tani2, biko;
    QVariant tanka, kingk;
    QString maker;
    bool haishi = false;
    bool kakko = false;
    QString upd; // CH_UPDDATE, as read back
    bool operator==(const StoredLine&) const = default;
};

class Database;
// The lines of a drawing number as stored, ordered by the given columns; numbers read as numbers.
QList<StoredLine> ReadStoredLines(Database& db, const QString& dwgNo,
                                  const QString& orderBy = QStringLiteral("CH_ZNO"));

// A deterministic table of n lines: a few makers, names repeating so that summing has work,
// every 10th line abolished, R/L quantities now and then.
std::vector<StoredLine> MakeLines(int n);

// An application folder of its own for the output and settings tests: PARA.ini with the messages
// and the customers 客先A and 客先B, the local database made from data/schema.sql and connected, the
// sample customer's output settings pointing at the shipped templates, services the test answers
// and a clock fixed at 令和8年11月21日 09:30:05.
class PrintFixture
{
public:
    static const QString customer; // "株式会社サンプル機工"

    PrintFixture();
    ~PrintFixture();
    bool ok() const { return m_ok; }
    QString appFolder() const { return m_dir.path(); }
    AppContext ctx;
    ScriptedMessageService messages;
    ScriptedFileDialogService dialogs;
    FixedClock clock{QDateTime(QDate(2026, 11, 21), QTime(9, 30, 5))};

    // The catalogue codes of the boxes shown so far (a text outside the catalogue gives its first
    // four characters).
    QStringList codes() const;
    // A workbook of the settings tests' data folder.
    static QString workbook(const QString& name);

    void addTable(const QString& dwgNo, const QString& assy, const QString& kind,
                  const std::vector<StoredLine>& lines, const QString& name = QStringLiteral("搬送ユニット"));
    void exec(const QString& sql);

private:
    QTemporaryDir m_dir;
    bool m_ok = false;
};

// The print request of the tests: DWG-95 / 01 of the sample customer, as the editor sends it.
PrintRequest SampleRequest(const QString& kind = QStringLiteral("1"));

// Records what a run shows; keeps a copy of the work copy as it was when the preview opened.
class RecordingPresenter : public PrintPresenter
{
public:
    explicit RecordingPresenter(QString copyTo) : m_copyTo(std::move(copyTo)) {}
    void preview(const QString& workbookPath, const QString& printPath) override;
    void keepWorkbook(const QString& workbookPath) override { kept << workbookPath; }
    void progress(int page, int total) override { pages << qMakePair(page, total); }
    QStringList previewed;
    QStringList printCopies; // what the preview shows and prints
    QStringList kept;
    QList<QPair<int, int>> pages;

private:
    QString m_copyTo;
};

// LibreOffice renders the workbook to PDF; returns the PDF path or "" (with the reason in *problem).
QString RenderPdf(const QString& workbook, const QString& outFolder, QString* problem);
int PdfPageCount(const QString& pdf);
QString PdfText(const QString& pdf, int page);

// A complete settings record as a user fills the screen, blanks kept where users type them: heading
// " 製作部品表 " in C1, the six header items in B2 D2 B3 D3 F3 F2, the eight detail items in columns
// A to H with the caption and a blank as heading, detail rows 6 to 15 of a 20-row page. The layout
// of tests/settings/data/filled_list.xlsx.
SettingsRecord SampleSettings(const QString& user, const QString& templatePath);
