#include "ColumnLetters.h"
#include "ImportParser.h"
#include "JapaneseEra.h"
#include "MemorySheet.h"
#include "QuantityNotation.h"
#include "RuntimeError.h"
#include "SettingsRecord.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace
{
// A layout like the shipped sample: heading in B1, header cells in row 2 and 3, detail lines in rows
// 5 to 14 of every 16-row page.
SettingsRecord sampleLayout()
{
    SettingsRecord s;
    s.user = QStringLiteral("サンプル工業");
    s.kind = QStringLiteral("1");
    s.pageMax = QStringLiteral("16");
    s.header[HDwgNo] = {QStringLiteral("2"), QStringLiteral("B"), true};
    s.header[HName] = {QStringLiteral("2"), QStringLiteral("D"), true};
    s.header[HAssy] = {QStringLiteral("3"), QStringLiteral("B"), true};
    s.header[HDate] = {QStringLiteral("3"), QStringLiteral("D"), true};
    s.header[HDesigner] = {QStringLiteral("3"), QStringLiteral("F"), true};
    s.header[HSheet] = {QStringLiteral("2"), QStringLiteral("F"), true};
    const char* cols[] = {"A", "B", "C", "D", "E", "F", "G", "H"};
    for (int i = 0; i < kDetailItemCount; ++i) {
        DetailColumn& d = s.detail[size_t(i)];
        d.on = true;
        d.startCol = d.endCol = QString::fromLatin1(cols[i]);
        d.startRow = QStringLiteral("5");
        d.endRow = QStringLiteral("14");
    }
    // Remarks printed in column D, quantity in E: the sample prints them in list order.
    return s;
}

void putHeader(MemorySheet& sh, int base, const QString& dwg, const QString& assy, const QString& date)
{
    sh.set(base + 2, 2, dwg);
    sh.set(base + 2, 4, QStringLiteral("名前"));
    sh.set(base + 3, 2, assy);
    sh.set(base + 3, 4, date);
    sh.set(base + 3, 6, QStringLiteral("設計者"));
    sh.set(base + 2, 6, QStringLiteral("1 / 2"));
}
} // namespace

class TestSettingsLogic : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void columnLetters()
    {
        const QStringList names = GeneratedColumnNames();
        QCOMPARE(names.size(), 256);
        QCOMPARE(names.first(), QStringLiteral("A"));
        QCOMPARE(names.at(25), QStringLiteral("Z"));
        QCOMPARE(names.at(26), QStringLiteral("AA"));
        QCOMPARE(names.last(), QStringLiteral("IV"));
        for (const char* ok : {"", "A", "Z", "AA", "HZ", "IA", "IV"})
            QVERIFY2(IsValidColumnLetter(QString::fromLatin1(ok)), ok);
        for (const char* bad : {"IW", "IZ", "JA", "ZZ", "a", "iv", "A1", "1", "AAA", " A", "A "})
            QVERIFY2(!IsValidColumnLetter(QString::fromLatin1(bad)), bad);
        QCOMPARE(ColumnNumberOfName(QStringLiteral("A")), 1);
        QCOMPARE(ColumnNumberOfName(QStringLiteral("AA")), 27);
        QCOMPARE(ColumnNumberOfName(QStringLiteral("IV")), 256);
        QCOMPARE(ColumnNumberOfName(QStringLiteral("a")), 0);
    }

    void eraDates()
    {
        // The first and last day of every era; before Meiji the plain year.
        const std::pair<QDate, const char*> cases[] = {
            {QDate(1868, 1, 24), "1868年1月24日"},     {QDate(1868, 1, 25), "明治元年1月25日"},
            {QDate(1912, 7, 29), "明治45年7月29日"},   {QDate(1912, 7, 30), "大正元年7月30日"},
            {QDate(1926, 12, 24), "大正15年12月24日"}, {QDate(1926, 12, 25), "昭和元年12月25日"},
            {QDate(1927, 1, 1), "昭和2年1月1日"},      {QDate(1989, 1, 7), "昭和64年1月7日"},
            {QDate(1989, 1, 8), "平成元年1月8日"},     {QDate(2019, 4, 30), "平成31年4月30日"},
            {QDate(2019, 5, 1), "令和元年5月1日"},     {QDate(2020, 1, 1), "令和2年1月1日"}};
        for (const auto& [date, text] : cases)
            QCOMPARE(JapaneseEraDateTime(QDateTime(date, QTime(9, 30, 5))),
                     QString::fromUtf8(text) + QStringLiteral(" 09:30:05"));
        QCOMPARE(JapaneseEraDateTime(QDateTime(QDate(2026, 2, 3), QTime(23, 4, 59))),
                 QStringLiteral("令和8年2月3日 23:04:59"));
    }

    void quantityNotation()
    {
        // text -> quantity 1, unit 1, quantity 2, unit 2
        const char* cases[][5] = {{"", "", "", "", ""},
                                  {"3", "3", "", "", ""},
                                  {"3個", "3", "個", "", ""},
                                  {"R=2 L=2", "2", "R", "2", "L"},
                                  {"計4", "4", "計", "", ""},
                                  {"R/L×2", "2", "R/L×", "", ""},
                                  {"3個 2本", "3", "個", "2", "本"},
                                  {" L=3", "", "", "3", "L"},
                                  {"1.5m", "1.5", "m", "", ""},
                                  {"2 ケース入", "2", " ケース入", "", ""}};
        for (const auto& c : cases) {
            QuantityPair p;
            QVERIFY2(ParseQuantityText(QString::fromUtf8(c[0]), p), c[0]);
            QCOMPARE((QStringList{p.qty1, p.unit1, p.qty2, p.unit2}),
                     (QStringList{QString::fromUtf8(c[1]), QString::fromUtf8(c[2]), QString::fromUtf8(c[3]),
                                  QString::fromUtf8(c[4])}));
        }
        QuantityPair p;
        QVERIFY(!ParseQuantityText(QStringLiteral("一式"), p));
        QCOMPARE(p, QuantityPair{});
        QVERIFY(!ParseQuantityText(QStringLiteral("R=x"), p));
    }

    void readBackValues()
    {
        QCOMPARE(ReadDateText(QStringLiteral("2026/11/21")), QStringLiteral("2026/11/21"));
        QCOMPARE(ReadDateText(QStringLiteral("2026-1-2")), QStringLiteral("2026/01/02"));
        QCOMPARE(ReadDateText(QStringLiteral("20261121")), QStringLiteral("2026/11/21"));
        QCOMPARE(ReadDateText(QStringLiteral("46347")), QStringLiteral("2026/11/21")); // spreadsheet serial
        QCOMPARE(ReadDateText(QStringLiteral("2026/13/01")), QString());
        QCOMPARE(ReadDateText(QStringLiteral("きのう")), QString());
        QCOMPARE(ReadNumberText(QStringLiteral("4,500")), QStringLiteral("4500"));
        QCOMPARE(ReadNumberText(QStringLiteral(" 12.5 ")), QStringLiteral("12.5"));
        QCOMPARE(ReadNumberText(QStringLiteral("abc")), QString());
    }

    void importPages()
    {
        // The cell by cell reading (brackets, strike-through, quantities, prices) is checked on real
        // workbooks by the print and import round trip; here the paging: one table over pages 1 and 2, page 3
        // without a drawing number, page 4 another table.
        const SettingsRecord s = sampleLayout();
        MemorySheet sh;
        putHeader(sh, 0, QStringLiteral("D-100"), QStringLiteral("250"), QStringLiteral("2026/11/21"));
        sh.set(5, 1, QStringLiteral("001"));
        sh.set(14, 2, QStringLiteral("最終行"));
        putHeader(sh, 16, QStringLiteral("D-100"), QStringLiteral("250"), QStringLiteral("2026/11/21"));
        sh.set(16 + 5, 1, QStringLiteral("011"));
        sh.set(16 + 5, 5, QStringLiteral("一式"));
        sh.set(32 + 5, 2, QStringLiteral("見出しのない頁"));
        putHeader(sh, 48, QStringLiteral("D-200"), QString(), QStringLiteral("令和"));
        sh.set(48 + 7, 2, QStringLiteral("ボルト"));

        const ImportPlan plan = ParseImportSheet(s, sh, QDate(2026, 12, 1));
        QCOMPARE(plan.pageStride, 16);
        QCOMPARE(plan.pageCount, 4);
        QCOMPARE(plan.tables.size(), 2);
        const ImportTable& t = plan.tables.at(0);
        QCOMPARE(t.pages, (QList<int>{1, 2}));
        QCOMPARE(t.lines.size(), 3);
        QCOMPARE(t.lines.at(1).sheetRow, 14);
        // An unreadable quantity is kept in the remarks and reported.
        QCOMPARE(t.lines.at(2).biko, QStringLiteral("一式"));
        QCOMPARE(t.lines.at(2).quantity, QuantityPair{});
        const ImportTable& u = plan.tables.at(1);
        QCOMPARE(u.date, QStringLiteral("2026/12/01")); // unreadable: today
        QCOMPARE(u.lines.at(0).sheetRow, 48 + 7);
        QVERIFY(plan.notes.join(u'\n').contains(QStringLiteral("3頁目")));
        QVERIFY(plan.notes.join(u'\n').contains(QStringLiteral("一式")));
    }

    void importUpwardLinesAndUnticked()
    {
        SettingsRecord s = sampleLayout();
        for (DetailColumn& d : s.detail) {
            d.startRow = QStringLiteral("14");
            d.endRow = QStringLiteral("12");
        }
        s.detail[MMaker].on = false;
        s.header[HName].on = false;
        MemorySheet sh;
        putHeader(sh, 0, QStringLiteral("D-1"), QStringLiteral("A"), QStringLiteral("2026/01/02"));
        sh.set(14, 2, QStringLiteral("一行目"));
        sh.set(13, 2, QStringLiteral("二行目"));
        sh.set(12, 2, QStringLiteral("三行目"));
        sh.set(12, 8, QStringLiteral("読まないメーカー"));
        sh.set(11, 2, QStringLiteral("範囲外"));
        const ImportPlan plan = ParseImportSheet(s, sh, QDate(2026, 1, 3));
        QCOMPARE(plan.tables.size(), 1);
        const ImportTable& t = plan.tables.at(0);
        QCOMPARE(t.name, QString());
        QCOMPARE(t.lines.size(), 3);
        QCOMPARE(t.lines.at(0).hinmei, QStringLiteral("一行目"));
        QCOMPARE(t.lines.at(2).hinmei, QStringLiteral("三行目"));
        QCOMPARE(t.lines.at(2).maker, QString());
    }

    void importWithoutDrawingNumberCell()
    {
        SettingsRecord s = sampleLayout();
        s.header[HDwgNo].on = false;
        MemorySheet sh;
        putHeader(sh, 0, QStringLiteral("D-1"), QStringLiteral("A"), QString());
        sh.set(5, 2, QStringLiteral("品"));
        const ImportPlan plan = ParseImportSheet(s, sh, QDate(2026, 1, 3));
        QCOMPARE(plan.tables.size(), 0);
        QCOMPARE(plan.notes.size(), 1);
        s.pageMax = QStringLiteral("0");
        QVERIFY_THROWS_EXCEPTION(RuntimeError, ParseImportSheet(s, sh, QDate(2026, 1, 3)));
    }
};

QTEST_GUILESS_MAIN(TestSettingsLogic)
#include "TestSettingsLogic.moc"
