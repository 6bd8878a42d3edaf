#pragma once

#include "PrintRequest.h"
#include "PrintRun.h"
#include "SettingsRecord.h"
#include "TestSupport.h"

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

// The lines of a drawing number as stored, ordered by the given columns; numbers read as numbers.
QList<StoredLine> ReadStoredLines(Database& db, const QString& dwgNo, const QString& orderBy = u"CH_ZNO"_qs);

// A deterministic table of n lines: a few makers, names repeating so that summing has work, every
// 10th line abolished, every 13th bracketed, R/L quantities now and then.
std::vector<StoredLine> MakeLines(int n);

// The program folder, connected, with the sample customer's output settings pointing at the shipped
// templates.
class PrintFixture : public AppFolder
{
public:
    static const QString customer; // "株式会社サンプル機工"
    PrintFixture();
    // A workbook of the settings tests' data folder.
    static QString workbook(const QString& name);
    void addTable(const QString& dwgNo, const QString& assy, const QString& kind,
                  const std::vector<StoredLine>& lines, const QString& name = u"搬送ユニット"_qs);
};

// The print request of the tests: DWG-95 / 01 of the sample customer, as the editor sends it.
PrintRequest SampleRequest(const QString& kind = u"1"_qs);

// Records what a run shows; keeps a copy of the work copy as it was when the preview opened.
class RecordingPresenter : public PrintPresenter
{
public:
    explicit RecordingPresenter(QString copyTo = {}) : m_copyTo(std::move(copyTo)) {}
    void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes,
                 const QStringList& runNotes) override;
    void keepWorkbook(const QString& workbookPath) override { kept << workbookPath; }
    void progress(int page, int total) override { pages << qMakePair(page, total); }
    QStringList previewed, printCopies, kept, notes,
        runNotes; // printCopies: what the preview shows and prints
    QList<QPair<int, int>> pages;

private:
    QString m_copyTo;
};

// LibreOffice renders the workbook to PDF; returns the PDF path or "" (with the reason in *problem).
QString RenderPdf(const QString& workbook, const QString& outFolder, QString* problem);
int PdfPageCount(const QString& pdf);
QString PdfText(const QString& pdf, int page);

// A complete settings record as a user fills the screen, blanks kept where users type them: heading
// " 製作部品表 " in C1, the six header items in B2 D2 B3 D3 F3 F2, the eight detail items in columns A
// to H with the caption and a blank as heading, detail rows 6 to 15 of a 20-row page. The layout of
// tests/settings/data/filled_list.xlsx.
SettingsRecord SampleSettings(const QString& user, const QString& templatePath);
