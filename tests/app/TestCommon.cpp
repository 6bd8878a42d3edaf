#include "Common.h"
#include "RuntimeError.h"

#include <QtTest>

using namespace Qt::StringLiterals;

// The number readings every screen uses, one table each.
class TestCommon : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void numberCheck_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("rejected");
        QTest::addColumn<QString>("after"); // one rejected character is taken out
        for (const auto& [text, rejected, after] : {std::tuple{u"12-3"_s, true, u"123"_s},
                                                    {u"-12.5"_s, false, u"-12.5"_s},
                                                    {u"1 2"_s, true, u"12"_s},
                                                    {u"1/2"_s, true, u"12"_s},
                                                    {u"１２"_s, true, u"２"_s},
                                                    {QString(), false, QString()},
                                                    {u"1..2."_s, false, u"1..2."_s},
                                                    {u"a-b"_s, true, u"-b"_s},
                                                    {u"1,000"_s, true, u"1000"_s},
                                                    {u"+1"_s, true, u"1"_s},
                                                    {u"1\t2"_s, false, u"1\t2"_s},
                                                    {u"1:"_s, true, u"1"_s},
                                                    {u"1😀2"_s, true, u"12"_s}})
            QTest::newRow(qPrintable(text)) << text << rejected << after;
    }
    void numberCheck()
    {
        QFETCH(QString, text);
        QFETCH(bool, rejected);
        QFETCH(QString, after);
        QCOMPARE(CheckNumberText(text), rejected);
        QCOMPARE(text, after);
    }

    void integerReadings()
    {
        const long long max = std::numeric_limits<long long>::max();
        for (const auto& [text, lenient] : {std::pair{u"abc"_s, 0LL},
                                            {QString(), 0LL},
                                            {u"2.5"_s, 2LL},
                                            {u"-2.5"_s, -2LL},
                                            {u".6"_s, 1LL},
                                            {u"12abc"_s, 12LL},
                                            {u"1e3"_s, 1000LL},
                                            {u"1e"_s, 1LL},
                                            {u"1e99"_s, max}})
            QCOMPARE(LenientInt(text), lenient);
        QCOMPARE(StrictInt(u" 7 "_s) + StrictInt(u"2.5"_s), 9);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(u"EOFタグ：USER　キー：MAX"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(QString()));
        for (const auto& [text, digits] :
             {std::pair{u"(12)"_s, 12}, {u"A-3"_s, 3}, {u"abc"_s, 0}, {u"2147483647"_s, 2147483647}})
            QCOMPARE(DigitsValue(text), digits);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(u"2147483648"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(u"00000000001"_s));
        QCOMPARE(LastIndex(Int16::from(5), u"3"_s).value(), 7);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, LastIndex(Int16::from(2), u"32767"_s));
    }

    void flags()
    {
        for (const auto& [text, yes] : {std::pair{u"-1"_s, true},
                                        {u"True"_s, true},
                                        {u"False"_s, false},
                                        {u"0"_s, false},
                                        {QString(), false}})
            QCOMPARE(TextIsTrue(text), yes);
        // Only -1 counts as true.
        QCOMPARE(FlagText(kTrue) + FlagText(1) + FlagText(0), u"100"_s);
    }
};

QTEST_GUILESS_MAIN(TestCommon)
#include "TestCommon.moc"
