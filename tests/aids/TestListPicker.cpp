#include "Common.h"
#include "InputAids.h"
#include "ListPickerDialog.h"
#include "ScreenTestHelpers.h"
#include "TestSupport.h"

#include <QTabWidget>

using namespace Qt::StringLiterals;

// The list picker over the settings file: its eleven tabs, the tab it opens on, moving an entry into
// the field, and appending without ever editing what is listed.
class TestListPicker : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;

private Q_SLOTS:
    void init() { f = std::make_unique<AppFolder>(); }
    void cleanup() { f.reset(); }

    void elevenTabsOpenOnTheFieldsList()
    {
        QLineEdit field;
        ListPickerDialog picker(*f->ctx.ini, u"KVRCAD0002COMBO6"_s, &field);
        QVERIFY(showActive(&picker));
        QTabWidget* tabs = picker.tabs();
        QStringList captions;
        for (int i = 0; i < tabs->count(); ++i)
            captions << tabs->tabText(i);
        QCOMPARE(captions.join(u' '), u"客先 品名 品名 品名 品名 メーカー 材質 材質 材質 材質 単位"_s);
        QCOMPARE(tabs->currentIndex(), 7);
        QCOMPARE(picker.list(7)->item(0)->text(), u"SUS304"_s);
        // Other tabs are read when they are opened.
        QCOMPARE(picker.list(10)->count(), 0);
        tabs->setCurrentIndex(10);
        QCOMPARE(picker.list(10)->count(), 3);
        picker.list(10)->setCurrentRow(2);
        QTest::keyClick(picker.list(10), Qt::Key_Return);
        QCOMPARE(picker.result(), int(QDialog::Accepted));
        QCOMPARE(field.text(), u"ｍ"_s);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void doubleClickFillsADropDown()
    {
        QComboBox maker;
        maker.setEditable(true);
        maker.addItems({u"ミスミ"_s, u"オリエンタル"_s});
        maker.setEditText(u"オリエンタル"_s);
        ListPickerDialog picker(*f->ctx.ini, u"MAKER"_s, &maker);
        QVERIFY(showActive(&picker));
        QListWidget* list = picker.list(5);
        QCOMPARE(picker.tabs()->currentIndex(), 5);
        QCOMPARE(list->currentRow(), 1); // the field's entry is the one selected at first
        const QPoint at = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(maker.currentText(), u"ミスミ"_s);
    }

    void appendsANewEntryOnceAndF5TakesIt()
    {
        QLineEdit field;
        ListPickerDialog picker(*f->ctx.ini, u"USER"_s, &field);
        QVERIFY(showActive(&picker));
        auto* entry = control<QLineEdit>(&picker, "txtNewEntry");
        QVERIFY(!control<QWidget>(&picker, "cmdAdd")->isEnabled());
        for (int i = 0; i < 2; ++i) {
            entry->setText(u"北海産業"_s);
            QTest::keyClick(entry, Qt::Key_Return);
        }
        QCOMPARE(ReadList(*f->ctx.ini, u"USER"_s), QStringList({u"客先A"_s, u"客先B"_s, u"北海産業"_s}));
        QCOMPARE(picker.list(0)->currentRow(), 2);
        QTest::keyClick(&picker, Qt::Key_F5);
        QCOMPARE(field.text(), u"北海産業"_s);
    }

    void missingListShowsTheSettingsErrorAndStaysUp()
    {
        f->writeIni(AppFolder::kIni.section(u"[STANI]"_s, 0, 0));
        QLineEdit field;
        ListPickerDialog picker(*f->ctx.ini, u"STANI"_s, &field);
        QVERIFY(showActive(&picker));
        QCOMPARE(picker.list(10)->count(), 0);
        QCOMPARE(f->messages.shown.value(0).title, u"ＩＮＩファイルエラー"_s);
        QVERIFY(!control<QWidget>(&picker, "cmdSelect")->isEnabled());
        // Full-width brackets typed by hand come off like half-width ones.
        QCOMPARE(ToggleBrackets(u" （M10） "_s), u"M10"_s);
        QCOMPARE(ToggleBrackets(u"(M10"_s), u"((M10)"_s);
    }
};

QTEST_MAIN(TestListPicker)
#include "TestListPicker.moc"
