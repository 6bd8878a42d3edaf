#include "AppContext.h"
#include "CommonWidgets.h"
#include "IniAccess.h"
#include "IniFile.h"
#include "NewCustomerDialog.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestNewCustomerDialog : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    ScriptedMessageService messages;
    AppContext ctx;

    void press(NewCustomerDialog& d, const QString& name, const char* button)
    {
        d.findChild<QLineEdit*>(u"txtUserName"_s)->setText(name);
        d.findChild<QPushButton*>(QLatin1StringView(button))->click();
    }

private Q_SLOTS:
    void init()
    {
        writeCp932File(dir.filePath(u"PARA.ini"_s), u"[USER]\r\nMAX=2\r\n1=客先A\r\n2=客先B\r\n"_s);
        ctx.setPaths(dir.path());
        ctx.messages = &messages;
        ctx.makeIni();
        messages.clear();
    }

    void registersAndSelects()
    {
        QComboBox list;
        FillComboFromList(*ctx.ini, &list, u"USER"_s);
        NewCustomerDialog d(ctx, &list, nullptr);
        QCOMPARE(d.windowTitle(), u"新規客先登録"_s);
        QCOMPARE(d.findChild<QPushButton*>(u"cmdButton1"_s)->text(), u"キャンセル"_s);
        press(d, u"　 "_s, "cmdButton0"); // a full-width and a half-width blank: refused
        QCOMPARE(messages.shown.size(), 1);
        QCOMPARE(messages.shown.first().title, u"注意"_s);
        QCOMPARE(messages.shown.first().text, u"客先名が空欄です。登録できません。"_s);
        QCOMPARE(d.result(), int(QDialog::Rejected));
        QCOMPARE(ctx.ini->find(u"USER"_s, u"MAX"_s), u"2"_s);

        press(d, u"客先C"_s, "cmdButton0");
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QCOMPARE(ctx.ini->find(u"USER"_s, u"MAX"_s), u"3"_s);
        QCOMPARE(ctx.ini->find(u"USER"_s, u"3"_s), u"客先C"_s);
        QCOMPARE(list.count(), 3);
        QCOMPARE(list.currentIndex(), 2);

        // Leading blanks pass the check and are written as typed: a customer of its own.
        NewCustomerDialog again(ctx, &list, nullptr);
        QVERIFY(again.findChild<QLineEdit*>(u"txtUserName"_s)->text().isEmpty());
        press(again, u"  客先C"_s, "cmdButton0");
        QVERIFY(readFileBytes(ctx.IniPath).contains(*IniFile::encodeCp932(u"4=  客先C"_s)));
        QCOMPARE(list.count(), 4);
    }

    void existingNameAndCancelWriteNothing()
    {
        QComboBox list;
        FillComboFromList(*ctx.ini, &list, u"USER"_s);
        list.setCurrentIndex(0);
        const QByteArray before = readFileBytes(ctx.IniPath);
        NewCustomerDialog a(ctx, &list, nullptr);
        press(a, u"客先B"_s, "cmdButton0");
        QCOMPARE(a.result(), int(QDialog::Accepted));
        NewCustomerDialog b(ctx, &list, nullptr);
        press(b, u"取り消し"_s, "cmdButton1");
        QCOMPARE(b.result(), int(QDialog::Rejected));
        QCOMPARE(readFileBytes(ctx.IniPath), before);
        QCOMPARE(list.count(), 2);
        QCOMPARE(list.currentIndex(), 0);
        QVERIFY(messages.shown.isEmpty());
    }
};

QTEST_MAIN(TestNewCustomerDialog)
#include "TestNewCustomerDialog.moc"
