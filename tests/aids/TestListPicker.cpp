#include "AidsTestEnv.h"
#include "Common.h"
#include "InputAids.h"
#include "ListPickerDialog.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest>

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
        QVERIFY(showActive(&picker));
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
        QVERIFY(showActive(&picker));
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
        QVERIFY(showActive(&picker));
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
        QVERIFY(showActive(&picker));
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
    }
};

QTEST_MAIN(TestListPicker)
#include "TestListPicker.moc"
