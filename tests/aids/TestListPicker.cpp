#include "AidsTestEnv.h"
#include "Common.h"
#include "InputAids.h"
#include "ListPickerDialog.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest>

namespace
{
void show(QWidget& w)
{
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
}
} // namespace

// The list picker over the settings file: its eleven tabs, the tab it opens on, moving an entry into
// the field, and appending without ever editing what is listed.
class TestListPicker : public QObject
{
    Q_OBJECT
    std::unique_ptr<AidsTestEnv> env;

private Q_SLOTS:
    void init()
    {
        env = std::make_unique<AidsTestEnv>();
        QVERIFY(env->ok());
    }
    void cleanup() { env.reset(); }

    void elevenTabsOpenOnTheFieldsList()
    {
        QLineEdit field;
        ListPickerDialog picker(*env->ctx.ini, QStringLiteral("KVRCAD0002COMBO6"), &field);
        show(picker);
        QTabWidget* tabs = picker.tabs();
        QCOMPARE(tabs->count(), 11);
        QStringList captions;
        for (int i = 0; i < tabs->count(); ++i)
            captions << tabs->tabText(i);
        QCOMPARE(captions,
                 (QStringList{QStringLiteral("客先"), QStringLiteral("品名"), QStringLiteral("品名"),
                              QStringLiteral("品名"), QStringLiteral("品名"), QStringLiteral("メーカー"),
                              QStringLiteral("材質"), QStringLiteral("材質"), QStringLiteral("材質"),
                              QStringLiteral("材質"), QStringLiteral("単位")}));
        QCOMPARE(tabs->currentIndex(), 7);
        QCOMPARE(picker.list(7)->count(), 1);
        QCOMPARE(picker.list(7)->item(0)->text(), QStringLiteral("SUS304"));
        // Other tabs are read when they are opened.
        QCOMPARE(picker.list(10)->count(), 0);
        tabs->setCurrentIndex(10);
        QCOMPARE(picker.list(10)->count(), 3);
        picker.list(10)->setCurrentRow(2);
        QTest::keyClick(picker.list(10), Qt::Key_Return);
        QCOMPARE(picker.result(), int(QDialog::Accepted));
        QCOMPARE(field.text(), QStringLiteral("ｍ"));
        QVERIFY(env->messages.shown.isEmpty());
    }

    void doubleClickFillsADropDown()
    {
        QComboBox maker;
        maker.setEditable(true);
        maker.addItems({QStringLiteral("ミスミ"), QStringLiteral("オリエンタル")});
        maker.setEditText(QStringLiteral("オリエンタル"));
        ListPickerDialog picker(*env->ctx.ini, QStringLiteral("MAKER"), &maker);
        show(picker);
        QListWidget* list = picker.list(5);
        QCOMPARE(picker.tabs()->currentIndex(), 5);
        // The field's entry is the one selected at first.
        QCOMPARE(list->currentRow(), 1);
        const QPoint at = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(maker.currentText(), QStringLiteral("ミスミ"));
        QCOMPARE(picker.chosenValue(), QStringLiteral("ミスミ"));
    }

    void appendsANewEntryOnceAndF5TakesIt()
    {
        QLineEdit field;
        ListPickerDialog picker(*env->ctx.ini, QStringLiteral("USER"), &field);
        show(picker);
        auto* entry = picker.findChild<QLineEdit*>(QStringLiteral("txtNewEntry"));
        auto* add = picker.findChild<QPushButton*>(QStringLiteral("cmdAdd"));
        QVERIFY(!add->isEnabled());
        for (int i = 0; i < 2; ++i) {
            entry->setText(QStringLiteral("北海産業"));
            QTest::keyClick(entry, Qt::Key_Return);
        }
        QCOMPARE(ReadList(*env->ctx.ini, QStringLiteral("USER")),
                 (QStringList{QStringLiteral("東西重工"), QStringLiteral("南北機械"),
                              QStringLiteral("北海産業")}));
        QCOMPARE(picker.list(0)->count(), 3);
        QCOMPARE(picker.list(0)->currentRow(), 2);
        QTest::keyClick(&picker, Qt::Key_F5);
        QCOMPARE(field.text(), QStringLiteral("北海産業"));
    }

    void missingListShowsTheSettingsErrorAndStaysUp()
    {
        env->writeIni(AidsTestEnv::iniText().remove(QStringLiteral("[STANI]\r\nMAX=3\r\n")));
        QLineEdit field;
        ListPickerDialog picker(*env->ctx.ini, QStringLiteral("STANI"), &field);
        show(picker);
        QCOMPARE(picker.list(10)->count(), 0);
        QVERIFY(!env->messages.shown.isEmpty());
        QCOMPARE(env->messages.shown.front().title, QStringLiteral("ＩＮＩファイルエラー"));
        QVERIFY(!picker.findChild<QPushButton*>(QStringLiteral("cmdSelect"))->isEnabled());
    }

    void bracketsAndInputLists()
    {
        QCOMPARE(ToggleBrackets(QStringLiteral("M10")), QStringLiteral("(M10)"));
        QCOMPARE(ToggleBrackets(QStringLiteral("(M10)")), QStringLiteral("M10"));
        QCOMPARE(ToggleBrackets(QStringLiteral(" （M10） ")), QStringLiteral("M10"));
        QCOMPARE(ToggleBrackets(QStringLiteral("(M10")), QStringLiteral("((M10)"));
        QCOMPARE(ToggleBrackets(QString()), QStringLiteral("()"));
        // "INDEX" puts each list in a field's slot: 0 to 3 the name field, 4 to 7 the material
        // field, ordered by slot; a slot outside them feeds nothing.
        auto numbers = [](const QList<InputList>& lists) {
            QList<int> out;
            for (const auto& l : lists)
                out << l.number;
            return out;
        };
        QCOMPARE(numbers(NameInputLists(*env->ctx.ini)), (QList<int>{1, 2, 4}));
        QCOMPARE(numbers(MaterialInputLists(*env->ctx.ini)), (QList<int>{6, 5, 7, 8}));
        QCOMPARE(NameInputLists(*env->ctx.ini).front().items.size(), 3);
        QCOMPARE(InputListCount(*env->ctx.ini), 8);
    }
};

QTEST_MAIN(TestListPicker)
#include "TestListPicker.moc"
