#include "InstallPrintRun.h"
#include "LibreOffice.h"
#include "PreviewWindow.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "PrintTestSupport.h"
#include "TestSupport.h"
#include "XlsxOutputWorkbook.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

// Shows the preview of a run and keeps screenshots of its first two pages.
class ScreenshotPresenter : public PrintPresenter
{
public:
    QString workFolder;
    QString shotFolder;
    int pages = 0;
    QString pageLabel1, pageLabel2;
    void preview(const QString& workbookPath, const QString& printPath) override
    {
        PreviewWindow w(workbookPath, workFolder, nullptr, printPath);
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.show();
        QVERIFY(done.wait(120000));
        QCOMPARE(done.first().first().toBool(), true);
        pages = w.pageCount();
        QTest::qWait(200);
        pageLabel1 = w.findChild<QLabel*>(QStringLiteral("pageLabel"))->text();
        w.grab().save(shotFolder + QStringLiteral("/preview-page1.png"));
        QTest::mouseClick(w.findChild<QPushButton*>(QStringLiteral("nextPageButton")), Qt::LeftButton);
        QTest::qWait(200);
        pageLabel2 = w.findChild<QLabel*>(QStringLiteral("pageLabel"))->text();
        w.grab().save(shotFolder + QStringLiteral("/preview-page2.png"));
    }
    void keepWorkbook(const QString&) override {}
};

static QString shotFolder()
{
    const QString folder =
        QString::fromLocal8Bit(qgetenv("BUHINHYO_BINARY_DIR")) + QStringLiteral("/screenshots");
    QDir().mkpath(folder);
    return folder;
}

class TestPreview : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void previewOfASample()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty())
            QSKIP("LibreOffice is not installed");
        PrintFixture f;
        QVERIFY(f.ok());
        f.addTable(QStringLiteral("DWG-95"), QStringLiteral("01"), QStringLiteral("1"), MakeLines(95));
        const PrintRequest r = SampleRequest();
        ScreenshotPresenter p;
        p.workFolder = f.appFolder() + QStringLiteral("/WORK");
        p.shotFolder =
            QString::fromLocal8Bit(qgetenv("BUHINHYO_BINARY_DIR")) + QStringLiteral("/screenshots");
        QDir().mkpath(p.shotFolder);
        QCOMPARE(RunPrint(f.ctx, r, OpenXlsxOutputWorkbook, p), PrintOutcome::Done);
        QCOMPARE(p.pages, 3);
        QCOMPARE(p.pageLabel1, QStringLiteral("1 / 3 頁"));
        QCOMPARE(p.pageLabel2, QStringLiteral("2 / 3 頁"));
    }

    void printsTheRenderedPages()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty())
            QSKIP("LibreOffice is not installed");
        QTemporaryDir dir;
        PreviewWindow w(sourceDir() + QStringLiteral("/data/templates/purchased_parts_template.xlsx"),
                        dir.path());
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.startRendering();
        // While LibreOffice works the window shows a busy indicator and keeps answering.
        QVERIFY(w.findChild<QProgressBar*>(QStringLiteral("progressBar"))->isVisibleTo(&w));
        QVERIFY(!w.findChild<QPushButton*>(QStringLiteral("printButton"))->isEnabled());
        w.grab().save(shotFolder() + QStringLiteral("/preview-rendering.png"));
        QVERIFY(done.wait(120000));
        QCOMPARE(w.pageCount(), 1);
        QVERIFY(w.findChild<QPushButton*>(QStringLiteral("printButton"))->isEnabled());
        // Printing renders the pages onto the printer (here a PDF file).
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        const QString printed = dir.filePath(QStringLiteral("printed.pdf"));
        printer.setOutputFileName(printed);
        QVERIFY(w.printPages(printer, 1, 1));
        QCOMPARE(PdfPageCount(printed), 1);
    }

    void installedRunReportsMissingSettings()
    {
        PrintFixture f;
        QVERIFY(f.ok());
        QVERIFY(!f.ctx.printRun);
        installPrintRun(f.ctx);
        QVERIFY(bool(f.ctx.printRun));
        PrintRequest r;
        r.customer = QStringLiteral("未登録");
        r.kind = QStringLiteral("1");
        f.ctx.printRun(r);
        QCOMPARE(f.messages.texts(), QStringList{QStringLiteral("出力設定がされていません。")});
        QVERIFY(!QApplication::overrideCursor());
        QVERIFY(!QFile::exists(f.ctx.WorkbookPath));
    }

    void withoutLibreOffice()
    {
        LibreOffice::setProgram(QStringLiteral("/nonexistent/soffice"));
        QTemporaryDir dir;
        PreviewWindow w(dir.filePath(QStringLiteral("x.xlsx")), dir.path());
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.startRendering();
        QCOMPARE(done.size(), 1);
        QCOMPARE(done.first().first().toBool(), false);
        QVERIFY(w.findChild<QLabel*>(QStringLiteral("problemLabel"))
                    ->text()
                    .contains(QStringLiteral("LibreOffice")));
        QVERIFY(w.findChild<QPushButton*>(QStringLiteral("openWorkbookButton"))->isEnabled());
        QVERIFY(!w.findChild<QPushButton*>(QStringLiteral("printButton"))->isEnabled());
        w.grab().save(shotFolder() + QStringLiteral("/preview-no-libreoffice.png"));
        LibreOffice::setProgram(QStandardPaths::findExecutable(QStringLiteral("soffice")));
    }
};

QTEST_MAIN(TestPreview)
#include "TestPreview.moc"
