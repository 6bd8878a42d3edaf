#include "InstallPrintRun.h"
#include "LibreOffice.h"
#include "PreviewWindow.h"
#include "PrintTestSupport.h"
#include "XlsxOutputWorkbook.h"

#include <QApplication>
#include <QLabel>
#include <QPrinter>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QtTest>

using namespace Qt::StringLiterals;

// Shows the preview of a run and pages through it.
class PagingPresenter : public PrintPresenter
{
public:
    QString workFolder;
    int pages = 0, printed = 0;
    QStringList labels; // with the previous/next buttons usable at page 1, 2, End, PageUp
    double fittedScale = 0, zoomedInScale = 0;
    bool fitsTheScreen = false;
    void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes,
                 const QStringList& runNotes) override
    {
        PreviewWindow w(workbookPath, workFolder, nullptr, printPath);
        w.setNotes(notes, runNotes);
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.show();
        QApplication::setActiveWindow(&w);
        QVERIFY(done.wait(120000));
        QVERIFY(done.first().first().toBool());
        pages = w.pageCount();
        auto* prev = w.findChild<QPushButton*>(u"prevPageButton"_s);
        auto* next = w.findChild<QPushButton*>(u"nextPageButton"_s);
        auto state = [&] {
            labels << w.findChild<QLabel*>(u"pageLabel"_s)->text() + u' ' +
                          QString::number(prev->isEnabled()) + QString::number(next->isEnabled());
        };
        fitsTheScreen = w.frameGeometry().height() <= w.screen()->availableGeometry().height() &&
                        w.minimumSizeHint().width() < 800;
        state();
        QTest::mouseClick(next, Qt::LeftButton);
        state();
        QTest::keyClick(&w, Qt::Key_End);
        state();
        QTest::keyClick(&w, Qt::Key_PageUp);
        state();
        fittedScale = w.shownScale();
        QTest::mouseClick(w.findChild<QPushButton*>(u"zoomInButton"_s), Qt::LeftButton);
        zoomedInScale = w.shownScale();
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
        QCOMPARE(p.labels,
                 QStringList({u"1 / 3 頁 01"_s, u"2 / 3 頁 11"_s, u"3 / 3 頁 10"_s, u"2 / 3 頁 11"_s}));
        QVERIFY2(p.zoomedInScale > p.fittedScale, qPrintable(QString::number(p.fittedScale))); // "拡大"
        QVERIFY(p.fitsTheScreen);
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

    void withoutLibreOfficeTheWorkbookCanStillBeOpened()
    {
        LibreOffice::setProgram(u"/nonexistent/soffice"_s);
        QTemporaryDir dir;
        QFile book(dir.filePath(u"x.xlsx"_s));
        QVERIFY(book.open(QIODevice::WriteOnly));
        book.close();
        PreviewWindow w(book.fileName(), dir.path());
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.startRendering();
        QCOMPARE(done.size(), 1);
        QCOMPARE(done.first().first().toBool(), false);
        QVERIFY(w.findChild<QLabel*>(u"problemLabel"_s)->text().contains(u"LibreOffice"_s));
        QVERIFY(!w.findChild<QPushButton*>(u"printButton"_s)->isEnabled());
        // Below the pages: what of the template and what of the list did not come through.
        w.setNotes({u"a"_s}, {u"b"_s});
        QCOMPARE(w.findChild<QLabel*>(u"notesLabel"_s)->text(), u"雛形について: a\n出力について: b"_s);
        // Nothing on the machine opens the workbook: a box says so and names it.
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", dir.path().toLocal8Bit());
        ScriptedMessageService messages;
        w.setMessageService(&messages);
        auto* open = w.findChild<QPushButton*>(u"openWorkbookButton"_s);
        open->click();
        QCOMPARE(messages.shown.size(), 1);
        QVERIFY(messages.shown[0].text.contains(u"x.xlsx"_s));
        // The desktop names a program for workbooks: xdg-open is given the workbook.
        const QString opened = dir.filePath(u"opened"_s);
        const QString scripts[][2] = {{u"xdg-mime"_s, u"echo calc.desktop"_s},
                                      {u"xdg-open"_s, u"echo \"$1\" > "_s + opened}};
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
        LibreOffice::setProgram(QStandardPaths::findExecutable(u"soffice"_s));
    }
};

QTEST_MAIN(TestPreview)
#include "TestPreview.moc"
