#include "CommonWidgets.h"
#include "IniAccess.h"
#include "MessageService.h"
#include "QtJapanese.h"
#include "TestSupport.h"
#include "WidgetServices.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestCommonWidgets : public QObject
{
    Q_OBJECT
    SettingsFileFixture m_f;

private Q_SLOTS:
    void init()
    {
        m_f.reset();
        writeCp932File(m_f.path, u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n"_s);
    }

    void rememberComboText()
    {
        IniAccess ini(m_f.msgs, m_f.path);
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
        QCOMPARE(combo.count(), 4);
        QCOMPARE(combo.itemText(3), u"SMC"_s);
        QCOMPARE(combo.currentText(), u"SMC"_s);
        QCOMPARE(ini.get(u"MAKER"_s, u"MAX"_s), u"4"_s);
    }

    void rememberComboValue()
    {
        IniAccess ini(m_f.msgs, m_f.path);
        QComboBox combo;
        FillComboFromList(ini, &combo, u"MAKER"_s);
        combo.setCurrentIndex(1);
        RememberComboValue(ini, &combo, u"MAKER"_s, u"ミスミ"_s);
        QCOMPARE(combo.currentIndex(), 1); // listed: untouched
        RememberComboValue(ini, &combo, u"MAKER"_s, u"CKD"_s);
        QCOMPARE(combo.count(), 4);
        QCOMPARE(combo.currentIndex(), 3);
        QCOMPARE(combo.currentText(), u"CKD"_s);
    }

    void checkNumberBox()
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
        ApplyCheckColor(box, field, u"COLOR OFF"_s); // other modes do nothing
        QVERIFY(field->isEnabled());
        ApplyCheckColor(box, field, u"COLOR ON"_s);
        QVERIFY(!field->isEnabled());
        box->setCheckState(Qt::PartiallyChecked);
        ApplyCheckColor(box, field, u"COLOR ON"_s);
        QVERIFY(!field->isEnabled());
        box->setCheckState(Qt::Checked);
        ApplyCheckColor(box, field, u"COLOR ON"_s);
        QVERIFY(field->isEnabled());
    }

    void showScreenOwnsByName()
    {
        QWidget owner;
        owner.setObjectName(u"KVRCAD0000"_s);
        owner.setGeometry(100, 50, 500, 400);
        owner.show();
        auto* screen = new QWidget;
        screen->setObjectName(u"KVRCAD0001"_s);
        screen->resize(300, 200);
        ShowScreen(screen, &owner);
        QCOMPARE(screen->parentWidget(), &owner);
        QVERIFY((screen->frameGeometry().center() - owner.frameGeometry().center()).manhattanLength() < 40);
        QVERIFY(screen->isWindow());
        QVERIFY(screen->isVisible());
        ShowScreen(screen, &owner); // shown again: stays with the same owner
        QCOMPARE(screen->parentWidget(), &owner);

        QWidget same;
        same.setObjectName(u"KVRCAD0000"_s);
        ShowScreen(&same, &owner); // same name: no owner
        QCOMPARE(same.parentWidget(), nullptr);
        QVERIFY(same.isVisible());
    }

    void boxesSpeakJapaneseAndFitTheirText()
    {
        QVERIFY(LoadQtJapanese(*qApp));
        const QString line =
            u"取込ﾌｧｲﾙのデータを登録します。「いいえ」を選ぶと何もしません。よろしいですか？"_s;
        QStringList buttons;
        bool wrapped = true;
        int width = 0;
        QTimer::singleShot(0, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            QVERIFY(box);
            for (QAbstractButton* b : box->buttons())
                buttons << b->text();
            auto* label = box->findChild<QLabel*>(u"qt_msgbox_label"_s);
            wrapped = label->height() > label->fontMetrics().height() * 3 / 2;
            width = box->width();
            box->reject();
        });
        WidgetMessageService messages;
        messages.show(MsgIcon::Question, MsgButtons::YesNo, u"インフォメーション"_s, line);
        buttons.sort();
        QCOMPARE(buttons, (QStringList{u"いいえ"_s, u"はい"_s}));
        QVERIFY(!wrapped);
        QVERIFY(width > QFontMetrics(screenFont()).horizontalAdvance(line));
        QDialogButtonBox dialogButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QCOMPARE(dialogButtons.button(QDialogButtonBox::Cancel)->text(), u"キャンセル"_s);
    }

    void screenFontFallsBackToAJapaneseFont()
    {
        const QFont f = screenFont();
        QVERIFY(f.families().contains(u"IPAGothic"_s));
        QFontMetrics fm(f);
        QVERIFY(fm.inFont(QChar(0x90E8))); // 部
    }
};

QTEST_MAIN(TestCommonWidgets)
#include "TestCommonWidgets.moc"
