// The preview's first page after 印刷ﾌﾟﾚﾋﾞｭｰ, through the renderer kept warm, beside LibreOffice's
// cold conversion of the same work copies.
// Usage: bench_preview [--before]   (--before: the preview without the renderer kept warm)
// Prints five lines; says on stderr whether the ratios are met (exit 2 when not).

#include "../BenchEnvironment.h"
#include "LibreOffice.h"
#include "PreviewWindow.h"
#include "PrintTestSupport.h"
#include "WarmRenderer.h"
#include "XlsxOutputWorkbook.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Opens the preview as the editor does and notes when its first page is painted.
class TimedPresenter : public PrintPresenter
{
public:
    WarmRenderer* renderer = nullptr;
    QString workFolder, keepAs;
    QElapsedTimer clock;
    double firstPageMs = -1, allPagesMs = -1;
    int pages = 0;
    bool ok = false, warm = false;
    void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes,
                 const QStringList& runNotes) override
    {
        QFile::remove(keepAs);
        QFile::copy(printPath, keepAs);
        PreviewWindow w(workbookPath, workFolder, nullptr, printPath);
        w.setRenderer(renderer);
        w.setNotes(notes, runNotes);
        QSignalSpy first(&w, &PreviewWindow::firstPageShown);
        QSignalSpy done(&w, &PreviewWindow::renderingDone);
        w.show();
        if (!first.wait(120000) && first.isEmpty())
            return;
        w.grab(); // painted
        firstPageMs = double(clock.nsecsElapsed()) / 1e6;
        ok = (!done.isEmpty() || done.wait(120000)) && done.first().first().toBool();
        allPagesMs = double(clock.nsecsElapsed()) / 1e6;
        pages = w.pageCount();
        warm = w.renderedWarm();
    }
    void keepWorkbook(const QString&) override {}
};
} // namespace

int main(int argc, char** argv)
{
    UseBenchEnvironment();
    QApplication app(argc, argv);
    const bool before = app.arguments().contains(u"--before"_s);

    PrintFixture f;
    f.addTable(u"DWG-22"_s, u"01"_s, u"1"_s, MakeLines(22));
    f.addTable(u"DWG-1000"_s, u"01"_s, u"1"_s, MakeLines(1000));
    const QString work = f.path(u"WORK"_s);

    // The program starts its renderer at start; the first preview comes 5 s later.
    WarmRenderer renderer(work);
    QElapsedTimer started;
    started.start();
    if (!before) {
        renderer.start();
        std::fprintf(stderr, "renderer started in %.1f ms (the screen's event loop is held that long)\n",
                     double(started.nsecsElapsed()) / 1e6);
        QObject::connect(&renderer, &WarmRenderer::readyChanged,
                         [&] { std::fprintf(stderr, "renderer ready after %lld ms\n", started.elapsed()); });
    }
    QTest::qWait(5000);

    auto preview = [&](const QString& dwgNo) {
        TimedPresenter p;
        p.renderer = before ? nullptr : &renderer;
        p.workFolder = work;
        p.keepAs = work + u"/"_s + dwgNo + u".xlsx"_s;
        PrintRequest r = SampleRequest();
        r.dwgNo = dwgNo;
        p.clock.start();
        if (RunPrint(f.ctx, r, OpenXlsxOutputWorkbook, p) != PrintOutcome::Done || !p.ok) {
            std::fprintf(stderr, "bench_preview: the preview of %s failed\n", qPrintable(dwgNo));
            std::exit(1);
        }
        std::fprintf(stderr, "%s: page 1 %.0f ms, all %d pages %.0f ms, %s\n", qPrintable(dwgNo),
                     p.firstPageMs, p.pages, p.allPagesMs, p.warm ? "warm" : "cold");
        return p.firstPageMs;
    };
    const double first22 = preview(u"DWG-22"_s);
    std::vector<double> again22, again1000;
    for (int i = 0; i < 5; ++i)
        again22.push_back(preview(u"DWG-22"_s));
    preview(u"DWG-1000"_s);
    for (int i = 0; i < 3; ++i)
        again1000.push_back(preview(u"DWG-1000"_s));

    // The cold conversion of the same work copies, on a profile made beforehand.
    const QString profile = work + u"/lo-profile-cold"_s;
    const QString out = work + u"/cold"_s;
    auto cold = [&](const QString& dwgNo) {
        QElapsedTimer t;
        t.start();
        const QString problem =
            LibreOffice::convert(profile, u"pdf"_s, out, work + u"/"_s + dwgNo + u".xlsx"_s);
        if (!problem.isEmpty()) {
            std::fprintf(stderr, "bench_preview: cold conversion failed: %s\n", qPrintable(problem));
            std::exit(1);
        }
        return double(t.nsecsElapsed()) / 1e6;
    };
    cold(u"DWG-22"_s);
    std::vector<double> cold22, cold1000;
    for (int i = 0; i < 3; ++i) {
        cold22.push_back(cold(u"DWG-22"_s));
        cold1000.push_back(cold(u"DWG-1000"_s));
    }

    std::printf("preview 22 lines first: %.0f ms\n", first22);
    std::printf("preview 22 lines again: %.0f ms\n", median(again22));
    std::printf("preview 1000 lines again: %.0f ms\n", median(again1000));
    std::printf("cold conversion 22 lines: %.0f ms\n", median(cold22));
    std::printf("cold conversion 1000 lines: %.0f ms\n", median(cold1000));
    const double r1 = first22 / median(cold22), r2 = median(again22) / median(cold22),
                 r3 = median(again1000) / median(cold1000);
    const bool met = r1 <= 0.4 && r2 <= 0.4 && r3 <= 0.6;
    std::fprintf(stderr, "ratios to the cold conversion: %.2f %.2f (target 0.4), %.2f (target 0.6): %s\n", r1,
                 r2, r3, met ? "within targets" : "OUTSIDE TARGETS");
    return met ? 0 : 2;
}
