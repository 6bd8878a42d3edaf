#include "ListQuery.h"
#include "PageLayout.h"
#include "RuntimeError.h"
#include "TestSupport.h"
#include "WorkbookControl.h"

#include <QtTest>
#include <array>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(SettingsRecord)

namespace
{
// Records what the page loop asks of the sheet.
struct RecordingTarget : LayoutTarget {
    QList<int> pastes, breaks;
    QList<CellWrite> writes;
    QList<QPair<int, int>> greys;
    int failColumn = 0; // a column the "engine" refuses

    void pastePageForm(int top, int) override { pastes << top; }
    void pageBreakAbove(int row) override { breaks << row; }
    void write(const CellWrite& w) override
    {
        if (w.column == failColumn)
            throw RuntimeError(1004, u"refused"_s);
        writes << w;
        writes.last().value = QString(w.value.constData(), w.value.size()); // the list's text is only lent
    }
    void fillGrey(int row, int column) override { greys << qMakePair(row, column); }

    QList<CellWrite> at(int column) const
    {
        QList<CellWrite> out;
        for (const auto& w : writes)
            if (w.column == column)
                out << w;
        return out;
    }
    // The rows written in a column, runs of consecutive rows as "first-last": "7-17 27-37".
    QString rowsAt(int column) const
    {
        QStringList out;
        const QList<CellWrite> ws = at(column);
        for (qsizetype i = 0; i < ws.size();) {
            qsizetype j = i;
            const int step = i + 1 < ws.size() && ws[i + 1].row == ws[i].row - 1 ? -1 : 1;
            while (j + 1 < ws.size() && ws[j + 1].row == ws[j].row + step)
                ++j;
            out << (j == i ? QString::number(ws[i].row) : u"%1-%2"_s.arg(ws[i].row).arg(ws[j].row));
            i = j + 1;
        }
        return out.join(u' ');
    }
    // The page labels ("p / n" in column H) with their rows: "2:1 / 3 22:2 / 3".
    QString labels() const
    {
        QStringList out;
        for (const auto& w : at(8))
            if (w.value.contains(u'/'))
                out << QString::number(w.row) + u':' + w.value;
        return out.join(u' ');
    }
};

// Every detail column on (A..H) with the given first and last line rows, the page label in H2 and the
// drawing number in B3.
SettingsRecord settings(int first, int last, int pageMax)
{
    SettingsRecord s;
    s.pageMax = QString::number(pageMax);
    for (int i = 0; i < kDetailItemCount; ++i) {
        const QString letter(QChar(u'A' + i));
        const QString heading = u"見出し"_s + QString::number(i + 1);
        s.detail[size_t(i)] = {QString::number(first), letter, QString::number(last), letter, true, heading};
    }
    s.header[HSheet] = {u"2"_s, u"H"_s, true};
    s.header[HDwgNo] = {u"3"_s, u"B"_s, true};
    return s;
}

// Lines numbered 001.. of the given makers, one line per maker letter ("AAAB": three of A, one of B).
ListTable lines(const QString& makers)
{
    ListTable t;
    for (int i = 1; i <= makers.size(); ++i) {
        ListRow r;
        r.at(LcZno) = u"%1"_s.arg(i, 3, 10, QChar(u'0'));
        r.at(LcHinmei) = u"品名%1"_s.arg(i);
        r.at(LcSuryo) = QString::number(i);
        r.at(LcMaker) = makers.mid(i - 1, 1);
        r.at(LcHaishi) = u"0"_s;
        t.push_back(r);
    }
    return t;
}

const HeaderValues kHeader{u"DWG-1"_s, u"搬送ユニット"_s, u"01"_s, u"2026/11/21"_s, u"山田"_s};
} // namespace

// The logic of the list output without a workbook: page layout, quantity text, list queries, column
// letters and the settings lookups.
class TestOutputLogic : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pagesLinesAndLabels_data()
    {
        QTest::addColumn<SettingsRecord>("s");
        QTest::addColumn<QString>("makers");
        QTest::addColumn<bool>("perMaker");
        QTest::addColumn<int>("pages");
        QTest::addColumn<QString>("pastes");
        QTest::addColumn<QString>("itemRows"); // headings above the lines, then the lines
        QTest::addColumn<QString>("labels");
        QTest::newRow("25 lines, 10 a page")
            << settings(8, 17, 20) << QString(25, u'M') << false << 3 << u"21 41"_s << u"7-17 27-37 47-52"_s
            << u"2:1 / 3 22:2 / 3 42:3 / 3"_s;
        QTest::newRow("filling upward") << settings(30, 21, 40) << QString(12, u'M') << false << 2 << u"41"_s
                                        << u"31-21 71-69"_s << u"2:1 / 2 42:2 / 2"_s;
        QTest::newRow("one line a page") << settings(5, 5, 10) << u"MMM"_s << false << 3 << u"11 21"_s
                                         << u"6-5 16-15 26-25"_s << u"2:1 / 3 12:2 / 3 22:3 / 3"_s;
        QTest::newRow("page per maker") << settings(8, 17, 20) << u"AAABB"_s << true << 2 << u"21"_s
                                        << u"7-10 27-29"_s << u"2:1 / 1 22:2 / 1"_s;
        // The total counts rows per page only: a page number above it is kept.
        QTest::newRow("more makers than pages")
            << settings(8, 9, 20) << u"ABCDEF"_s << true << 6 << u"21 41 61 81 101"_s
            << u"7-8 27-28 47-48 67-68 87-88 107-108"_s
            << u"2:1 / 3 22:2 / 3 42:3 / 3 62:4 / 3 82:5 / 3 102:6 / 3"_s;
    }
    void pagesLinesAndLabels()
    {
        QFETCH(SettingsRecord, s);
        QFETCH(QString, makers);
        QFETCH(bool, perMaker);
        RecordingTarget t;
        const LayoutResult r = LayOutPages(s, lines(makers), kHeader, perMaker, t);
        QTEST(r.pages, "pages");
        QCOMPARE(r.notes, QStringList());
        QStringList pastes;
        for (int p : t.pastes)
            pastes << QString::number(p);
        QTEST(pastes.join(u' '), "pastes");
        QCOMPARE(t.breaks, t.pastes);
        QTEST(t.rowsAt(1), "itemRows");
        QTEST(t.labels(), "labels");
    }

    void cellsAreWrittenAsTheirColumnNeeds()
    {
        SettingsRecord s = settings(8, 17, 20);
        s.detail[MZuban].on = false;
        s.header[HName] = {u"4"_s, u"C"_s, false}; // switched off: not written
        s.midashiCol = u"A"_s;
        s.midashi = u"部品表"_s; // no title row: the template's own title stays
        ListRow first = lines(u"M"_s)[0], second = lines(u"MM"_s)[1];
        first.at(LcTani) = u"個"_s;
        second.at(LcHaishi) = u"1"_s;
        second.at(LcTanka) = u"4500"_s;
        ListTable list;
        list.push_back(first);
        list.push_back(second);
        RecordingTarget t;
        LayOutPages(s, list, kHeader, false, t);
        // Header cells and headings as text; the abolished line: grey item cell even with its column
        // off, every cell struck through.
        QCOMPARE(t.at(2).first().row, 3);
        QCOMPARE(t.at(2).first().value + t.at(2).first().numberFormat, u"DWG-1@"_s);
        QCOMPARE(t.greys, (QList<QPair<int, int>>{qMakePair(9, 1)}));
        QVERIFY(t.at(1).isEmpty());
        for (const auto& w : t.writes) {
            QVERIFY(w.value != u"部品表" && w.value != u"搬送ユニット");
            QCOMPARE(w.strike, w.row == 9);
        }
        // Prices are numbers in "#,##0" (an empty one an empty cell); quantities text with their unit.
        const CellWrite price = t.at(6).last();
        QVERIFY(price.number && !t.at(6).at(1).number);
        QCOMPARE(price.value + price.numberFormat, u"4500#,##0"_s);
        QCOMPARE(t.at(5).at(1).value + t.at(5).at(1).numberFormat, u"1個@"_s);
    }

    void failingStepsAreNotedAndOverflowEndsTheLayout()
    {
        // A two-letter column converts to 0 and a row that is no number misses its item: those cells
        // are left out and nothing else; so are the cells the engine refuses. Each is a note naming
        // the item, the setting, the first page and how often; a text too long for a cell is cut.
        SettingsRecord s = settings(8, 17, 20);
        s.detail[MHinmei].startCol = u"AA"_s;
        s.header[HDwgNo].row = u"x"_s;
        RecordingTarget t;
        t.failColumn = 3;
        ListTable list;
        ListRow row = lines(u"M"_s)[0];
        for (int i = 0; i < 12; ++i) {
            row.at(LcBiko) = i == 0   ? QString(40000, u'長')
                             : i == 6 ? QString(kCellTextMax - 1, u'長') + u"😀"_s
                                      : QString();
            list.push_back(row);
        }
        const LayoutResult r = LayOutPages(s, list, kHeader, false, t);
        QCOMPARE(r.pages, 2);
        QCOMPARE(
            r.notes,
            QStringList(
                {u"DWG.№を出力できませんでした: 「x」が数値ではありません（1頁目から 2 か所）"_s,
                 u"品名の列見出しを出力できませんでした: 列「AA」には出力できません（出力できる列は A〜Z）（1頁目から 2 か所）"_s,
                 u"材質の列見出しを出力できませんでした: refused（1頁目から 2 か所）"_s,
                 u"品名を出力できませんでした: 列「AA」には出力できません（出力できる列は A〜Z）（1頁目から 12 か所）"_s,
                 u"材質を出力できませんでした: refused（1頁目から 12 か所）"_s,
                 u"備考: セルに入る 32767 文字を超える文字列を切って出力しました（1頁目から 2 か所）"_s}));
        QVERIFY(t.at(2).isEmpty() && t.at(3).isEmpty());
        QCOMPARE(t.at(1).size() + t.at(4).size(), 28);
        QCOMPARE(t.at(4)[1].value.size() * 100000 + t.at(4)[7].value.size(),
                 kCellTextMax * 100000LL + kCellTextMax - 1);
        // Page tops beyond 32,767 overflow: the layout ends there with error 6 naming the value and where.
        for (
            const auto& [first, last, pageMax, count, cause] :
            {std::tuple{
                 2, 2, 20000, 3,
                 u"頁の先頭行が 16 ビットの範囲（32767 まで）を超えました（3頁目、明細 3 行目、１頁行数 20000）"_s},
             {8, 47, 50, 26240,
              u"明細の最後の行が 16 ビットの範囲（32767 まで）を超えました（656頁目、明細 26201 行目、１頁行数 50）"_s},
             {1, 1, 40000, 1, u"１頁行数が 16 ビットの範囲（32767 まで）を超えました。"_s}}) {
            RecordingTarget big;
            LayoutTarget& target = big;
            const SettingsRecord layout = settings(first, last, pageMax);
            const ListTable list = lines(QString(count, u'M'));
            const auto e = thrown([&] { LayOutPages(layout, list, kHeader, false, target); });
            QVERIFY(e && e->number() == 6);
            QVERIFY2(e->cause().startsWith(cause), qPrintable(e->cause()));
        }
        // The longest list the 16-bit counter allows, filling the last row a page can have, still
        // gets its page total.
        s = settings(1, 7, 7);
        for (DetailColumn& d : s.detail)
            d.on = false;
        s.header[HDwgNo].on = false;
        s.header[HSheet].row = u"1"_s;
        RecordingTarget full;
        QCOMPARE(LayOutPages(s, lines(QString(32767, u'M')), kHeader, false, full).pages, 4681);
        QCOMPARE(full.at(8).last().value, u"4681 / 4681"_s);
    }

    void quantityText()
    {
        // quantity 1, quantity 2, unit 1, unit 2 -> text
        for (const auto& c : {std::array{u"2"_s, QString(), u"R"_s, QString(), u"R=2"_s},
                              {u"2"_s, u"2"_s, u"R"_s, u"L"_s, u"R=2 L=2"_s},
                              {u"2"_s, QString(), u"R/L×"_s, QString(), u"R/L×2"_s},
                              {u"5"_s, QString(), u"L/R×"_s, QString(), u"L/R×5"_s},
                              {u"4"_s, QString(), u"計"_s, QString(), u"計4"_s},
                              {u"3"_s, QString(), u"個"_s, QString(), u"3個"_s},
                              {u"3"_s, QString(), QString(), QString(), u"3"_s},
                              {u"0"_s, QString(), u"R"_s, QString(), QString()},
                              {u"0"_s, u"3"_s, QString(), u"L"_s, u" L=3"_s},
                              {u"-2"_s, QString(), u"個"_s, QString(), u"-2個"_s},
                              {u"0.5"_s, QString(), u"kg"_s, QString(), u"0.5kg"_s},
                              {u"0.3"_s, u"0.3"_s, u"R"_s, u"L"_s, u"R=0.3 L=0.3"_s},
                              {u"0.0"_s, QString(), u"個"_s, QString(), QString()}})
            QCOMPARE(QuantityText(c[0], c[1], c[2], c[3]), c[4]);
    }

    void listQueries()
    {
        const QString where = u" WHERE CH_DWGNO = 'D-1' AND CH_ASSY  = '250-01' AND CH_BUHIN = '1'"_s;
        const QString rows = u"SELECT * FROM BUHINHYO_M"_s;
        const QString sum =
            u"SELECT CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI,CH_TANI2,CH_BIKO ,SUM(INT_SURYO) AS "
            "SUM_SURYO ,SUM(INT_KINGK) AS SUM_KINGK FROM BUHINHYO_M"_s;
        const QString sumTail =
            u" AND CH_HAISHI = FALSE GROUP BY CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI ,CH_TANI2 "
            ",CH_BIKO ORDER BY CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI ,CH_TANI2 ,CH_BIKO"_s;
        // mode, filter word -> statement; the filter word must be exact, an unknown mode selects nothing
        for (const auto& [mode, filter, sql] :
             {std::tuple<QString, QString, QString>{u"FORM LOAD"_s, QString(),
                                                    rows + where + u" ORDER BY CH_ZNO"_s},
              {ListMode::forPrint(false, false), QString(), rows + where + u" ORDER BY CH_ZNO"_s},
              {ListMode::forPrint(false, true), QString(), rows + where + u" ORDER BY CH_MAKER ,CH_ZNO"_s},
              {ListMode::forPrint(true, true), QString(), sum + where + sumTail},
              {u"LIST SUM"_s, u"MAKER"_s, sum + where + u" AND CH_MAKER = 'ミスミ'"_s + sumTail},
              {u"LIST ALL"_s, u"maker"_s, rows + where + u" ORDER BY CH_ZNO"_s},
              {u"LIST"_s, QString(), where}})
            QCOMPARE(BuildListQuery(mode, filter, u"D-1"_s, u"250-01"_s, u"1"_s, u"ミスミ"_s), sql);
        QCOMPARE(ListMode::forPrint(false, true), u"LIST ALL  PAGE"_s);
        // The screen's lookup and the print run's differ in blanks and case; both are kept.
        QCOMPARE(SettingsRecord::LookupSql(u"A社 "_s, u"2"_s),
                 u"SELECT * FROM SETTEI WHERE CH_USER  = 'A社 ' AND CH_BUHIN = '2'"_s);
        QCOMPARE(SettingsRecord::PrintLookupSql(u"A社 "_s, u"2"_s),
                 u"SELECT * FROM SETTEI WHERE CH_USER = 'A社 ' and CH_BUHIN = '2'"_s);
    }

    void settingNumbersAndColumnLetters()
    {
        QCOMPARE(PageMaxValue(u" 50 "_s), 50);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, PageMaxValue(u"5a"_s));
        QCOMPARE(PageMaxValue(u"2.5"_s), 2);
        for (const auto& [text, value] : {std::pair{u" 30 "_s, 30}, {u"2.5"_s, 2}, {u"3.5"_s, 4}})
            QCOMPARE(SettingInt(text).value(), value);
        for (const QString& bad : {QString(), u"A1"_s})
            QVERIFY_THROWS_EXCEPTION(RuntimeError, SettingInt(bad));
        QCOMPARE(errorNumber([] { SettingInt(u"40000"_s); }), 6);
        // The output converts only "A" to "Z".
        for (int n = 1; n <= 26; ++n)
            QCOMPARE(ColumnNumber(ColumnLetter(n)).value(), n);
        QCOMPARE(ColumnLetter(27) + ColumnLetter(0), QString());
        for (const char* bad : {"", "a", "z", "AA", "IV", "1", " A", "Ａ"})
            QCOMPARE(ColumnNumber(QString::fromUtf8(bad)).value(), 0);
    }
};

QTEST_GUILESS_MAIN(TestOutputLogic)
#include "TestOutputLogic.moc"
