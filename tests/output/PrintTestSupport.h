#pragma once

#include "AppContext.h"
#include "PrintRun.h"

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
};

// A deterministic table of n lines: a few makers, names repeating so that summing has work,
// every 10th line abolished, R/L quantities now and then.
std::vector<StoredLine> MakeLines(int n);

// An application folder of its own: PARA.ini with the messages and the local database, the
// database made from data/schema.sql, and the sample customer's output settings pointing at the
// shipped templates.
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

    void addTable(const QString& dwgNo, const QString& assy, const QString& kind,
                  const std::vector<StoredLine>& lines, const QString& name = QStringLiteral("搬送ユニット"));
    void exec(const QString& sql);

private:
    QTemporaryDir m_dir;
    bool m_ok = false;
};

// Records what a run shows; keeps a copy of the work copy as it was when the preview opened.
class RecordingPresenter : public PrintPresenter
{
public:
    explicit RecordingPresenter(QString copyTo) : m_copyTo(std::move(copyTo)) {}
    void preview(const QString& workbookPath) override;
    void keepWorkbook(const QString& workbookPath) override { kept << workbookPath; }
    void progress(int page, int total) override { pages << qMakePair(page, total); }
    QStringList previewed;
    QStringList kept;
    QList<QPair<int, int>> pages;

private:
    QString m_copyTo;
};

// LibreOffice renders the workbook to PDF; returns the PDF path or "" (with the reason in *problem).
QString RenderPdf(const QString& workbook, const QString& outFolder, QString* problem);
int PdfPageCount(const QString& pdf);
QString PdfText(const QString& pdf, int page);
