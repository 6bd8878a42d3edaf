#include "Common.h"
#include "IniAccess.h"
#include "MessageService.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QtTest>

using namespace Qt::StringLiterals;

class TestCommon : public QObject
{
    Q_OBJECT
    SettingsFileFixture m_f;

private Q_SLOTS:
    void init() { m_f.reset(); }

    void numberCheck_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("rejected");
        QTest::addColumn<QString>("after");
        QTest::newRow("12-3") << u"12-3"_s << true << u"123"_s;
        QTest::newRow("-12.5") << u"-12.5"_s << false << u"-12.5"_s;
        QTest::newRow("1 2") << u"1 2"_s << true << u"12"_s;
        QTest::newRow("1/2") << u"1/2"_s << true << u"12"_s;
        QTest::newRow("12a") << u"12a"_s << true << u"12"_s;
        QTest::newRow("full-width 12") << u"１２"_s << true << u"２"_s;
        QTest::newRow("empty") << QString() << false << QString();
        QTest::newRow("dots") << u"1..2."_s << false << u"1..2."_s;
        QTest::newRow("only first removed") << u"a-b"_s << true << u"-b"_s;
        QTest::newRow("comma") << u"1,000"_s << true << u"1000"_s;
        QTest::newRow("plus") << u"+1"_s << true << u"1"_s;
        QTest::newRow("control passes") << u"1\t2"_s << false << u"1\t2"_s;
        QTest::newRow("colon above 9") << u"1:"_s << true << u"1"_s;
        QTest::newRow("emoji as one") << u"1😀2"_s << true << u"12"_s;
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
        QCOMPARE(DigitsOnly(u"A-12/3"_s), u"123"_s);
        QCOMPARE(DigitsOnly(QString()), QString());
        QCOMPARE(DigitsValue(u"(12)"_s), 12);
        QCOMPARE(DigitsValue(u"A-3"_s), 3);
        QCOMPARE(DigitsValue(u"abc"_s), 0);
        QCOMPARE(DigitsValue(u"2147483647"_s), 2147483647);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(u"2147483648"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(u"00000000001"_s));

        QCOMPARE(FlagText(kTrue), u"1"_s);
        QCOMPARE(FlagText(1), u"0"_s); // only -1 counts as true
        QCOMPARE(FlagText(0), u"0"_s);
        QVERIFY(!NotTrue(kTrue));
        QVERIFY(NotTrue(1));
        QVERIFY(NotTrue(0));

        QCOMPARE(LastIndex(Int16::from(5), u"3"_s).value(), 7);
        QCOMPARE(LastIndex(Int16::from(1), u"0"_s).value(), 0);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, LastIndex(Int16::from(2), u"32767"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, LastIndex(Int16::from(2), u"abc"_s));
    }

    void numberReadings()
    {
        QCOMPARE(LenientInt(u"abc"_s), 0);
        QCOMPARE(LenientInt(QString()), 0);
        QCOMPARE(LenientInt(u"2.5"_s), 2);
        QCOMPARE(LenientInt(u"-2.5"_s), -2);
        QCOMPARE(LenientInt(u"0.5"_s), 0);
        QCOMPARE(LenientInt(u".6"_s), 1);
        QCOMPARE(LenientInt(u"12abc"_s), 12);
        QCOMPARE(LenientInt(u"1e3"_s), 1000);
        QCOMPARE(LenientInt(u"1e"_s), 1);
        QCOMPARE(LenientInt(u"1e99"_s), std::numeric_limits<long long>::max());
        QCOMPARE(StrictInt(u" 7 "_s), 7);
        QCOMPARE(StrictInt(u"2.5"_s), 2);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(u"EOFタグ：USER　キー：MAX"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(QString()));

        QVERIFY(TextIsTrue(u"-1"_s));
        QVERIFY(TextIsTrue(u"True"_s));
        QVERIFY(!TextIsTrue(u"False"_s));
        QVERIFY(!TextIsTrue(u"0"_s));
        QVERIFY(!TextIsTrue(QString()));
    }

    void addToListAppendsOnlyNewValues()
    {
        writeCp932File(m_f.path, u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n[NEXT]\r\nX=1\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        const QByteArray before = readFileBytes(m_f.path);
        // Already there twice: "OK", nothing written.
        QCOMPARE(AddToList(ini, u"MAKER"_s, u"ミスミ"_s), u"OK"_s);
        QCOMPARE(readFileBytes(m_f.path), before);
        // Compared exactly: case and blanks count.
        QCOMPARE(AddToList(ini, u"MAKER"_s, u"thk"_s), u"REWRITE"_s);
        QCOMPARE(AddToList(ini, u"MAKER"_s, QString()), u"REWRITE"_s);
        QCOMPARE(readFileBytes(m_f.path),
                 *IniFile::encodeCp932(u"[MAKER]\r\nMAX=5\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n4=thk\r\n5=\r\n"
                                       "[NEXT]\r\nX=1\r\n"_s));
        QCOMPARE(ReadList(ini, u"MAKER"_s),
                 QStringList({u"ミスミ"_s, u"THK"_s, u"ミスミ"_s, u"thk"_s, QString()}));
        QVERIFY(m_f.msgs.shown.isEmpty());
    }

    void addToListOnAnEmptyListAndBadCounts()
    {
        writeCp932File(m_f.path, u"[USER]\r\nMAX=0\r\n[BAD]\r\nMAX=x\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        QStringList writes; // "MAX" is written before the item
        ini.onWrite = [&writes](const QString&, const QString& section, const QString& key,
                                const QString& value) { writes << section + u'/' + key + u'=' + value; };
        QCOMPARE(AddToList(ini, u"user"_s, u"客先Ａ"_s), u"REWRITE"_s);
        QCOMPARE(writes, QStringList({u"user/MAX=1"_s, u"user/1=客先Ａ"_s}));
        QCOMPARE(ini.get(u"USER"_s, u"1"_s), u"客先Ａ"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, AddToList(ini, u"BAD"_s, u"v"_s));
        QVERIFY(m_f.msgs.shown.isEmpty());
        // A list without "MAX": the reader's box, then the run-time error.
        QVERIFY_THROWS_EXCEPTION(RuntimeError, AddToList(ini, u"NONE"_s, u"v"_s));
        QCOMPARE(m_f.msgs.shown.size(), 1);
    }

    void addToListRefusesTextsTheFileCannotHold()
    {
        writeCp932File(m_f.path, u"[USER]\r\nMAX=1\r\n1=客先Ａ\r\n"_s);
        const QByteArray before = readFileBytes(m_f.path);
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(AddToList(ini, u"USER"_s, u"客先😀"_s), u"OK"_s);
        QCOMPARE(readFileBytes(m_f.path), before);
        QCOMPARE(m_f.msgs.shown.size(), 1);
        QCOMPARE(m_f.msgs.shown[0].title, u"ＩＮＩファイルエラー"_s);
        QVERIFY(m_f.msgs.shown[0].text.contains(u"「😀」"_s));
    }
};

QTEST_GUILESS_MAIN(TestCommon)
#include "TestCommon.moc"
