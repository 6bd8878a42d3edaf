#include "DrawingSearch.h"
#include "ScreenTestHelpers.h"
#include "SearchQueries.h"
#include "TestSupport.h"

#include <QCheckBox>
#include <QRadioButton>
#include <QtTest>

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
    QString names() const
    {
        QStringList out;
        auto* c = control<QComboBox>(screen, "cboName");
        for (int i = 0; i < c->count(); ++i)
            out << c->itemText(i);
        return out.join(u' ');
    }
    QString tables()
    {
        QStringList out;
        for (const QStringList& r :
             f->rows(u"SELECT CH_DWGNO, CH_ASSY, CH_BUHIN FROM BUHINHYO ORDER BY 1, 2, 3"_s))
            out << r.join(u'/');
        return out.join(u' ');
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

    void queriesAsTheSystemWritesThem()
    {
        QCOMPARE(
            BuildNameListQuery(u" D-1 "_s),
            u"SELECT CH_NAME FROM BUHINHYO WHERE CH_DWGNO LIKE 'D-1%' GROUP BY CH_NAME ORDER BY CH_NAME"_s);
        QCOMPARE(
            BuildNameListQuery(u"D"_s, u"D-100"_s),
            u"SELECT CH_NAME FROM BUHINHYO WHERE CH_DWGNO LIKE 'D%' AND CH_DWGNO = 'D-100' GROUP BY CH_NAME "
            "ORDER BY CH_NAME"_s);
        QCOMPARE(
            BuildHeaderSelect(u"250-01"_s, u"D-100"_s, u"1"_s),
            u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '250-01' AND CH_DWGNO = 'D-100' AND CH_BUHIN = '1'"_s);
        QCOMPARE(BuildHeaderDelete(u"A"_s, u"D"_s, u"2"_s),
                 u"DELETE * FROM BUHINHYO WHERE CH_ASSY  = 'A' AND CH_DWGNO = 'D' AND CH_BUHIN = '2'"_s);
        QCOMPARE(BuildDetailDelete(u"A"_s, u"D"_s, u"2"_s),
                 u"DELETE * FROM BUHINHYO_M WHERE CH_ASSY  = 'A' AND CH_DWGNO = 'D' AND CH_BUHIN = '2'"_s);
    }

    void loadFillsTheListsAndTheMakerFilter()
    {
        QVERIFY(open());
        QCOMPARE(screen->windowTitle(), u"検索条件"_s);
        QCOMPARE(textOf(screen, "cboDesined"), u"山田"_s);
        QVERIFY(control<QRadioButton>(screen, "optKind1")->isChecked());
        // Stored names, trimmed, without empty ones, narrowed by the typed drawing number.
        for (const auto& [dwg, listed] : {std::pair{QString(), u"カバー フレーム ベース組立"_s},
                                          {u"D-10"_s, u"カバー ベース組立"_s},
                                          {u"Z"_s, QString()}}) {
            typeInto(screen, "txtDwgNo", dwg);
            QCOMPARE(names(), listed);
        }
        // The maker filter: off and greyed at first, the choice handed to the list output.
        auto* check = control<QCheckBox>(screen, "chkMaker");
        auto* maker = control<QComboBox>(screen, "cboMaker");
        QVERIFY(!maker->isEnabled() && !f->ctx.makerFilterOn);
        maker->setEditText(u"手書き"_s);
        check->click();
        QVERIFY(maker->isEnabled() && f->ctx.makerFilterOn);
        QCOMPARE(maker->count(), 2);
        QCOMPARE(f->ctx.makerFilterText, QString());
        maker->setCurrentIndex(1);
        QCOMPARE(f->ctx.makerFilterText, u"オリエンタル"_s);
        check->click();
        QVERIFY(!maker->isEnabled() && !f->ctx.makerFilterOn);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void inputCheckFocusesTheField()
    {
        QVERIFY(open() && showActive(screen));
        click(screen, "cmd0");
        QCOMPARE(f->shownBoxes(), QStringList(u"エラー|必須項目が入力されていません。"_s));
        QVERIFY(control<QWidget>(screen, "txtDwgNo")->hasFocus());
        typeInto(screen, "txtDwgNo", u"D-100"_s);
        typeInto(screen, "txtAssy", u"  "_s);
        click(screen, "cmd3");
        QVERIFY(control<QWidget>(screen, "txtAssy")->hasFocus());
        typeInto(screen, "txtAssy", u"250-01"_s);
        control<QCheckBox>(screen, "chkMaker")->click();
        click(screen, "cmd0");
        QCOMPARE(f->messages.shown.size(), 3);
        QVERIFY(control<QWidget>(screen, "cboMaker")->hasFocus());
        QVERIFY(screen->findChildren<EditorScreen*>().isEmpty());
        QCOMPARE(tables().count(u' '), 4);
    }

    void inputOpensTheEditorAndRemembersMakerAndDesigner()
    {
        QVERIFY(open());
        typeInto(screen, "txtDwgNo", u"D-100"_s);
        typeInto(screen, "txtAssy", u"250-01"_s);
        control<QComboBox>(screen, "cboName")->setCurrentIndex(0);
        control<QRadioButton>(screen, "optKind2")->click();
        control<QCheckBox>(screen, "chkMaker")->click();
        typeInto(screen, "cboMaker", u"新メーカー"_s);
        typeInto(screen, "cboDesined", u"鈴木"_s);
        QVERIFY(showActive(screen));
        QTest::keyClick(screen, Qt::Key_F5);
        auto* ed = screen->findChild<EditorScreen*>();
        QVERIFY(ed);
        QCOMPARE(f->ctx.CurrentKind, u"2"_s);
        const EditorHeaderArea& h = ed->editor().header();
        QCOMPARE(h.kind + h.designer + h.name + ed->editor().grid().cell(1, EditorCol::Hinmei),
                 u"2鈴木ベース組立X"_s);
        QVERIFY(f->messages.shown.isEmpty());
        // The typed maker and designer are appended to their lists and selected.
        const QString ini = f->iniText();
        QVERIFY(ini.contains(u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=オリエンタル\r\n3=新メーカー\r\n"_s));
        QVERIFY(ini.contains(u"[DESINED]\r\nMAX=3\r\n1=山田\r\n2=佐藤\r\n3=鈴木\r\n"_s));
        QCOMPARE(control<QComboBox>(screen, "cboMaker")->currentIndex(), 2);
        QCOMPARE(control<QComboBox>(screen, "cboDesined")->currentIndex(), 2);
        QCOMPARE(f->ctx.makerFilterText, u"新メーカー"_s);
        // Opening again with listed values writes nothing more; an empty maker joins its list once.
        click(screen, "cmd0");
        QCOMPARE(f->iniText(), ini);
        control<QCheckBox>(screen, "chkMaker")->click();
        typeInto(screen, "cboMaker", QString());
        click(screen, "cmd0");
        click(screen, "cmd0");
        QVERIFY(f->iniText().contains(
            u"[MAKER]\r\nMAX=4\r\n1=ミスミ\r\n2=オリエンタル\r\n3=新メーカー\r\n4=\r\n"_s));
    }

    void deleteRemovesHeaderAndLinesTogether()
    {
        QVERIFY(open());
        typeInto(screen, "txtDwgNo", u"D-100"_s);
        typeInto(screen, "txtAssy", u"999"_s);
        click(screen, "cmd3");
        QCOMPARE(f->shownBoxes(), QStringList(u"削除|該当するデータが存在しません"_s));
        QCOMPARE(f->messages.shown[0].icon, MsgIcon::Information);
        typeInto(screen, "txtAssy", u"250-01"_s);
        f->messages.clear();
        click(screen, "cmd3");
        QCOMPARE(f->shownBoxes(), QStringList(u"確認|削除してよろしいですか？"_s));
        QCOMPARE(f->messages.shown[0].buttons, MsgButtons::YesNo);
        // Only the manufactured table of D-100 is gone; its purchased twin stays.
        QCOMPARE(tables(), u"D-100/250-01/2 D-101/300-01/1 X-1/1-1/1 X-2/1-2/1"_s);
        QCOMPARE(f->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_s), 2);
        // A table without lines still loses its header.
        typeInto(screen, "txtDwgNo", u"D-101"_s);
        typeInto(screen, "txtAssy", u"300-01"_s);
        click(screen, "cmd3");
        QCOMPARE(tables().count(u' '), 2);
    }

    void functionKeysOnlyWhileEnabled()
    {
        QVERIFY(open() && showActive(screen));
        control<QWidget>(screen, "cmd3")->setEnabled(false);
        QTest::keyClick(screen, Qt::Key_F4);
        QVERIFY(f->messages.shown.isEmpty());
        control<QWidget>(screen, "cmd3")->setEnabled(true);
        QTest::keyClick(control<QWidget>(screen, "txtAssy"), Qt::Key_F4);
        QCOMPARE(f->messages.shown.size(), 1); // the input check
        // F4 in a drop-down presses the delete button too, rather than opening the list.
        control<QWidget>(screen, "cboName")->setFocus();
        QTest::keyClick(control<QWidget>(screen, "cboName"), Qt::Key_F4);
        QCOMPARE(f->messages.shown.size(), 2);
        f->messages.clear();
        f->ctx.DataSearchFlag = Int16::from(7);
        QTest::keyClick(screen, Qt::Key_F1);
        QCOMPARE(f->ctx.DataSearchFlag.value(), 0);
        QVERIFY(f->messages.texts().value(0).contains(u"まだ組み込まれていません"_s));
        QTest::keyClick(screen, Qt::Key_F2);
        QTest::keyClick(screen, Qt::Key_F3);
        QCOMPARE(f->messages.shown.size(), 1);
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
        QCOMPARE(menu, QList<bool>{false});
        click(screen, "cmd2");
        QCOMPARE(owners, QList<QWidget*>{screen.data()});
        // The end closes the editors opened from here first, each with its own question.
        typeInto(screen, "txtDwgNo", u"D-100"_s);
        typeInto(screen, "txtAssy", u"250-01"_s);
        click(screen, "cmd0");
        QVERIFY(screen->findChild<EditorScreen*>());
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

QTEST_MAIN(TestDrawingSearch)
#include "TestDrawingSearch.moc"
