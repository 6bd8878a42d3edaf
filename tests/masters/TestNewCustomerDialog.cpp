#include "CommonWidgets.h"
#include "IniAccess.h"
#include "NewCustomerDialog.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

// The new customer dialog KVRCAD0102 over the settings file's customer list.
class TestNewCustomerDialog : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;
    QComboBox list;

    // Types the name into a new dialog and presses the button; the dialog's result.
    int press(const QString& name, const char* button)
    {
        NewCustomerDialog d(f->ctx, &list, nullptr);
        d.findChild<QLineEdit*>(u"txtUserName"_s)->setText(name);
        d.findChild<QPushButton*>(QLatin1StringView(button))->click();
        return d.result();
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        list.clear();
        FillComboFromList(*f->ctx.ini, &list, u"USER"_s);
        list.setCurrentIndex(0);
    }

    void registersAndSelects()
    {
        QCOMPARE(press(u"　 "_s, "cmdButton0"), int(QDialog::Rejected)); // full-width and half-width blanks
        QCOMPARE(f->shownBoxes(), QStringList(u"注意|客先名が空欄です。登録できません。"_s));
        QCOMPARE(f->ctx.ini->find(u"USER"_s, u"MAX"_s), u"2"_s);
        QCOMPARE(press(u"客先C"_s, "cmdButton0"), int(QDialog::Accepted));
        QCOMPARE(f->ctx.ini->find(u"USER"_s, u"MAX"_s) + f->ctx.ini->find(u"USER"_s, u"3"_s), u"3客先C"_s);
        QCOMPARE(list.count(), 3);
        QCOMPARE(list.currentIndex(), 2);
        // Leading blanks pass the check and are written as typed: a customer of its own.
        press(u"  客先C"_s, "cmdButton0");
        QVERIFY(f->iniText().contains(u"4=  客先C"_s));
        QCOMPARE(list.count(), 4);
    }

    void existingNameAndCancelWriteNothing()
    {
        const QByteArray before = readFileBytes(f->ctx.IniPath);
        QCOMPARE(press(u"客先B"_s, "cmdButton0"), int(QDialog::Accepted));
        QCOMPARE(press(u"取り消し"_s, "cmdButton1"), int(QDialog::Rejected));
        QCOMPARE(readFileBytes(f->ctx.IniPath), before);
        QCOMPARE(list.count(), 2);
        QCOMPARE(list.currentIndex(), 0);
        QVERIFY(f->messages.shown.isEmpty());
    }
};

QTEST_MAIN(TestNewCustomerDialog)
#include "TestNewCustomerDialog.moc"
