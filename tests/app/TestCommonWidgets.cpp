#include "CommonWidgets.h"
#include "IniAccess.h"
#include "TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestCommonWidgets : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_path = m_dir.filePath(u"PARA.ini"_s);
    ScriptedMessageService m_msgs;

private Q_SLOTS:
    void init() { writeCp932File(m_path, u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n"_s); }

    void typedEntriesJoinTheListAndTheDropDown()
    {
        IniAccess ini(m_msgs, m_path);
        QComboBox combo;
        combo.setEditable(true);
        FillComboFromList(ini, &combo, u"MAKER"_s);
        QCOMPARE(combo.count(), 3);
        // Listed already: the drop-down is not touched.
        combo.addItem(u"一時"_s);
        combo.setEditText(u"THK"_s);
        RememberComboText(ini, &combo, u"MAKER"_s);
        QCOMPARE(combo.count(), 4);
        // New: appended, the drop-down reloaded in order and the text put back.
        combo.setEditText(u"SMC"_s);
        RememberComboText(ini, &combo, u"MAKER"_s);
        QCOMPARE(combo.itemText(3) + combo.currentText() + ini.get(u"MAKER"_s, u"MAX"_s), u"SMCSMC4"_s);
        QCOMPARE(combo.count(), 4);
        // A chosen value: listed ones leave the choice alone, a new one is added and chosen.
        combo.setCurrentIndex(1);
        RememberComboValue(ini, &combo, u"MAKER"_s, u"ミスミ"_s);
        QCOMPARE(combo.currentIndex(), 1);
        RememberComboValue(ini, &combo, u"MAKER"_s, u"CKD"_s);
        QCOMPARE(combo.currentIndex(), 4);
        QCOMPARE(combo.currentText(), u"CKD"_s);
    }

    void numberBoxesLoseOneWrongCharacter()
    {
        QLineEdit edit;
        edit.setText(u"12a3"_s);
        edit.setCursorPosition(0);
        QVERIFY(CheckNumberBox(&edit));
        QCOMPARE(edit.text(), u"123"_s);
        QCOMPARE(edit.cursorPosition(), 3);
        QVERIFY(!CheckNumberBox(&edit));
        QComboBox combo;
        combo.setEditable(true);
        combo.setEditText(u"5-"_s);
        QVERIFY(CheckNumberBox(&combo));
        QCOMPARE(combo.currentText(), u"5"_s);
    }

    void checkBoxesGreyTheirFields()
    {
        QWidget window;
        auto* box = new QCheckBox(&window);
        auto* field = new QLineEdit(&window);
        box->setTristate(true);
        const QColor base = QApplication::palette().color(QPalette::Base);
        const QColor face = QApplication::palette().color(QPalette::Button);
        // A greyed box is not ticked; other modes than "COLOR ON" do nothing.
        for (const auto& [state, mode, enabled] : {std::tuple{Qt::Unchecked, u"COLOR OFF"_s, true},
                                                   {Qt::Unchecked, u"COLOR ON"_s, false},
                                                   {Qt::PartiallyChecked, u"COLOR ON"_s, false},
                                                   {Qt::Checked, u"COLOR ON"_s, true}}) {
            SetFieldEnabled(true, field);
            box->setCheckState(state);
            ApplyCheckColor(box, field, mode);
            QCOMPARE(field->isEnabled(), enabled);
            QCOMPARE(field->palette().color(QPalette::Active, QPalette::Base), enabled ? base : face);
            QCOMPARE(IsChecked(box), state == Qt::Checked);
        }
    }

    void screensAreOwnedByTheScreenThatOpensThem()
    {
        QWidget owner;
        owner.setObjectName(u"KVRCAD0000"_s);
        auto* screen = new QWidget;
        screen->setObjectName(u"KVRCAD0001"_s);
        ShowScreen(screen, &owner);
        QCOMPARE(screen->parentWidget(), &owner);
        QVERIFY(screen->isWindow() && screen->isVisible());
        QWidget same; // same name: no owner
        same.setObjectName(u"KVRCAD0000"_s);
        ShowScreen(&same, &owner);
        QCOMPARE(same.parentWidget(), nullptr);
        QVERIFY(same.isVisible());
    }
};

QTEST_MAIN(TestCommonWidgets)
#include "TestCommonWidgets.moc"
