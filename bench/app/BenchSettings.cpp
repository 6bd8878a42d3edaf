// Times the settings file work of the start-up and of the remembered lists:
//   build/bench/app/bench_settings
#include "AppContext.h"
#include "Common.h"
#include "IniAccess.h"
#include "IniFile.h"
#include "Initial.h"
#include "MessageService.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

namespace
{

struct NullView : MenuView {
    void setMenuTitle(const QString&) override {}
    void setMenuColor(quint32) override {}
    void setRightButton(int, bool, const QString&) override {}
    void setLeftButton(int, bool, const QString&) override {}
};

QByteArray shipped()
{
    QFile f(QStringLiteral(BUHINHYO_SOURCE_DIR "/data/PARA.ini"));
    if (!f.open(QIODevice::ReadOnly))
        qFatal("data/PARA.ini not found");
    return f.readAll();
}

// Milliseconds for the start-up checks and the menu load on a settings file, best of five runs.
double startup(const QString& folder, const QByteArray& bytes)
{
    QFile f(folder + QStringLiteral("/PARA.ini"));
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write");
    f.write(bytes);
    f.close();
    double best = 1e9;
    for (int run = 0; run < 5; ++run) {
        ScriptedMessageService msgs;
        AppContext ctx;
        ctx.messages = &msgs;
        QElapsedTimer t;
        t.start();
        Startup s(ctx, folder + QStringLiteral("/bench.lock"));
        if (s.prepare(folder) != Startup::Result::Run)
            qFatal("start-up refused");
        MenuState state;
        NullView view;
        if (!LoadMenuSettings(*ctx.ini, state, view))
            qFatal("menu load stopped");
        best = std::min(best, t.nsecsElapsed() / 1e6);
    }
    return best;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString folder = dir.path();
    const QByteArray base = shipped();

    QByteArray big = base;
    for (int i = 0; i < 10000; ++i)
        big += IniFile::encodeCp932(QStringLiteral("[S%1]\r\nK=値%1\r\n").arg(i)).value();
    QByteArray longLine = base + "[LONG]\r\nK=" + QByteArray(100 * 1024, 'x') + "\r\n";

    std::printf("| case | time |\n|---|---|\n");
    std::printf("| start-up and menu load, shipped PARA.ini (%lld bytes) | %.1f ms |\n",
                static_cast<long long>(base.size()), startup(folder, base));
    std::printf("| start-up and menu load, plus 10,000 sections (%lld bytes) | %.1f ms |\n",
                static_cast<long long>(big.size()), startup(folder, big));
    std::printf("| start-up and menu load, plus a 100 KB line | %.1f ms |\n", startup(folder, longLine));

    // Appending 500 new items to a remembered list, one AddToList each (every call reads the whole list).
    ScriptedMessageService msgs;
    IniAccess ini(msgs, folder + QStringLiteral("/PARA.ini"));
    QElapsedTimer t;
    t.start();
    for (int i = 0; i < 500; ++i)
        AddToList(ini, QStringLiteral("MAKER"), QStringLiteral("メーカー%1").arg(i));
    std::printf("| 500 appends to a remembered list (to %d items) | %.0f ms |\n",
                StrictInt(ini.get(QStringLiteral("MAKER"), QStringLiteral("MAX"))), t.nsecsElapsed() / 1e6);
    return 0;
}
