#include "InstallPrintRun.h"
#include "LibreOffice.h"
#include "PreviewWindow.h"
#include "PrintTestSupport.h"
#include "WarmRenderer.h"
#include "XlsxOutputWorkbook.h"

#include <QApplication>
#include <QLabel>
#include <QPrinter>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QtTest>

#include <csignal>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{
// A process that is gone, or only waits to be reaped.
bool Gone(qint64 pid)
{
    QFile stat(u"/proc/%1/stat"_s.arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = stat.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
}

// The program's part in the process tests: starts the renderer in workFolder, says "pids HELPER
// OFFICE" once it is ready, and ends when its standard input does.
int RendererChild(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    WarmRenderer renderer(QString::fromLocal8Bit(argv[2]));
    QObject::connect(&renderer, &WarmRenderer::readyChanged, [&](bool ready) {
        if (ready)
            std::printf("pids %lld %lld\n", renderer.helperPid(), renderer.officePid());
        std::fflush(stdout);
    });
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
    renderer.start();
    return app.exec();
}
} // namespace

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

    // The renderer kept warm gives the same pages as the cold conversion, page 1 first; when it dies,
    // hangs or loses its helper during a render the pages still come (the cold way), nothing is left
    // running, and it starts again by itself.
    void warmRendererPagesAndFaults_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<bool>("office");
        QTest::newRow("no fault") << 0 << true;
        QTest::newRow("LibreOffice killed") << SIGKILL << true;
        QTest::newRow("LibreOffice hangs") << SIGSTOP << true;
        QTest::newRow("helper killed") << SIGKILL << false;
    }
    void warmRendererPagesAndFaults()
    {
        QFETCH(int, signal);
        QFETCH(bool, office);
        PrintFixture f;
        f.addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(400));
        RecordingPresenter run;
        QCOMPARE(RunPrint(f.ctx, SampleRequest(), OpenXlsxOutputWorkbook, run), PrintOutcome::Done);
        // A folder name in Japanese, as users' folders are.
        const QString work = f.path(u"WORK"_s), book = f.path(u"部品表/DWG-95.xlsx"_s);
        QVERIFY(QDir().mkpath(f.path(u"部品表"_s)) && QFile::copy(run.printCopies.value(0), book));
        WarmRenderer renderer(work);
        renderer.setTimeLimit(4000, 0);
        renderer.start();
        QTRY_VERIFY_WITH_TIMEOUT(renderer.ready(), 90000);
        const qint64 pids[] = {renderer.officePid(), renderer.helperPid()};

        auto preview = [&](int fault, QStringList* whileComing) {
            auto w = std::make_unique<PreviewWindow>(book, work);
            w->setRenderer(&renderer);
            QSignalSpy done(w.get(), &PreviewWindow::renderingDone);
            connect(w.get(), &PreviewWindow::firstPageShown, w.get(), [&] {
                auto* zoomIn = w->findChild<QPushButton*>(u"zoomInButton"_s);
                const double fitted = w->shownScale();
                zoomIn->click();
                *whileComing << w->findChild<QLabel*>(u"pageLabel"_s)->text()
                             << QString::number(w->pagesComing() && w->shownScale() > fitted)
                             << QString::number(w->findChild<QPushButton*>(u"printButton"_s)->isEnabled());
            });
            w->startRendering();
            if (fault)
                ::kill(pid_t(pids[office ? 0 : 1]), fault);
            [&] { QVERIFY(done.wait(120000) && done.first().first().toBool()); }();
            return w;
        };
        QStringList whileComing;
        auto w = preview(signal, &whileComing);
        QCOMPARE(w->pageCount(), 10);
        QCOMPARE(w->renderedWarm(), signal == 0);
        if (signal == 0) {
            QCOMPARE(whileComing, QStringList({u"1 / … 頁"_s, u"1"_s, u"0"_s}));
            QString problem;
            const QString cold = RenderPdf(book, f.path(u"cold"_s), &problem);
            for (int page : {1, 10})
                QCOMPARE(PdfText(w->pdfPath(), page), PdfText(cold, page));
            // buhinhyo-print run on the program's folder renders through the program's renderer: no
            // LibreOffice profile of its own.
            const QString program = qEnvironmentVariable("BUHINHYO_BINARY_DIR") + u"/app/buhinhyo-print"_s;
            QVERIFY(QFile::copy(program, f.path(u"buhinhyo-print"_s)));
            QProcess batch;
            QSignalSpy ended(&batch, &QProcess::finished);
            batch.start(f.path(u"buhinhyo-print"_s),
                        {u"--dwgno"_s, u"DWG-95"_s, u"--assy"_s, u"01"_s, u"--kind"_s, u"1"_s,
                         u"--customer"_s, PrintFixture::customer, u"--pdf"_s, f.path(u"batch.pdf"_s)});
            QVERIFY(ended.wait(120000));
            QCOMPARE(batch.exitCode(), 0);
            QCOMPARE(PdfPageCount(f.path(u"batch.pdf"_s)), 10);
            QVERIFY(!QFileInfo::exists(work + u"/lo-profile-print"_s));
            return;
        }
        QVERIFY(!w->warmProblem().isEmpty());
        QVERIFY(Gone(pids[0]) && Gone(pids[1]));
        QTRY_VERIFY_WITH_TIMEOUT(renderer.ready(), 90000);
        QVERIFY(renderer.officePid() != pids[0]);
        QVERIFY(preview(0, &whileComing)->renderedWarm());
    }

    // The renderer's LibreOffice and helper end with the program, whether it ends or is killed; one
    // left running on the profile (as by a crash before processes ended with their parent) is ended
    // when the next renderer starts, not used.
    void rendererEndsWithTheProgram()
    {
        QTemporaryDir work;
        for (const bool killed : {false, true}) {
            QProcess program;
            program.start(QCoreApplication::applicationFilePath(), {u"--renderer-child"_s, work.path()});
            QTRY_VERIFY_WITH_TIMEOUT(program.canReadLine(), 90000);
            const QStringList pids = QString::fromLatin1(program.readLine()).split(u' ');
            QCOMPARE(pids.size(), 3);
            const qint64 helper = pids[1].toLongLong(), office = pids[2].trimmed().toLongLong();
            QVERIFY(!Gone(helper) && !Gone(office));
            if (killed)
                ::kill(pid_t(program.processId()), SIGKILL);
            else
                program.closeWriteChannel();
            QVERIFY(program.waitForFinished(20000));
            QCOMPARE(program.exitStatus(), killed ? QProcess::CrashExit : QProcess::NormalExit);
            QTRY_VERIFY_WITH_TIMEOUT(Gone(helper) && Gone(office), 10000);
        }
        WarmRenderer renderer(work.path());
        const QString soffice =
            QFileInfo(QFileInfo(LibreOffice::program()).canonicalFilePath()).dir().filePath(u"soffice.bin"_s);
        QProcess left; // not a child of the renderer, and its output nowhere
        left.setProgram(soffice);
        left.setArguments(
            {u"-env:UserInstallation="_s + QUrl::fromLocalFile(renderer.profileFolder()).toString(),
             u"--headless"_s, u"--norestore"_s});
        left.setStandardOutputFile(QProcess::nullDevice());
        left.setStandardErrorFile(QProcess::nullDevice());
        qint64 stale = 0;
        QVERIFY(left.startDetached(&stale));
        auto cleanup = qScopeGuard([stale] { ::kill(pid_t(stale), SIGKILL); });
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(renderer.profileFolder() + u"/.lock"_s), 30000);
        renderer.start();
        QTRY_VERIFY_WITH_TIMEOUT(renderer.ready(), 90000);
        QVERIFY(Gone(stale));
        QVERIFY(renderer.officePid() != stale);
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

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--renderer-child") == 0)
        return RendererChild(argc, argv);
    QApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);
    TestPreview tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "TestPreview.moc"
