#include "InstallPrintRun.h"
#include "LibreOffice.h"
#include "PreviewWindow.h"
#include "PrintTestSupport.h"
#include "XlsxOutputWorkbook.h"

#include <QApplication>
#include <QLabel>
#include <QPrinter>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

using namespace Qt::StringLiterals;

// Shows the preview of a run and pages through it.
class PagingPresenter : public PrintPresenter
{
public:
    QString workFolder;
    int pages = 0, printed = 0;
    QStringList labels;
    void preview(const QString& workbookPath) override
    {
        PreviewWindow w(workbookPath, workFolder);
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.show();
        QVERIFY(done.wait(120000));
        QVERIFY(done.first().first().toBool());
        pages = w.pageCount();
        labels << w.findChild<QLabel*>(u"pageLabel"_s)->text();
        QTest::mouseClick(w.findChild<QPushButton*>(u"nextPageButton"_s), Qt::LeftButton);
        labels << w.findChild<QLabel*>(u"pageLabel"_s)->text();
        // Printing renders the pages onto the printer (here a PDF file).
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(workFolder + u"/printed.pdf"_s);
        QVERIFY(w.printPages(printer, 1, pages));
        printed = PdfPageCount(workFolder + u"/printed.pdf"_s);
    }
    void keepWorkbook(const QString&) override {}
};

// The preview window over LibreOffice's rendering, and the print run as the screens start it.
class TestPreview : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        if (QStandardPaths::findExecutable(u"soffice"_s).isEmpty())
            QSKIP("LibreOffice is not installed");
        LibreOffice::setProgram(QStandardPaths::findExecutable(u"soffice"_s));
    }

    void previewOfARunPagesThroughItsPages()
    {
        PrintFixture f;
        f.addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(95));
        PagingPresenter p;
        p.workFolder = f.path(u"WORK"_s);
        QCOMPARE(RunPrint(f.ctx, SampleRequest(), OpenXlsxOutputWorkbook, p), PrintOutcome::Done);
        QCOMPARE(p.pages, 3);
        QCOMPARE(p.labels, QStringList({u"1 / 3 頁"_s, u"2 / 3 頁"_s}));
        QCOMPARE(p.printed, 3);
    }

    void installedRunReportsMissingSettings()
    {
        PrintFixture f;
        installPrintRun(f.ctx);
        PrintRequest r;
        r.customer = u"未登録"_s;
        r.kind = u"1"_s;
        f.ctx.printRun(r);
        QCOMPARE(f.codes(), QStringList(u"E150"_s));
        QVERIFY(!QApplication::overrideCursor());
        QVERIFY(!QFile::exists(f.ctx.WorkbookPath));
    }
};

QTEST_MAIN(TestPreview)
#include "TestPreview.moc"
