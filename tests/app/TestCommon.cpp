#include "AppContext.h"
#include "Common.h"
#include "IniAccess.h"
#include "MessageService.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QtTest>

class TestCommon : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_path;
    ScriptedMessageService m_msgs;

private Q_SLOTS:
    void init()
    {
        m_path = m_dir.filePath(QStringLiteral("PARA.ini"));
        QFile::remove(m_path);
        m_msgs.clear();
    }

    void numberCheck_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("rejected");
        QTest::addColumn<QString>("after");
        QTest::newRow("12-3") << QStringLiteral("12-3") << true << QStringLiteral("123");
        QTest::newRow("-12.5") << QStringLiteral("-12.5") << false << QStringLiteral("-12.5");
        QTest::newRow("1 2") << QStringLiteral("1 2") << true << QStringLiteral("12");
        QTest::newRow("1/2") << QStringLiteral("1/2") << true << QStringLiteral("12");
        QTest::newRow("12a") << QStringLiteral("12a") << true << QStringLiteral("12");
        QTest::newRow("full-width 12") << QStringLiteral("１２") << true << QStringLiteral("２");
        QTest::newRow("empty") << QString() << false << QString();
        QTest::newRow("dots") << QStringLiteral("1..2.") << false << QStringLiteral("1..2.");
        QTest::newRow("only first removed") << QStringLiteral("a-b") << true << QStringLiteral("-b");
        QTest::newRow("comma") << QStringLiteral("1,000") << true << QStringLiteral("1000");
        QTest::newRow("plus") << QStringLiteral("+1") << true << QStringLiteral("1");
        QTest::newRow("control passes") << QStringLiteral("1\t2") << false << QStringLiteral("1\t2");
        QTest::newRow("colon above 9") << QStringLiteral("1:") << true << QStringLiteral("1");
        QTest::newRow("emoji as one") << QStringLiteral("1😀2") << true << QStringLiteral("12");
    }

    void numberCheck()
    {
        QFETCH(QString, text);
        QFETCH(bool, rejected);
        QFETCH(QString, after);
        QCOMPARE(CheckNumberText(text), rejected);
        QCOMPARE(text, after);
    }

    void digitsAndFlags()
    {
        QCOMPARE(DigitsOnly(QStringLiteral("A-12/3")), QStringLiteral("123"));
        QCOMPARE(DigitsOnly(QString()), QString());
        QCOMPARE(DigitsValue(QStringLiteral("(12)")), 12);
        QCOMPARE(DigitsValue(QStringLiteral("A-3")), 3);
        QCOMPARE(DigitsValue(QStringLiteral("abc")), 0);
        QCOMPARE(DigitsValue(QStringLiteral("2147483647")), 2147483647);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(QStringLiteral("2147483648")));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(QStringLiteral("00000000001")));

        QCOMPARE(FlagText(kTrue), QStringLiteral("1"));
        QCOMPARE(FlagText(1), QStringLiteral("0")); // only -1 counts as true
        QCOMPARE(FlagText(0), QStringLiteral("0"));
        QVERIFY(!NotTrue(kTrue));
        QVERIFY(NotTrue(1));
        QVERIFY(NotTrue(0));

        QCOMPARE(LastIndex(Int16::from(5), QStringLiteral("3")).value(), 7);
        QCOMPARE(LastIndex(Int16::from(1), QStringLiteral("0")).value(), 0);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, LastIndex(Int16::from(2), QStringLiteral("32767")));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, LastIndex(Int16::from(2), QStringLiteral("abc")));
    }

    void numberReadings()
    {
        QCOMPARE(LenientInt(QStringLiteral("abc")), 0);
        QCOMPARE(LenientInt(QString()), 0);
        QCOMPARE(LenientInt(QStringLiteral("2.5")), 2);
        QCOMPARE(LenientInt(QStringLiteral("-2.5")), -2);
        QCOMPARE(LenientInt(QStringLiteral("0.5")), 0);
        QCOMPARE(LenientInt(QStringLiteral(".6")), 1);
        QCOMPARE(LenientInt(QStringLiteral("12abc")), 12);
        QCOMPARE(LenientInt(QStringLiteral("1e3")), 1000);
        QCOMPARE(LenientInt(QStringLiteral("1e")), 1);
        QCOMPARE(LenientInt(QStringLiteral("1e99")), std::numeric_limits<long long>::max());
        QCOMPARE(StrictInt(QStringLiteral(" 7 ")), 7);
        QCOMPARE(StrictInt(QStringLiteral("2.5")), 2);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(QStringLiteral("EOFタグ：USER　キー：MAX")));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(QString()));

        QVERIFY(TextIsTrue(QStringLiteral("-1")));
        QVERIFY(TextIsTrue(QStringLiteral("True")));
        QVERIFY(!TextIsTrue(QStringLiteral("False")));
        QVERIFY(!TextIsTrue(QStringLiteral("0")));
        QVERIFY(!TextIsTrue(QString()));
    }

    void addToListAppendsOnlyNewValues()
    {
        writeCp932File(
            m_path, QStringLiteral("[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n[NEXT]\r\nX=1\r\n"));
        IniAccess ini(m_msgs, m_path);
        const QByteArray before = readFileBytes(m_path);
        // Already there twice: "OK", nothing written.
        QCOMPARE(AddToList(ini, QStringLiteral("MAKER"), QStringLiteral("ミスミ")), QStringLiteral("OK"));
        QCOMPARE(readFileBytes(m_path), before);
        // Compared exactly: case and blanks count.
        QCOMPARE(AddToList(ini, QStringLiteral("MAKER"), QStringLiteral("thk")), QStringLiteral("REWRITE"));
        QCOMPARE(AddToList(ini, QStringLiteral("MAKER"), QString()), QStringLiteral("REWRITE"));
        QCOMPARE(readFileBytes(m_path),
                 *IniFile::encodeCp932(
                     QStringLiteral("[MAKER]\r\nMAX=5\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n4=thk\r\n5=\r\n"
                                    "[NEXT]\r\nX=1\r\n")));
        QCOMPARE(ReadList(ini, QStringLiteral("MAKER")),
                 QStringList({QStringLiteral("ミスミ"), QStringLiteral("THK"), QStringLiteral("ミスミ"),
                              QStringLiteral("thk"), QString()}));
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void addToListOnAnEmptyListAndBadCounts()
    {
        writeCp932File(m_path, QStringLiteral("[USER]\r\nMAX=0\r\n[BAD]\r\nMAX=x\r\n"));
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(AddToList(ini, QStringLiteral("USER"), QStringLiteral("客先Ａ")), QStringLiteral("REWRITE"));
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("MAX")), QStringLiteral("1"));
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("1")), QStringLiteral("客先Ａ"));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, AddToList(ini, QStringLiteral("BAD"), QStringLiteral("v")));
        QVERIFY(m_msgs.shown.isEmpty());
        // A list without "MAX": the reader's box, then the run-time error.
        QVERIFY_THROWS_EXCEPTION(RuntimeError, AddToList(ini, QStringLiteral("NONE"), QStringLiteral("v")));
        QCOMPARE(m_msgs.shown.size(), 1);
    }

    void addToListWritesTheCountBeforeTheItem()
    {
        writeCp932File(m_path, QStringLiteral("[USER]\r\nMAX=1\r\n1=客先Ａ\r\n"));
        IniAccess ini(m_msgs, m_path);
        QStringList writes;
        ini.onWrite = [&writes](const QString&, const QString& section, const QString& key,
                                const QString& value) { writes << section + u'/' + key + u'=' + value; };
        QCOMPARE(AddToList(ini, QStringLiteral("user"), QStringLiteral("客先Ｂ")), QStringLiteral("REWRITE"));
        QCOMPARE(writes, QStringList({QStringLiteral("user/MAX=2"), QStringLiteral("user/2=客先Ｂ")}));
    }

    void addToListRefusesTextsTheFileCannotHold()
    {
        writeCp932File(m_path, QStringLiteral("[USER]\r\nMAX=1\r\n1=客先Ａ\r\n"));
        const QByteArray before = readFileBytes(m_path);
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(AddToList(ini, QStringLiteral("USER"), QStringLiteral("客先😀")), QStringLiteral("OK"));
        QCOMPARE(readFileBytes(m_path), before);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, QStringLiteral("ＩＮＩファイルエラー"));
        QVERIFY(m_msgs.shown[0].text.contains(QStringLiteral("「😀」")));
    }

    void enableMenuButtonsCallsTheMenuWhenThereIsOne()
    {
        AppContext ctx;
        EnableMenuButtons(ctx, false); // no menu: nothing happens
        QList<bool> calls;
        ctx.enableMenuButtons = [&calls](bool e) { calls << e; };
        EnableMenuButtons(ctx, false);
        EnableMenuButtons(ctx, true);
        QCOMPARE(calls, QList<bool>({false, true}));
    }
};

QTEST_GUILESS_MAIN(TestCommon)
#include "TestCommon.moc"
