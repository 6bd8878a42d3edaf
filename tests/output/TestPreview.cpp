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
    // Paging: the buttons usable at page 1 and at the end, where End and PageUp lead.
    QList<bool> prevNextAtFirst, prevNextAtLast;
    QString labelAfterEnd, labelAfterPageUp;
    double fittedScale = 0, zoomedInScale = 0;
    bool fitsTheScreen = false;
    void preview(const QString& workbookPath, const QString& printPath) override
    {
        PreviewWindow w(workbookPath, workFolder, nullptr, printPath);
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.show();
        QApplication::setActiveWindow(&w);
        QVERIFY(done.wait(120000));
        QCOMPARE(done.first().first().toBool(), true);
        pages = w.pageCount();
        QTest::qWait(200);
        auto* label = w.findChild<QLabel*>(QStringLiteral("pageLabel"));
        auto* prev = w.findChild<QPushButton*>(QStringLiteral("prevPageButton"));
        auto* next = w.findChild<QPushButton*>(QStringLiteral("nextPageButton"));
        pageLabel1 = label->text();
        prevNextAtFirst = {prev->isEnabled(), next->isEnabled()};
        fitsTheScreen = w.frameGeometry().height() <= w.screen()->availableGeometry().height() &&
                        w.minimumSizeHint().width() < 800;
        w.grab().save(shotFolder + QStringLiteral("/preview-page1.png"));
        QTest::mouseClick(next, Qt::LeftButton);
        QTest::qWait(200);
        pageLabel2 = label->text();
        w.grab().save(shotFolder + QStringLiteral("/preview-page2.png"));
        QTest::keyClick(&w, Qt::Key_End);
        labelAfterEnd = label->text();
        prevNextAtLast = {prev->isEnabled(), next->isEnabled()};
        QTest::keyClick(&w, Qt::Key_PageUp);
        labelAfterPageUp = label->text();
        fittedScale = w.shownScale();
        QTest::mouseClick(w.findChild<QPushButton*>(QStringLiteral("zoomInButton")), Qt::LeftButton);
        zoomedInScale = w.shownScale();
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
        QCOMPARE(p.prevNextAtFirst, (QList<bool>{false, true}));
        QCOMPARE(p.labelAfterEnd, QStringLiteral("3 / 3 頁"));
        QCOMPARE(p.prevNextAtLast, (QList<bool>{true, false}));
        QCOMPARE(p.labelAfterPageUp, QStringLiteral("2 / 3 頁"));
        // "拡大" from the whole page enlarges it.
        QVERIFY2(p.zoomedInScale > p.fittedScale, qPrintable(QString::number(p.fittedScale)));
        QVERIFY(p.fitsTheScreen);
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
        auto* open = w.findChild<QPushButton*>(QStringLiteral("openWorkbookButton"));
        QVERIFY(open->isEnabled());
        QVERIFY(!w.findChild<QPushButton*>(QStringLiteral("printButton"))->isEnabled());
        w.grab().save(shotFolder() + QStringLiteral("/preview-no-libreoffice.png"));

        // Nothing on the machine opens the workbook: a box says so and names it.
        QFile book(dir.filePath(QStringLiteral("x.xlsx")));
        QVERIFY(book.open(QIODevice::WriteOnly));
        book.close();
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", dir.path().toLocal8Bit());
        ScriptedMessageService messages;
        w.setMessageService(&messages);
        open->click();
        QCOMPARE(messages.shown.size(), 1);
        QVERIFY(messages.shown[0].text.contains(QStringLiteral("x.xlsx")));
        // The desktop names a program for workbooks: xdg-open is given the workbook.
        const QString opened = dir.filePath(QStringLiteral("opened"));
        const QString scripts[][2] = {
            {QStringLiteral("xdg-mime"), QStringLiteral("echo calc.desktop")},
            {QStringLiteral("xdg-open"), QStringLiteral("echo \"$1\" > ") + opened}};
        for (const auto& [name, body] : scripts) {
            QFile script(dir.filePath(name));
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write("#!/bin/sh\n" + body.toUtf8() + '\n');
            script.setPermissions(script.permissions() | QFile::ExeOwner);
        }
        open->click();
        QTRY_COMPARE(QString::fromUtf8(readFileBytes(opened)).trimmed(), book.fileName());
        QCOMPARE(messages.shown.size(), 1);
        qputenv("PATH", path);
        LibreOffice::setProgram(QStandardPaths::findExecutable(QStringLiteral("soffice")));
    }
};

QTEST_MAIN(TestPreview)
#include "TestPreview.moc"
