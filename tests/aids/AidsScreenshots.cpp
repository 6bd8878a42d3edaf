// Saves pictures of the aid screens filled with sample data, for looking at them:
//   BUHINHYO_SOURCE_DIR=$PWD xvfb-run -a -s "-screen 0 1600x1000x24" build/tests/aids/aids_screenshots
//   <folder>

#include "AidsTestEnv.h"
#include "DataSearchScreen.h"
#include "EditorAidsGlue.h"
#include "EditorScreen.h"
#include "HistorySearchDialog.h"
#include "IniAccess.h"
#include "ListPickerDialog.h"
#include "TestSupport.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QTableWidget>
#include <QTest>

namespace
{

void save(QWidget& w, const QString& folder, const QString& name)
{
    w.show();
    if (!QTest::qWaitForWindowExposed(&w))
        std::fprintf(stderr, "window not shown\n");
    QTest::qWait(150);
    const QString path = folder + u'/' + name + QStringLiteral(".png");
    w.grab().save(path);
    std::printf("%s\n", qPrintable(path));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(folder);
    AidsTestEnv env;
    if (!env.ok())
        return 1;
    const QString users[] = {QStringLiteral("東西重工"), QStringLiteral("南北機械")};
    const QString names[] = {QStringLiteral("ボルト"),         QStringLiteral("ブラケット"),
                             QStringLiteral("ベースプレート"), QStringLiteral("ボス"),
                             QStringLiteral("ナット"),         QStringLiteral("シャフト")};
    const QString mats[] = {QStringLiteral("SS400"), QStringLiteral("S45C"), QStringLiteral("SUS304"),
                            QStringLiteral("A5052")};
    for (int t = 0; t < 12; ++t) {
        const QString dwg = QStringLiteral("KD-%1").arg(1000 + t * 7);
        const QString assy = QStringLiteral("%1-01").arg(100 + t * 10);
        env.addHeader(dwg, assy, QStringLiteral("1"), users[t % 2],
                      QStringLiteral("搬送ユニット%1").arg(t + 1),
                      t % 3 ? QStringLiteral("山田") : QStringLiteral("佐藤"),
                      QStringLiteral("2026/%1/15").arg(t % 9 + 1, 2, 10, QChar(u'0')));
        for (int i = 0; i < 5 + t; ++i)
            env.addLine(dwg, assy, QStringLiteral("1"), users[t % 2], QString::number(101 + i),
                        names[(i + t) % 6], mats[(i * 3 + t) % 4], QString::number(i % 4 + 1),
                        i % 2 ? QStringLiteral("ミスミ") : QStringLiteral("オリエンタル"));
    }

    HistorySearchDialog history(
        env.ctx, {NameColumn(), QStringLiteral("1"), users[0], QString(), QStringLiteral("ボ")});
    history.search();
    save(history, folder, QStringLiteral("history-name"));
    history.hide();

    env.ctx.DataSearchFlag = Int16::from(DataSearchScreen::kFromSearch);
    DataSearchScreen search(env.ctx, QStringLiteral("1"));
    search.search();
    save(search, folder, QStringLiteral("datasearch"));
    search.hide();

    env.ctx.DataSearchFlag = Int16::from(DataSearchScreen::kCopySource);
    DataSearchScreen copy(env.ctx, QStringLiteral("1"));
    DataSearchFilter f;
    f.kind = QStringLiteral("1");
    f.dwgNo = QStringLiteral("KD-10");
    copy.setConditions(f);
    copy.search();
    save(copy, folder, QStringLiteral("datasearch-copy"));
    copy.hide();

    // The list picker over the shipped settings file.
    const QString shipped = folder + QStringLiteral("/PARA-shipped.ini");
    QFile::remove(shipped);
    QFile::copy(shippedIniPath(), shipped);
    IniAccess shippedIni(env.messages, shipped);
    QComboBox target;
    target.setEditable(true);
    ListPickerDialog picker(shippedIni, QStringLiteral("KVRCAD0002COMBO2"), &target);
    save(picker, folder, QStringLiteral("listpicker"));
    picker.hide();
    QFile::remove(shipped);

    EditorScreen editor(env.ctx, env.ctx.DbConnection, MakeEditorAids());
    editor.setAttribute(Qt::WA_DeleteOnClose, false);
    editor.openTable({QStringLiteral("KD-1014"), QStringLiteral("120-01"), QStringLiteral("搬送ユニット3"),
                      QStringLiteral("1"), QStringLiteral("2026/03/15"), QStringLiteral("山田")});
    save(editor, folder, QStringLiteral("editor-with-aids"));
    return 0;
}
