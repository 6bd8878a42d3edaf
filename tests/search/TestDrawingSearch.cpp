#include "CommandGuard.h"
#include "DrawingSearch.h"
#include "PartsTableEditor.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

using namespace Qt::StringLiterals;

// The drawing list search on a real database file.
class TestDrawingSearch : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;
    QPointer<DrawingSearchScreen> screen;

    DrawingSearchScreen* open(SearchHooks hooks = {})
    {
        screen = new DrawingSearchScreen(f->ctx, std::move(hooks));
        return screen->load() ? screen.data() : nullptr;
    }
    void enter(const QString& dwgNo, const QString& assy)
    {
        typeInto(screen, "txtDwgNo", dwgNo);
        typeInto(screen, "txtAssy", assy);
    }
    QString tables()
    {
        return f->lines(u"SELECT CH_DWGNO, CH_ASSY, CH_BUHIN FROM BUHINHYO ORDER BY 1, 2, 3"_s).join(u' ');
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        f->storeTable(u"D-100"_s, u"250-01"_s, u"1"_s, u"ベース組立"_s, u"客先A"_s,
                      {{u"251"_s, u"A"_s}, {u"252"_s, u"B"_s}});
        f->storeTable(u"D-100"_s, u"250-01"_s, u"2"_s, u"ベース組立"_s, u"客先A"_s, {{u"251"_s, u"X"_s}});
        f->storeTable(u"D-101"_s, u"300-01"_s, u"1"_s, u" カバー "_s, u"客先A"_s, {});
        f->storeTable(u"X-1"_s, u"1-1"_s, u"1"_s, u"フレーム"_s, u"客先B"_s, {{u"001"_s, u"F"_s}});
        f->storeTable(u"X-2"_s, u"1-2"_s, u"1"_s, QString(), u"客先B"_s, {});
    }
    void cleanup()
    {
        deleteScreen<EditorScreen>(screen);
        f.reset();
    }

    void listsAndTheMakerFilter()
    {
        QVERIFY(open());
        QCOMPARE(screen->windowTitle() + textOf(screen, "cboDesined"), u"検索条件山田"_s);
        // Stored names, trimmed, without empty ones, narrowed by the typed start of the drawing number.
        for (const auto& [dwg, listed] : {std::pair{QString(), u"カバー フレーム ベース組立"_s},
                                          {u"D-10"_s, u"カバー ベース組立"_s},
                                          {u"-1"_s, QString()},
                                          {u"Z"_s, QString()}}) {
            typeInto(screen, "txtDwgNo", dwg);
            QCOMPARE(itemsOf(screen, "cboName"), listed);
        }
        // The maker filter: off and greyed at first, the choice handed to the list output.
        auto* maker = control<QComboBox>(screen, "cboMaker");
        QVERIFY(!maker->isEnabled() && !f->ctx.makerFilterOn);
        click(screen, "chkMaker");
        QVERIFY(maker->isEnabled() && f->ctx.makerFilterOn);
        // Its list opens at the first maker, none marked as if chosen.
        QVERIFY(showActive(screen));
        maker->showPopup();
        QTRY_VERIFY(maker->view()->isVisible());
        QTest::qWait(20);
        QVERIFY(!maker->view()->currentIndex().isValid() && maker->view()->indexAt(QPoint(2, 2)).row() == 0);
        maker->hidePopup();
        maker->setCurrentIndex(1);
        QCOMPARE(f->ctx.makerFilterText, u"オリエンタル"_s);
        click(screen, "chkMaker");
        QVERIFY(!maker->isEnabled() && !f->ctx.makerFilterOn);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void inputCheckFocusesTheField()
    {
        QVERIFY(open() && showActive(screen));
        click(screen, "cmd0");
        QCOMPARE(f->shownBoxes(), QStringList(u"エラー|必須項目が入力されていません。"_s));
        QVERIFY(control<QWidget>(screen, "txtDwgNo")->hasFocus());
        enter(u"D-100"_s, u"  "_s);
        click(screen, "cmd3");
        QVERIFY(control<QWidget>(screen, "txtAssy")->hasFocus());
        typeInto(screen, "txtAssy", u"250-01"_s);
        click(screen, "chkMaker");
        click(screen, "cmd0");
        QCOMPARE(f->messages.shown.size(), 3);
        QVERIFY(control<QWidget>(screen, "cboMaker")->hasFocus());
        QVERIFY(screen->findChildren<EditorScreen*>().isEmpty());
    }

    void inputOpensTheEditorAndRemembersMakerAndDesigner()
    {
        QVERIFY(open());
        enter(u"D-100"_s, u"250-01"_s);
        control<QComboBox>(screen, "cboName")->setCurrentIndex(0);
        click(screen, "optKind2");
        click(screen, "chkMaker");
        typeInto(screen, "cboMaker", u"新メーカー"_s);
        typeInto(screen, "cboDesined", u"鈴木"_s);
        QVERIFY(showActive(screen));
        QTest::keyClick(screen, Qt::Key_F5);
        auto* ed = screen->findChild<EditorScreen*>();
        QVERIFY(ed);
        const EditorHeaderArea& h = ed->editor().header();
        QCOMPARE(f->ctx.CurrentKind + h.kind + h.designer + h.name +
                     ed->editor().grid().cell(1, EditorCol::Hinmei),
                 u"22鈴木ベース組立X"_s);
        // The typed maker and designer are appended to their lists and selected.
        const QString ini = f->iniText();
        QVERIFY(ini.contains(u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=オリエンタル\r\n3=新メーカー\r\n"_s));
        QVERIFY(ini.contains(u"[DESINED]\r\nMAX=3\r\n1=山田\r\n2=佐藤\r\n3=鈴木\r\n"_s));
        QCOMPARE(control<QComboBox>(screen, "cboDesined")->currentIndex(), 2);
        QCOMPARE(f->ctx.makerFilterText, u"新メーカー"_s);
        // Opening again with listed values writes nothing more; an empty maker joins its list once.
        click(screen, "cmd0");
        QCOMPARE(f->iniText(), ini);
        click(screen, "chkMaker");
        typeInto(screen, "cboMaker", QString());
        click(screen, "cmd0");
        click(screen, "cmd0");
        QVERIFY(f->iniText().contains(
            u"[MAKER]\r\nMAX=4\r\n1=ミスミ\r\n2=オリエンタル\r\n3=新メーカー\r\n4=\r\n"_s));
        QVERIFY(f->messages.shown.isEmpty());
    }

    void eachEditorKeepsItsKindAndATableOpensOnce()
    {
        QWidget menu;
        menu.setObjectName(u"KVRCAD0000"_s);
        menu.show();
        screen = qobject_cast<DrawingSearchScreen*>(createDrawingSearch(f->ctx, &menu));
        enter(u"D-100"_s, u"250-01"_s);
        control<QComboBox>(screen, "cboName")->setCurrentIndex(0);
        click(screen, "cmd0");
        click(screen, "optKind2");
        click(screen, "cmd0");
        // Both belong to the menu as the search does, so the search can come over them; the second
        // opens down and to the right of the first.
        const QList<EditorScreen*> eds = menu.findChildren<EditorScreen*>();
        QCOMPARE(eds.size(), 2);
        QCOMPARE(eds[1]->windowHandle()->transientParent(), menu.windowHandle());
        // Both whole on the screen, although the first is as wide as the screen allows (and was made
        // for a larger one).
        const QRect area = eds[0]->screen()->availableGeometry();
        QCOMPARE(eds[1]->pos() - eds[0]->pos(), QPoint(40, 40));
        QVERIFY(eds[0]->width() > area.width() - 40 && area.contains(eds[0]->frameGeometry()) &&
                area.contains(eds[1]->frameGeometry()));
        // Next to one at the screen's bottom right, the next starts again at the top left.
        delete eds[1];
        eds[0]->move(area.bottomRight() - QPoint(eds[0]->width(), 300));
        click(screen, "cmd0");
        const QList<EditorScreen*> next = menu.findChildren<EditorScreen*>();
        QCOMPARE(next.size(), 2);
        QCOMPARE(next[1]->pos(), area.topLeft());
        // The manufactured list prints as manufactured although the search now names the other kind.
        QCOMPARE(f->ctx.CurrentKind + eds[0]->editor().printRequest(false, false, false).kind, u"21"_s);
        // Its table named again: the open editor comes forward, no second copy.
        click(screen, "optKind1");
        click(screen, "cmd0");
        QCOMPARE(menu.findChildren<EditorScreen*>().size(), 2);
        QTRY_COMPARE(QApplication::activeWindow(), eds[0]);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void deleteRemovesHeaderAndLinesTogether()
    {
        QVERIFY(open());
        enter(u"D-100"_s, u"999"_s);
        click(screen, "cmd3");
        QCOMPARE(f->shownBoxes(), QStringList(u"削除|該当するデータが存在しません"_s));
        enter(u"D-100"_s, u"250-01"_s);
        f->messages.clear();
        click(screen, "cmd3");
        QCOMPARE(f->shownBoxes(), QStringList(u"確認|削除してよろしいですか？"_s));
        // Only the manufactured table of D-100 is gone; its purchased twin stays.
        QCOMPARE(tables(), u"D-100|250-01|2 D-101|300-01|1 X-1|1-1|1 X-2|1-2|1"_s);
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_s), 2);
        enter(u"D-101"_s, u"300-01"_s); // a table without lines still loses its header
        click(screen, "cmd3");
        QCOMPARE(tables().count(u' '), 2);
    }

    void aScreenThatCannotOpenGoesAfterItsBox()
    {
        // A maker count that is no integer, or none of 32 bits: the error box naming the key, and no
        // half-built screen left behind.
        for (const auto& [count, box] : {std::pair{u"abc"_s, u"13':\n\n型が一致しません。"_s},
                                         {u"2147483648"_s, u"6':\n\nオーバーフローしました。"_s}}) {
            f->writeIni(
                QString(AppFolder::kIni).replace(u"[MAKER]\r\nMAX=2"_s, u"[MAKER]\r\nMAX="_s + count));
            f->messages.clear();
            QVERIFY_THROWS_EXCEPTION(CommandEnded, createDrawingSearch(f->ctx, nullptr, {}));
            QCOMPARE(f->shownBoxes(), QStringList(u"エラー|実行時エラー '"_s + box));
            QVERIFY(f->messages.shown[0].detail.endsWith(u" の [MAKER] キー MAX の値「"_s + count + u"」"_s));
            for (QWidget* w : QApplication::topLevelWidgets())
                QVERIFY(!qobject_cast<DrawingSearchScreen*>(w));
        }
    }

    void dataSearchHookAndEnd()
    {
        QList<QWidget*> owners;
        SearchHooks hooks;
        hooks.openDataSearch = [&](AppContext& ctx, QWidget* owner) {
            QCOMPARE(ctx.DataSearchFlag.value(), 0);
            owners << owner;
        };
        QList<bool> menu;
        f->ctx.enableMenuButtons = [&](bool on) { menu << on; };
        screen = qobject_cast<DrawingSearchScreen*>(createDrawingSearch(f->ctx, nullptr, hooks));
        QVERIFY(screen && screen->isVisible());
        click(screen, "cmd2");
        QCOMPARE(owners, QList<QWidget*>{screen.data()});
        // The end closes the editors opened from here first, each with its own question.
        enter(u"D-100"_s, u"250-01"_s);
        click(screen, "cmd0");
        f->messages.clear();
        f->messages.setNextAnswer(MsgAnswer::No);
        click(screen, "cmd1");
        QCOMPARE(f->shownBoxes(),
                 QStringList(u"確認|変更内容を登録しましたか？終了しますよろしいですか？"_s));
        QVERIFY(screen->isVisible());
        QCOMPARE(menu, QList<bool>{false});
        click(screen, "cmd1");
        QCOMPARE(menu, QList<bool>({false, true}));
        QVERIFY(!f->ctx.DbConnection);
        QTRY_VERIFY(screen.isNull());
    }
};

int main(int argc, char** argv)
{
    // A laptop's screen instead of the offscreen platform's 800 × 800 square, on which an editor (at
    // least 1,040 wide) could never be seen whole: where windows open is checked as users see it.
    const QString screens =
        QDir::temp().filePath(u"buhinhyo-desk-screen-%1.json"_s.arg(QCoreApplication::applicationPid()));
    if (qEnvironmentVariable("QT_QPA_PLATFORM") == u"offscreen") {
        QFile file(screens);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(R"({"screens": [{"name": "desk", "x": 0, "y": 0, "width": 1366, "height": 768,
                                        "logicalDpiX": 96, "logicalDpiY": 96, "dpr": 1}]})") <= 0)
            return 1;
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + QFile::encodeName(screens));
    }
    QApplication app(argc, argv);
    QFile::remove(screens);
    TestDrawingSearch tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "TestDrawingSearch.moc"
