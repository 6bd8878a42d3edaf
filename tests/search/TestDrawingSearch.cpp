#include "DrawingSearch.h"
#include "EditorTestEnv.h"
#include "ScreenTestHelpers.h"
#include "SearchQueries.h"

#include <QCheckBox>
#include <QRadioButton>
#include <QtTest>

// The drawing list search on a real database file.
class TestDrawingSearch : public QObject
{
    Q_OBJECT
    std::unique_ptr<EditorTestEnv> env;
    QPointer<DrawingSearchScreen> screen;

    DrawingSearchScreen* open(SearchHooks hooks = {})
    {
        screen = new DrawingSearchScreen(env->ctx, std::move(hooks));
        if (!screen->load())
            return nullptr;
        return screen;
    }
    QStringList names() const
    {
        QStringList out;
        auto* c = control<QComboBox>(screen, "cboName");
        for (int i = 0; i < c->count(); ++i)
            out << c->itemText(i);
        return out;
    }
    QList<QStringList> tables()
    {
        return env->rows(u"SELECT CH_DWGNO, CH_ASSY, CH_BUHIN FROM BUHINHYO ORDER BY 1, 2, 3"_qs);
    }
    QString detailCount() { return env->rows(u"SELECT COUNT(*) FROM BUHINHYO_M"_qs)[0][0]; }

private Q_SLOTS:
    void init()
    {
        env = std::make_unique<EditorTestEnv>();
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"1"_qs, u"ベース組立"_qs, u"客先Ａ"_qs,
                        {{u"251"_qs, u"A"_qs}, {u"252"_qs, u"B"_qs}});
        env->storeTable(u"D-100"_qs, u"250-01"_qs, u"2"_qs, u"ベース組立"_qs, u"客先Ａ"_qs,
                        {{u"251"_qs, u"X"_qs}});
        env->storeTable(u"D-101"_qs, u"300-01"_qs, u"1"_qs, u" カバー "_qs, u"客先Ａ"_qs, {});
        env->storeTable(u"X-1"_qs, u"1-1"_qs, u"1"_qs, u"フレーム"_qs, u"客先Ｂ"_qs, {{u"001"_qs, u"F"_qs}});
        env->storeTable(u"X-2"_qs, u"1-2"_qs, u"1"_qs, QString(), u"客先Ｂ"_qs, {});
    }
    void cleanup()
    {
        deleteScreen<EditorScreen>(screen);
        env.reset();
    }

    void queriesAsTheSystemWritesThem()
    {
        QCOMPARE(
            BuildNameListQuery(u" D-1 "_qs),
            u"SELECT CH_NAME FROM BUHINHYO WHERE CH_DWGNO LIKE 'D-1%' GROUP BY CH_NAME ORDER BY CH_NAME"_qs);
        QCOMPARE(
            BuildNameListQuery(u"D"_qs, u"D-100"_qs),
            u"SELECT CH_NAME FROM BUHINHYO WHERE CH_DWGNO LIKE 'D%' AND CH_DWGNO = 'D-100' GROUP BY CH_NAME ORDER BY CH_NAME"_qs);
        QCOMPARE(
            BuildHeaderSelect(u"250-01"_qs, u"D-100"_qs, u"1"_qs),
            u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '250-01' AND CH_DWGNO = 'D-100' AND CH_BUHIN = '1'"_qs);
        QCOMPARE(BuildHeaderDelete(u"A"_qs, u"D"_qs, u"2"_qs),
                 u"DELETE * FROM BUHINHYO WHERE CH_ASSY  = 'A' AND CH_DWGNO = 'D' AND CH_BUHIN = '2'"_qs);
        QCOMPARE(BuildDetailDelete(u"A"_qs, u"D"_qs, u"2"_qs),
                 u"DELETE * FROM BUHINHYO_M WHERE CH_ASSY  = 'A' AND CH_DWGNO = 'D' AND CH_BUHIN = '2'"_qs);
    }

    void loadFillsTheLists()
    {
        QVERIFY(open());
        QCOMPARE(screen->windowTitle(), u"検索条件"_qs);
        auto* designer = control<QComboBox>(screen, "cboDesined");
        QCOMPARE(designer->count(), 2);
        QCOMPARE(designer->currentText(), u"山田"_qs);
        auto* maker = control<QComboBox>(screen, "cboMaker");
        QCOMPARE(maker->count(), 2);
        QCOMPARE(maker->currentText(), QString());
        QVERIFY(!maker->isEnabled());
        QVERIFY(control<QRadioButton>(screen, "optKind1")->isChecked());
        QVERIFY(env->ctx.DbConnection);
        // An empty drawing number lists every stored name, trimmed, without empty ones.
        QCOMPARE(names(), (QStringList{u"カバー"_qs, u"フレーム"_qs, u"ベース組立"_qs}));
        typeInto(screen, "txtDwgNo", u"D-10"_qs);
        QCOMPARE(names(), (QStringList{u"カバー"_qs, u"ベース組立"_qs}));
        typeInto(screen, "txtDwgNo", u"X"_qs);
        QCOMPARE(names(), (QStringList{u"フレーム"_qs}));
        typeInto(screen, "txtDwgNo", u"Z"_qs);
        QCOMPARE(names(), QStringList());
        QVERIFY(env->messages.shown.isEmpty());
    }

    void makerFilter()
    {
        QVERIFY(open());
        auto* check = control<QCheckBox>(screen, "chkMaker");
        auto* maker = control<QComboBox>(screen, "cboMaker");
        QVERIFY(!env->ctx.makerFilterOn);
        maker->setEditText(u"手書き"_qs);
        check->click();
        QVERIFY(maker->isEnabled());
        QVERIFY(env->ctx.makerFilterOn);
        QCOMPARE(maker->count(), 2);
        QCOMPARE(maker->currentText(), QString());
        QCOMPARE(env->ctx.makerFilterText, QString());
        maker->setCurrentIndex(1);
        QCOMPARE(env->ctx.makerFilterText, u"オリエンタル"_qs);
        check->click();
        QVERIFY(!maker->isEnabled());
        QVERIFY(!env->ctx.makerFilterOn);
    }

    void inputCheckFocusesTheField()
    {
        QVERIFY(open());
        QVERIFY(showActive(screen));
        click(screen, "cmd0");
        QCOMPARE(env->shownBoxes(), QStringList{u"エラー|必須項目が入力されていません。"_qs});
        QVERIFY(control<QWidget>(screen, "txtDwgNo")->hasFocus());
        typeInto(screen, "txtDwgNo", u"D-100"_qs);
        typeInto(screen, "txtAssy", u"  "_qs);
        click(screen, "cmd3");
        QCOMPARE(env->messages.shown.size(), 2);
        QVERIFY(control<QWidget>(screen, "txtAssy")->hasFocus());
        typeInto(screen, "txtAssy", u"250-01"_qs);
        control<QCheckBox>(screen, "chkMaker")->click();
        click(screen, "cmd0");
        QCOMPARE(env->messages.shown.size(), 3);
        QVERIFY(control<QWidget>(screen, "cboMaker")->hasFocus());
        QVERIFY(screen->findChildren<EditorScreen*>().isEmpty());
        QCOMPARE(tables().size(), 5);
    }

    void inputOpensTheEditorAndRemembersMakerAndDesigner()
    {
        QVERIFY(open());
        typeInto(screen, "txtDwgNo", u"D-100"_qs);
        typeInto(screen, "txtAssy", u"250-01"_qs);
        control<QComboBox>(screen, "cboName")->setCurrentIndex(0);
        control<QRadioButton>(screen, "optKind2")->click();
        control<QCheckBox>(screen, "chkMaker")->click();
        typeInto(screen, "cboMaker", u"新メーカー"_qs);
        typeInto(screen, "cboDesined", u"鈴木"_qs);
        QVERIFY(showActive(screen));
        QTest::keyClick(screen, Qt::Key_F5);
        auto* ed = screen->findChild<EditorScreen*>();
        QVERIFY(ed);
        QCOMPARE(env->ctx.CurrentKind, u"2"_qs);
        QCOMPARE(ed->editor().header().kind, u"2"_qs);
        QCOMPARE(ed->editor().header().designer, u"鈴木"_qs);
        QCOMPARE(ed->editor().header().name, u"ベース組立"_qs);
        QCOMPARE(ed->editor().grid().cell(1, EditorCol::Hinmei), u"X"_qs);
        QVERIFY(env->messages.shown.isEmpty());
        // The typed maker and designer are appended to their lists and selected.
        const QString ini = env->iniText();
        QVERIFY(ini.contains(u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=オリエンタル\r\n3=新メーカー\r\n"_qs));
        QVERIFY(ini.contains(u"[DESINED]\r\nMAX=3\r\n1=山田\r\n2=佐藤\r\n3=鈴木\r\n"_qs));
        QCOMPARE(control<QComboBox>(screen, "cboMaker")->currentIndex(), 2);
        QCOMPARE(control<QComboBox>(screen, "cboDesined")->currentIndex(), 2);
        QCOMPARE(env->ctx.makerFilterText, u"新メーカー"_qs);
        // Opening again with listed values writes nothing more; an empty maker joins its list once.
        click(screen, "cmd0");
        QCOMPARE(env->iniText(), ini);
        control<QCheckBox>(screen, "chkMaker")->click();
        typeInto(screen, "cboMaker", QString());
        click(screen, "cmd0");
        click(screen, "cmd0");
        QVERIFY(env->iniText().contains(
            u"[MAKER]\r\nMAX=4\r\n1=ミスミ\r\n2=オリエンタル\r\n3=新メーカー\r\n4=\r\n"_qs));
        QCOMPARE(screen->findChildren<EditorScreen*>().size(), 4);
    }

    void deleteRemovesHeaderAndLinesTogether()
    {
        QVERIFY(open());
        typeInto(screen, "txtDwgNo", u"D-100"_qs);
        typeInto(screen, "txtAssy", u"999"_qs);
        click(screen, "cmd3");
        QCOMPARE(env->messages.shown.size(), 1);
        QCOMPARE(env->messages.shown[0].title, u"削除"_qs);
        QCOMPARE(env->messages.shown[0].text, u"該当するデータが存在しません"_qs);
        QCOMPARE(env->messages.shown[0].icon, MsgIcon::Information);

        typeInto(screen, "txtAssy", u"250-01"_qs);
        env->messages.clear();
        env->messages.setNextAnswer(MsgAnswer::Yes);
        click(screen, "cmd3");
        QCOMPARE(env->shownBoxes(), QStringList{u"確認|削除してよろしいですか？"_qs});
        QCOMPARE(env->messages.shown[0].icon, MsgIcon::Question);
        QCOMPARE(env->messages.shown[0].buttons, MsgButtons::YesNo);
        // Only the manufactured table of D-100 is gone; its purchased twin stays.
        QCOMPARE(tables(), (QList<QStringList>{{u"D-100"_qs, u"250-01"_qs, u"2"_qs},
                                               {u"D-101"_qs, u"300-01"_qs, u"1"_qs},
                                               {u"X-1"_qs, u"1-1"_qs, u"1"_qs},
                                               {u"X-2"_qs, u"1-2"_qs, u"1"_qs}}));
        QCOMPARE(detailCount(), u"2"_qs);
        // A table without lines still loses its header.
        typeInto(screen, "txtDwgNo", u"D-101"_qs);
        typeInto(screen, "txtAssy", u"300-01"_qs);
        click(screen, "cmd3");
        QCOMPARE(tables().size(), 3);
        QCOMPARE(detailCount(), u"2"_qs);
    }

    void functionKeysOnlyWhileEnabled()
    {
        QVERIFY(open());
        QVERIFY(showActive(screen));
        control<QWidget>(screen, "cmd3")->setEnabled(false);
        QTest::keyClick(screen, Qt::Key_F4);
        QVERIFY(env->messages.shown.isEmpty());
        control<QWidget>(screen, "cmd3")->setEnabled(true);
        QTest::keyClick(control<QWidget>(screen, "txtAssy"), Qt::Key_F4);
        QCOMPARE(env->messages.shown.size(), 1); // the input check
        // F4 in a drop-down presses the delete button too, rather than opening the list.
        control<QWidget>(screen, "cboName")->setFocus();
        QTest::keyClick(control<QWidget>(screen, "cboName"), Qt::Key_F4);
        QCOMPARE(env->messages.shown.size(), 2);
        env->messages.clear();
        env->ctx.DataSearchFlag = Int16::from(7);
        QTest::keyClick(screen, Qt::Key_F1);
        QCOMPARE(env->ctx.DataSearchFlag.value(), 0);
        QTest::keyClick(screen, Qt::Key_F2);
        QTest::keyClick(screen, Qt::Key_F3);
        QVERIFY(env->messages.shown.isEmpty());
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
        env->ctx.enableMenuButtons = [&](bool on) { menu << on; };
        QWidget* w = createDrawingSearch(env->ctx, nullptr, hooks);
        screen = qobject_cast<DrawingSearchScreen*>(w);
        QVERIFY(screen);
        QVERIFY(screen->isVisible());
        QCOMPARE(menu, QList<bool>{false});
        click(screen, "cmd2");
        QCOMPARE(owners, QList<QWidget*>{screen.data()});
        QVERIFY(env->messages.shown.isEmpty());
        // The end closes the editors opened from here first, each with its own question.
        typeInto(screen, "txtDwgNo", u"D-100"_qs);
        typeInto(screen, "txtAssy", u"250-01"_qs);
        click(screen, "cmd0");
        QVERIFY(screen->findChild<EditorScreen*>());
        env->messages.clear();
        env->messages.setNextAnswer(MsgAnswer::No);
        click(screen, "cmd1");
        QCOMPARE(env->shownBoxes(),
                 QStringList{u"確認|変更内容を登録しましたか？終了しますよろしいですか？"_qs});
        QVERIFY(screen->isVisible());
        QCOMPARE(menu, QList<bool>{false});
        click(screen, "cmd1");
        QCOMPARE(menu, (QList<bool>{false, true}));
        QVERIFY(!env->ctx.DbConnection);
        QTRY_VERIFY(screen.isNull());
    }
};

QTEST_MAIN(TestDrawingSearch)
#include "TestDrawingSearch.moc"
