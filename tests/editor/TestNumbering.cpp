#include "Numbering.h"
#include "PartsGrid.h"
#include "RuntimeError.h"

#include <QtTest>

using namespace Qt::StringLiterals;

// Item numbers: the assembly's base, the start number, abolished lines and brackets.
class TestNumbering : public QObject
{
    Q_OBJECT
    static QStringList column(const PartsGrid& g, int col)
    {
        QStringList out;
        for (int r = 1; r < g.rows(); ++r)
            out << g.cell(r, col);
        return out;
    }

private Q_SLOTS:
    void itemNumbersFromTheAssembly()
    {
        PartsGrid g;
        g.appendLine();
        g.appendLine();
        // assembly, start number -> the three item numbers
        for (const auto& [assy, start, numbers] : {std::tuple{u"250-01"_s, 1, u"251 252 253"_s},
                                                   {u"250-01"_s, 0, u"250 251 252"_s},
                                                   {u"AB-7"_s, 1, u"001 002 003"_s},
                                                   {u"12-34-5"_s, 1, u"1235 1236 1237"_s},
                                                   {u"A12B3"_s, 1, u"124 125 126"_s},
                                                   {u"-45"_s, 1, u"001 002 003"_s},
                                                   {QString(), 99, u"099 100 101"_s},
                                                   {u"２５０-1"_s, 1, u"001 002 003"_s}}) {
            Renumber(g, assy, start);
            QCOMPARE(column(g, EditorCol::Zno).join(u' '), numbers);
        }
        QCOMPARE(column(g, EditorCol::No), QStringList({u"1"_s, u"2"_s, u"3"_s}));
        // A stored item number shows with three digits at least.
        for (const auto& [stored, shown] : {std::pair{u"12"_s, u"012"_s},
                                            {u"1234"_s, u"1234"_s},
                                            {u"(12)"_s, u"(12)"_s},
                                            {QString(), QString()}})
            QCOMPARE(FormatStoredZno(stored), shown);
    }

    void abolishedLinesKeepTheirPlaceAndBracketsFollowTheHiddenColumn()
    {
        PartsGrid g;
        for (int i = 1; i < 4; ++i)
            g.appendLine();
        g.setCell(2, EditorCol::Haishi, u"1"_s);
        g.setCell(3, EditorCol::Kakko, u"-1"_s);
        g.setCell(4, EditorCol::Haishi, u"0"_s);
        g.setCell(4, EditorCol::Kakko, u"False"_s);
        g.setCell(1, EditorCol::Zno, u"(999)"_s);
        Renumber(g, u"250-01"_s, 1);
        QCOMPARE(column(g, EditorCol::No), QStringList({u"1"_s, u"廃止"_s, u"3"_s, u"4"_s}));
        QCOMPARE(column(g, EditorCol::Zno), QStringList({u"251"_s, u"252"_s, u"(253)"_s, u"254"_s}));
    }

    void overflowLeavesTheGridAlone()
    {
        PartsGrid g;
        g.appendLine();
        g.setCell(1, EditorCol::Zno, u"x"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, Renumber(g, u"2147483647-1"_s, 1));
        QCOMPARE(g.cell(1, EditorCol::Zno), u"x"_s);
        Renumber(g, u"2147483645-1"_s, 1); // line 2: the last number that fits
        QCOMPARE(g.cell(2, EditorCol::Zno), u"2147483647"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, Renumber(g, u"99999999999-1"_s, 1));
    }

    void startNumber()
    {
        // typed, result, value (-5: unchanged), text left in the field
        for (const auto& [typed, result, value, left] :
             {std::tuple{u"0"_s, StartNumberResult::Ok, 0, u"0"_s},
              {u"99"_s, StartNumberResult::Ok, 99, u"99"_s},
              {u"2.5"_s, StartNumberResult::Ok, 2, u"2.5"_s},
              {u"-1"_s, StartNumberResult::OutOfRange, -5, u"-1"_s},
              {u"100"_s, StartNumberResult::OutOfRange, -5, u"100"_s},
              {QString(), StartNumberResult::NotNumber, -5, QString()},
              {u"1a"_s, StartNumberResult::NotNumber, -5, u"1"_s},
              {u" 5"_s, StartNumberResult::NotNumber, -5, u"5"_s},
              {u"５"_s, StartNumberResult::NotNumber, -5, QString()},
              {u"-"_s, StartNumberResult::NotNumber, -5, u"-"_s}}) {
            QString text = typed;
            int v = -5;
            QCOMPARE(CheckStartNumber(text, v), result);
            QCOMPARE(v, value);
            QCOMPARE(text, left);
        }
    }
};

QTEST_GUILESS_MAIN(TestNumbering)
#include "TestNumbering.moc"
