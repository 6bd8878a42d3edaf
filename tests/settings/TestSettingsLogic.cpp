#include "ColumnLetters.h"
#include "ImportParser.h"
#include "JapaneseEra.h"
#include "QuantityNotation.h"
#include "RuntimeError.h"

#include <QtTest>
#include <array>

using namespace Qt::StringLiterals;

namespace
{
// A sheet held in memory, for the reading rules of the import.
class MemorySheet : public SheetCells
{
public:
    void set(int row, int col, const QString& text)
    {
        m_cells.insert({row, col}, text);
        m_last = std::max(m_last, row);
    }
    QString text(int row, int col) const override { return m_cells.value({row, col}); }
    bool struck(int, int) const override { return false; }
    int lastRow() const override { return m_last; }
    // The header cells of the layout below on the page starting at row base + 1.
    void header(int base, const QString& dwg, const QString& assy, const QString& date)
    {
        for (const auto& [r, c, t] : {std::tuple{2, 2, dwg},
                                      {2, 4, u"名前"_s},
                                      {3, 2, assy},
                                      {3, 4, date},
                                      {3, 6, u"設計者"_s},
                                      {2, 6, u"1 / 2"_s}})
            set(base + r, c, t);
    }

private:
    QHash<QPair<int, int>, QString> m_cells;
    int m_last = 0;
};

// Header cells in rows 2 and 3, detail lines in rows 5 to 14 (or as given) of every 16-row page.
SettingsRecord layout(const QString& first = u"5"_s, const QString& last = u"14"_s)
{
    SettingsRecord s;
    s.pageMax = u"16"_s;
    const char* cells[kHeaderItemCount][2] = {{"2", "B"}, {"2", "D"}, {"3", "B"},
                                              {"3", "D"}, {"3", "F"}, {"2", "F"}};
    for (int i = 0; i < kHeaderItemCount; ++i)
        s.header[size_t(i)] = {QString::fromLatin1(cells[i][0]), QString::fromLatin1(cells[i][1]), true};
    for (int i = 0; i < kDetailItemCount; ++i) {
        const QString letter(QChar(u'A' + i));
        s.detail[size_t(i)] = {first, letter, last, letter, true, QString()};
    }
    return s;
}
} // namespace

// The checks of the output settings screen and the reading of printed lists back.
class TestSettingsLogic : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void columnLetters()
    {
        // The screen accepts "A" to "IV" (or nothing), upper case only.
        for (const char* ok : {"", "A", "Z", "AA", "HZ", "IA", "IV"})
            QVERIFY2(IsValidColumnLetter(QString::fromLatin1(ok)), ok);
        for (const char* bad : {"IW", "JA", "ZZ", "a", "iv", "A1", "1", "AAA", " A", "A "})
            QVERIFY2(!IsValidColumnLetter(QString::fromLatin1(bad)), bad);
        QCOMPARE(ColumnNumberOfName(u"AA"_s) + ColumnNumberOfName(u"a"_s), 27);
    }

    void eraDates()
    {
        // The first and last day of every era; before Meiji the plain year.
        for (const auto& [date, text] : {std::pair{QDate(1868, 1, 24), u"1868年1月24日"_s},
                                         {QDate(1868, 1, 25), u"明治元年1月25日"_s},
                                         {QDate(1912, 7, 29), u"明治45年7月29日"_s},
                                         {QDate(1912, 7, 30), u"大正元年7月30日"_s},
                                         {QDate(1926, 12, 24), u"大正15年12月24日"_s},
                                         {QDate(1926, 12, 25), u"昭和元年12月25日"_s},
                                         {QDate(1989, 1, 7), u"昭和64年1月7日"_s},
                                         {QDate(1989, 1, 8), u"平成元年1月8日"_s},
                                         {QDate(2019, 4, 30), u"平成31年4月30日"_s},
                                         {QDate(2019, 5, 1), u"令和元年5月1日"_s},
                                         {QDate(2026, 2, 3), u"令和8年2月3日"_s}})
            QCOMPARE(JapaneseEraDateTime(QDateTime(date, QTime(9, 3, 5))), text + u" 09:03:05"_s);
    }

    void quantityNotation()
    {
        // text -> quantity 1, unit 1, quantity 2, unit 2
        for (const auto& c : {std::array{u""_s, u""_s, u""_s, u""_s, u""_s},
                              {u"3"_s, u"3"_s, u""_s, u""_s, u""_s},
                              {u"3個"_s, u"3"_s, u"個"_s, u""_s, u""_s},
                              {u"R=2 L=2"_s, u"2"_s, u"R"_s, u"2"_s, u"L"_s},
                              {u"計4"_s, u"4"_s, u"計"_s, u""_s, u""_s},
                              {u"R/L×2"_s, u"2"_s, u"R/L×"_s, u""_s, u""_s},
                              {u"3個 2本"_s, u"3"_s, u"個"_s, u"2"_s, u"本"_s},
                              {u" L=3"_s, u""_s, u""_s, u"3"_s, u"L"_s},
                              {u"1.5m"_s, u"1.5"_s, u"m"_s, u""_s, u""_s},
                              {u"2 ケース入"_s, u"2"_s, u"ケース入"_s, u""_s, u""_s},
                              {u"3 個"_s, u"3"_s, u"個"_s, u""_s, u""_s},
                              {u"3　個 2 本"_s, u"3"_s, u"個"_s, u"2"_s, u"本"_s}}) {
            QuantityPair p;
            QVERIFY2(ParseQuantityText(c[0], p), qPrintable(c[0]));
            QCOMPARE(QStringList({p.qty1, p.unit1, p.qty2, p.unit2}), QStringList({c[1], c[2], c[3], c[4]}));
        }
        QuantityPair p;
        QVERIFY(!ParseQuantityText(u"一式"_s, p));
        QCOMPARE(p, QuantityPair{});
        QVERIFY(!ParseQuantityText(u"R=x"_s, p));
    }

    void readBackValues()
    {
        for (const auto& [text, date] : {std::pair{u"2026/11/21"_s, u"2026/11/21"_s},
                                         {u"2026-1-2"_s, u"2026/01/02"_s},
                                         {u"20261121"_s, u"2026/11/21"_s},
                                         {u"46347"_s, u"2026/11/21"_s},
                                         {u"2025年3月1日"_s, u"2025/03/01"_s},
                                         {u"令和7年3月1日"_s, u"2025/03/01"_s},
                                         {u"平成元年１月８日"_s, u"1989/01/08"_s},
                                         {u"R7.3.1"_s, u"2025/03/01"_s},
                                         {u"h31/4/30"_s, u"2019/04/30"_s},
                                         {u"令和0年1月1日"_s, QString()},
                                         {u"X7.3.1"_s, QString()},
                                         {u"2026/13/01"_s, QString()},
                                         {u"きのう"_s, QString()}})
            QCOMPARE(ReadDateText(text), date);
        for (const auto& [text, number] :
             {std::pair{u"4,500"_s, u"4500"_s}, {u" 12.5 "_s, u"12.5"_s}, {u"abc"_s, QString()}})
            QCOMPARE(ReadNumberText(text), number);
    }

    void importUpwardLinesAndUntickedItems()
    {
        SettingsRecord s = layout(u"14"_s, u"12"_s);
        s.detail[MMaker].on = false;
        s.header[HName].on = false;
        MemorySheet sh;
        sh.header(0, u"D-1"_s, u"A"_s, u"2026/01/02"_s);
        for (const auto& [row, name] :
             {std::pair{14, u"一行目"_s}, {13, u"二行目"_s}, {12, u"三行目"_s}, {11, u"範囲外"_s}})
            sh.set(row, 2, name);
        sh.set(12, 8, u"読まないメーカー"_s);
        const ImportPlan plan = ParseImportSheet(s, sh, QDate(2026, 1, 3));
        const ImportTable& t = plan.tables.at(0);
        QCOMPARE(t.name, QString());
        QCOMPARE(t.lines.size(), 3);
        QCOMPARE(t.lines.at(0).hinmei + t.lines.at(2).hinmei + t.lines.at(2).maker, u"一行目三行目"_s);
        // Without the drawing number cell nothing can be read; a page height of 0 is an error.
        s.header[HDwgNo].on = false;
        QCOMPARE(ParseImportSheet(s, sh, QDate(2026, 1, 3)).tables.size(), 0);
        s.pageMax = u"0"_s;
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ParseImportSheet(s, sh, QDate(2026, 1, 3)));
    }
};

QTEST_GUILESS_MAIN(TestSettingsLogic)
#include "TestSettingsLogic.moc"
