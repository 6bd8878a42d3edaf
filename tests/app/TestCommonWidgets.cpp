#include "CommonWidgets.h"
#include "IniAccess.h"
#include "MessageService.h"
#include "TestSupport.h"
#include "WidgetServices.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QtTest>

class TestCommonWidgets : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_path;
    ScriptedMessageService m_msgs;

private Q_SLOTS:
    void init()
    {
        m_path = m_dir.filePath(QStringLiteral("PARA.ini"));
        writeCp932File(m_path, QStringLiteral("[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n"));
        m_msgs.clear();
    }

    void rememberComboText()
    {
        IniAccess ini(m_msgs, m_path);
        QComboBox combo;
        combo.setEditable(true);
        FillComboFromList(ini, &combo, QStringLiteral("MAKER"));
        QCOMPARE(combo.count(), 3);
        // Listed already: the drop-down is not touched.
        combo.addItem(QStringLiteral("一時"));
        combo.setEditText(QStringLiteral("THK"));
        RememberComboText(ini, &combo, QStringLiteral("MAKER"));
        QCOMPARE(combo.count(), 4);
        // New: appended, the drop-down reloaded in order and the text put back.
        combo.setEditText(QStringLiteral("SMC"));
        RememberComboText(ini, &combo, QStringLiteral("MAKER"));
        QCOMPARE(combo.count(), 4);
        QCOMPARE(combo.itemText(3), QStringLiteral("SMC"));
        QCOMPARE(combo.currentText(), QStringLiteral("SMC"));
        QCOMPARE(ini.get(QStringLiteral("MAKER"), QStringLiteral("MAX")), QStringLiteral("4"));
    }

    void rememberComboValue()
    {
        IniAccess ini(m_msgs, m_path);
        QComboBox combo;
        FillComboFromList(ini, &combo, QStringLiteral("MAKER"));
        combo.setCurrentIndex(1);
        RememberComboValue(ini, &combo, QStringLiteral("MAKER"), QStringLiteral("ミスミ"));
        QCOMPARE(combo.currentIndex(), 1); // listed: untouched
        RememberComboValue(ini, &combo, QStringLiteral("MAKER"), QStringLiteral("CKD"));
        QCOMPARE(combo.count(), 4);
        QCOMPARE(combo.currentIndex(), 3);
        QCOMPARE(combo.currentText(), QStringLiteral("CKD"));
    }

    void checkNumberBox()
    {
        QLineEdit edit;
        edit.setText(QStringLiteral("12a3"));
        edit.setCursorPosition(0);
        QVERIFY(CheckNumberBox(&edit));
        QCOMPARE(edit.text(), QStringLiteral("123"));
        QCOMPARE(edit.cursorPosition(), 3);
        QVERIFY(!CheckNumberBox(&edit));

        QComboBox combo;
        combo.setEditable(true);
        combo.setEditText(QStringLiteral("5-"));
        QVERIFY(CheckNumberBox(&combo));
        QCOMPARE(combo.currentText(), QStringLiteral("5"));
        QCOMPARE(combo.lineEdit()->cursorPosition(), 1);
    }

    void checkBoxesAndFieldColours()
    {
        QWidget window;
        auto* box = new QCheckBox(&window);
        auto* field = new QLineEdit(&window);
        box->setTristate(true);
        box->setCheckState(Qt::PartiallyChecked);
        QVERIFY(!IsChecked(box)); // greyed is not ticked
        box->setCheckState(Qt::Checked);
        QVERIFY(IsChecked(box));

        const QColor window_ = QApplication::palette().color(QPalette::Base);
        const QColor face = QApplication::palette().color(QPalette::Button);
        SetFieldEnabled(false, field);
        QVERIFY(!field->isEnabled());
        QCOMPARE(field->palette().color(QPalette::Active, QPalette::Base), face);
        SetFieldEnabled(true, field);
        QVERIFY(field->isEnabled());
        QCOMPARE(field->palette().color(QPalette::Active, QPalette::Base), window_);

        box->setCheckState(Qt::Unchecked);
        ApplyCheckColor(box, field, QStringLiteral("COLOR OFF")); // other modes do nothing
        QVERIFY(field->isEnabled());
        ApplyCheckColor(box, field, QStringLiteral("COLOR ON"));
        QVERIFY(!field->isEnabled());
        box->setCheckState(Qt::PartiallyChecked);
        ApplyCheckColor(box, field, QStringLiteral("COLOR ON"));
        QVERIFY(!field->isEnabled());
        box->setCheckState(Qt::Checked);
        ApplyCheckColor(box, field, QStringLiteral("COLOR ON"));
        QVERIFY(field->isEnabled());
    }

    void showScreenOwnsByName()
    {
        QWidget owner;
        owner.setObjectName(QStringLiteral("KVRCAD0000"));
        auto* screen = new QWidget;
        screen->setObjectName(QStringLiteral("KVRCAD0001"));
        ShowScreen(screen, &owner);
        QCOMPARE(screen->parentWidget(), &owner);
        QVERIFY(screen->isWindow());
        QVERIFY(screen->isVisible());
        ShowScreen(screen, &owner); // shown again: stays with the same owner
        QCOMPARE(screen->parentWidget(), &owner);

        QWidget same;
        same.setObjectName(QStringLiteral("KVRCAD0000"));
        ShowScreen(&same, &owner); // same name: no owner
        QCOMPARE(same.parentWidget(), nullptr);
        QVERIFY(same.isVisible());
    }

    void screenFontFallsBackToAJapaneseFont()
    {
        const QFont f = screenFont();
        QVERIFY(f.families().contains(QStringLiteral("IPAGothic")));
        QFontMetrics fm(f);
        QVERIFY(fm.inFont(QChar(0x90E8))); // 部
    }
};

QTEST_MAIN(TestCommonWidgets)
#include "TestCommonWidgets.moc"
