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
        ListPickerDialog picker(*env->ctx.ini, u"KVRCAD0002COMBO6"_qs, &field);
        QVERIFY(showActive(&picker));
        QTabWidget* tabs = picker.tabs();
        QCOMPARE(tabs->count(), 11);
        QStringList captions;
        for (int i = 0; i < tabs->count(); ++i)
            captions << tabs->tabText(i);
        QCOMPARE(captions,
                 (QStringList{u"客先"_qs, u"品名1"_qs, u"品名2"_qs, u"品名3"_qs, u"品名4"_qs, u"メーカー"_qs,
                              u"材質1"_qs, u"材質2"_qs, u"材質3"_qs, u"材質4"_qs, u"単位"_qs}));
        QCOMPARE(tabs->currentIndex(), 7);
        // Only the material lists can fill a material field.
        for (int i = 0; i < tabs->count(); ++i)
            QCOMPARE(tabs->isTabEnabled(i), i >= 6 && i <= 9);
        QCOMPARE(picker.list(7)->count(), 1);
        QCOMPARE(picker.list(7)->item(0)->text(), u"SUS304"_qs);
        // Other tabs are read when they are opened; a unit never goes into the material field.
        QCOMPARE(picker.list(10)->count(), 0);
        tabs->setCurrentIndex(10);
        QCOMPARE(picker.list(10)->count(), 3);
        picker.list(10)->setCurrentRow(2);
        QTest::keyClick(picker.list(10), Qt::Key_Return);
        QVERIFY(field.text().isEmpty() && picker.isVisible());
        tabs->setCurrentIndex(7);
        QTest::keyClick(picker.list(7), Qt::Key_Return);
        QCOMPARE(picker.result(), int(QDialog::Accepted));
        QCOMPARE(field.text(), u"SUS304"_qs);
        QVERIFY(env->messages.shown.isEmpty());
    }

    void doubleClickFillsADropDown()
    {
        QComboBox maker;
        maker.setEditable(true);
        maker.addItems({u"ミスミ"_qs, u"オリエンタル"_qs});
        maker.setEditText(u"オリエンタル"_qs);
        ListPickerDialog picker(*env->ctx.ini, u"MAKER"_qs, &maker);
        QVERIFY(showActive(&picker));
        QListWidget* list = picker.list(5);
        QCOMPARE(picker.tabs()->currentIndex(), 5);
        // The field's entry is the one selected at first.
        QCOMPARE(list->currentRow(), 1);
        const QPoint at = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(maker.currentText(), u"ミスミ"_qs);
        QCOMPARE(picker.chosenValue(), u"ミスミ"_qs);
    }

    void appendsANewEntryOnceAndF5TakesIt()
    {
        QLineEdit field;
        ListPickerDialog picker(*env->ctx.ini, u"USER"_qs, &field);
        QVERIFY(showActive(&picker));
        auto* entry = picker.findChild<QLineEdit*>(u"txtNewEntry"_qs);
        auto* add = picker.findChild<QPushButton*>(u"cmdAdd"_qs);
        QVERIFY(!add->isEnabled());
        for (int i = 0; i < 2; ++i) {
            entry->setText(u"北海産業"_qs);
            QTest::keyClick(entry, Qt::Key_Return);
        }
        QCOMPARE(ReadList(*env->ctx.ini, u"USER"_qs),
                 (QStringList{u"東西重工"_qs, u"南北機械"_qs, u"北海産業"_qs}));
        QCOMPARE(picker.list(0)->count(), 3);
        QCOMPARE(picker.list(0)->currentRow(), 2);
        QTest::keyClick(&picker, Qt::Key_F5);
        QCOMPARE(field.text(), u"北海産業"_qs);
    }

    void missingListShowsTheSettingsErrorAndStaysUp()
    {
        env->writeIni(AidsTestEnv::iniText().remove(u"[STANI]\r\nMAX=3\r\n"_qs));
        QLineEdit field;
        ListPickerDialog picker(*env->ctx.ini, u"STANI"_qs, &field);
        QVERIFY(showActive(&picker));
        QCOMPARE(picker.list(10)->count(), 0);
        QVERIFY(!env->messages.shown.isEmpty());
        QCOMPARE(env->messages.shown.front().title, u"ＩＮＩファイルエラー"_qs);
        QVERIFY(!picker.findChild<QPushButton*>(u"cmdSelect"_qs)->isEnabled());
    }

    void bracketsAndInputLists()
    {
        // Half-width brackets on and off are walked through the editor's button; full-width ones
        // typed by hand come off too.
        QCOMPARE(ToggleBrackets(u" （M10） "_qs), u"M10"_qs);
        QCOMPARE(ToggleBrackets(u"(M10"_qs), u"((M10)"_qs);
        QCOMPARE(ToggleBrackets(QString()), u"()"_qs);
    }
};

QTEST_MAIN(TestListPicker)
#include "TestListPicker.moc"
