#include "Numbering.h"
#include "PartsGrid.h"
#include "RuntimeError.h"

#include <QtTest>

class TestNumbering : public QObject
{
    Q_OBJECT

    static PartsGrid gridOf(int lines)
    {
        PartsGrid g;
        for (int i = 1; i < lines; ++i)
            g.appendLine();
        return g;
    }
    static QStringList column(const PartsGrid& g, int col)
    {
        QStringList out;
        for (int r = 1; r < g.rows(); ++r)
            out << g.cell(r, col);
        return out;
    }

private Q_SLOTS:
    void baseFromTheAssembly_data()
    {
        QTest::addColumn<QString>("assy");
        QTest::addColumn<int>("base");
        QTest::newRow("250-01") << u"250-01"_qs << 250;
        QTest::newRow("AB-7") << u"AB-7"_qs << 0;
        QTest::newRow("12-34-5") << u"12-34-5"_qs << 1234;
        QTest::newRow("no dash") << u"A12B3"_qs << 123;
        QTest::newRow("dash first") << u"-45"_qs << 0;
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("full-width digits") << u"２５０-1"_qs << 0;
    }
    void baseFromTheAssembly()
    {
        QFETCH(QString, assy);
        QFETCH(int, base);
        QCOMPARE(AssemblyBase(assy), base);
    }

    void itemNumbersOfTheExamples()
    {
        PartsGrid g = gridOf(3);
        Renumber(g, u"250-01"_qs, 1);
        QCOMPARE(column(g, EditorCol::No), (QStringList{u"1"_qs, u"2"_qs, u"3"_qs}));
        QCOMPARE(column(g, EditorCol::Zno), (QStringList{u"251"_qs, u"252"_qs, u"253"_qs}));
        Renumber(g, u"250-01"_qs, 0);
        QCOMPARE(column(g, EditorCol::Zno), (QStringList{u"250"_qs, u"251"_qs, u"252"_qs}));
        Renumber(g, u"AB-7"_qs, 1);
        QCOMPARE(column(g, EditorCol::Zno), (QStringList{u"001"_qs, u"002"_qs, u"003"_qs}));
        Renumber(g, u"12-34-5"_qs, 1);
        QCOMPARE(g.cell(1, EditorCol::Zno), u"1235"_qs);
        Renumber(g, u"X-1"_qs, 99);
        QCOMPARE(g.cell(1, EditorCol::Zno), u"099"_qs);
        QCOMPARE(ThreeDigits(7), u"007"_qs);
        QCOMPARE(ThreeDigits(1234), u"1234"_qs);
    }

    void marksAndBracketsFollowTheHiddenColumns()
    {
        PartsGrid g = gridOf(4);
        g.setCell(2, EditorCol::Haishi, u"1"_qs);
        g.setCell(3, EditorCol::Kakko, u"-1"_qs);
        g.setCell(4, EditorCol::Haishi, u"0"_qs);
        g.setCell(4, EditorCol::Kakko, u"False"_qs);
        g.setCell(1, EditorCol::Zno, u"(999)"_qs);
        Renumber(g, u"250-01"_qs, 1);
        // The abolished line keeps its place: the lines below it go on counting.
        QCOMPARE(column(g, EditorCol::No), (QStringList{u"1"_qs, u"廃止"_qs, u"3"_qs, u"4"_qs}));
        QCOMPARE(column(g, EditorCol::Zno), (QStringList{u"251"_qs, u"252"_qs, u"(253)"_qs, u"254"_qs}));
    }

    void overflowLeavesTheGridAlone()
    {
        PartsGrid g = gridOf(2);
        g.setCell(1, EditorCol::Zno, u"x"_qs);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, Renumber(g, u"2147483647-1"_qs, 1));
        QCOMPARE(g.cell(1, EditorCol::Zno), u"x"_qs);
        Renumber(g, u"2147483645-1"_qs, 1); // line 2: 2147483645 + 2 + 1 - 1, the last that fits
        QCOMPARE(g.cell(2, EditorCol::Zno), u"2147483647"_qs);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, Renumber(g, u"99999999999-1"_qs, 1));
    }

    void storedItemNumbers()
    {
        QCOMPARE(FormatStoredZno(u"12"_qs), u"012"_qs);
        QCOMPARE(FormatStoredZno(u"1234"_qs), u"1234"_qs);
        QCOMPARE(FormatStoredZno(u"(12)"_qs), u"(12)"_qs);
        QCOMPARE(FormatStoredZno(QString()), QString());
    }

    void startNumber_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("left");
        QTest::newRow("0") << u"0"_qs << int(StartNumberResult::Ok) << 0 << u"0"_qs;
        QTest::newRow("99") << u"99"_qs << int(StartNumberResult::Ok) << 99 << u"99"_qs;
        QTest::newRow("-1") << u"-1"_qs << int(StartNumberResult::OutOfRange) << -5 << u"-1"_qs;
        QTest::newRow("100") << u"100"_qs << int(StartNumberResult::OutOfRange) << -5 << u"100"_qs;
        QTest::newRow("empty") << QString() << int(StartNumberResult::NotNumber) << -5 << QString();
        QTest::newRow("letters") << u"1a"_qs << int(StartNumberResult::NotNumber) << -5 << u"1"_qs;
        QTest::newRow("blank") << u" 5"_qs << int(StartNumberResult::NotNumber) << -5 << u"5"_qs;
        QTest::newRow("full-width") << u"５"_qs << int(StartNumberResult::NotNumber) << -5 << QString();
        QTest::newRow("lone sign") << u"-"_qs << int(StartNumberResult::NotNumber) << -5 << u"-"_qs;
        QTest::newRow("decimal") << u"2.5"_qs << int(StartNumberResult::Ok) << 2 << u"2.5"_qs;
    }
    void startNumber()
    {
        QFETCH(QString, typed);
        QFETCH(int, result);
        QFETCH(int, value);
        QFETCH(QString, left);
        int v = -5;
        QCOMPARE(int(CheckStartNumber(typed, v)), result);
        QCOMPARE(v, value);
        QCOMPARE(typed, left);
    }
};

QTEST_GUILESS_MAIN(TestNumbering)
#include "TestNumbering.moc"
