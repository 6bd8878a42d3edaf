#include "PageLayout.h"
#include "RuntimeError.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace
{

// Records what the page loop asks of the sheet.
struct RecordingTarget : LayoutTarget {
    QList<int> pastes;
    QList<int> breaks;
    QList<CellWrite> writes;
    QList<QPair<int, int>> greys;
    int failColumn = 0; // a column the "engine" refuses

    void pastePageForm(int top, int rows) override
    {
        pastes << top;
        lastPasteRows = rows;
    }
    void pageBreakAbove(int row) override { breaks << row; }
    void write(const CellWrite& w) override
    {
        if (w.column == failColumn)
            throw RuntimeError(1004, QStringLiteral("refused"));
        CellWrite copy = w;
        copy.value = QString(w.value.constData(), w.value.size()); // the list's text is only lent
        writes << copy;
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
    QStringList valuesAt(int column) const
    {
        QStringList out;
        for (const auto& w : at(column))
            out << w.value;
        return out;
    }
    QList<int> rowsAt(int column) const
    {
        QList<int> out;
        for (const auto& w : at(column))
            out << w.row;
        return out;
    }
    int lastPasteRows = 0;
};

// Settings with every detail column on (A..H), headings in the row above the lines, the page label
// in H2 and the drawing number in B3.
SettingsRecord settings(const QString& first, const QString& last, int pageMax)
{
    SettingsRecord s;
    s.pageMax = QString::number(pageMax);
    for (int i = 0; i < kDetailItemCount; ++i) {
        const QString letter(QChar(u'A' + i));
        s.detail[size_t(i)] = {first,  letter, last,
                               letter, true,   QStringLiteral("見出し") + QString::number(i + 1)};
    }
    s.header[HSheet] = {QStringLiteral("2"), QStringLiteral("H"), true};
    s.header[HDwgNo] = {QStringLiteral("3"), QStringLiteral("B"), true};
    return s;
}

ListTable lines(int count, const QString& maker = QStringLiteral("M"))
{
    ListTable t;
    for (int i = 1; i <= count; ++i) {
        ListRow r;
        r.at(LcZno) = QStringLiteral("%1").arg(i, 3, 10, QChar(u'0'));
        r.at(LcHinmei) = QStringLiteral("品名%1").arg(i);
        r.at(LcSuryo) = QString::number(i);
        r.at(LcMaker) = maker;
        r.at(LcHaishi) = QStringLiteral("0");
        t.push_back(r);
    }
    return t;
}

const HeaderValues header{QStringLiteral("DWG-1"), QStringLiteral("搬送ユニット"), QStringLiteral("01"),
                          QStringLiteral("2026/11/21"), QStringLiteral("山田")};

} // namespace

class TestPageLayout : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pagesAndLabels()
    {
        // 25 lines at 10 a page: three pages, the form pasted above pages 2 and 3 with a break each.
        RecordingTarget t;
        const LayoutResult r =
            LayOutPages(settings(QStringLiteral("8"), QStringLiteral("17"), 20), lines(25), header, false, t);
        QCOMPARE(r.pages, 3);
        QCOMPARE(r.ignoredErrors, 0);
        QCOMPARE(t.pastes, (QList<int>{21, 41}));
        QCOMPARE(t.lastPasteRows, 20);
        QCOMPARE(t.breaks, (QList<int>{21, 41}));
        const auto labels = t.at(8);
        QStringList sheetLabels;
        QList<int> sheetRows;
        for (const auto& w : labels)
            if (w.value.contains(u'/')) {
                sheetLabels << w.value;
                sheetRows << w.row;
            }
        QCOMPARE(sheetLabels,
                 (QStringList{QStringLiteral("1 / 3"), QStringLiteral("2 / 3"), QStringLiteral("3 / 3")}));
        QCOMPARE(sheetRows, (QList<int>{2, 22, 42}));
        // Lines 1..10 in rows 8..17, 11..20 in 28..37, 21..25 in 48..52; headings above the lines.
        const QList<int> itemRows = t.rowsAt(1);
        QCOMPARE(itemRows.first(), 7); // heading of page 1
        QCOMPARE(t.valuesAt(1).first(), QStringLiteral("見出し1"));
        QList<int> expected;
        for (const auto& [heading, first, last] : {std::tuple{7, 8, 17}, {27, 28, 37}, {47, 48, 52}}) {
            expected << heading;
            for (int row = first; row <= last; ++row)
                expected << row;
        }
        QCOMPARE(itemRows, expected);
        // The item number: text format, right aligned, leading zeros kept.
        const CellWrite item = t.at(1).at(1);
        QCOMPARE(item.value, QStringLiteral("001"));
        QCOMPARE(item.numberFormat, QStringLiteral("@"));
        QCOMPARE(item.align, HAlign::Right);
        QVERIFY(!item.number);
        // Header cells: text format, never struck.
        QCOMPARE(t.rowsAt(2).mid(0, 1), (QList<int>{3}));
        QCOMPARE(t.at(2).first().value, QStringLiteral("DWG-1"));
        QCOMPARE(t.at(2).first().numberFormat, QStringLiteral("@"));
    }

    void linesFillUpward()
    {
        // First row 30, last row 21: ten lines a page in rows 30 down to 21, headings in row 31.
        RecordingTarget t;
        LayOutPages(settings(QStringLiteral("30"), QStringLiteral("21"), 40), lines(12), header, false, t);
        QList<int> expected{31};
        for (int row = 30; row >= 21; --row)
            expected << row;
        expected << 71 << 70 << 69;
        QCOMPARE(t.rowsAt(3), expected);
        QCOMPARE(t.pastes, (QList<int>{41}));
    }

    void oneLinePerPage()
    {
        RecordingTarget t;
        const LayoutResult r =
            LayOutPages(settings(QStringLiteral("5"), QStringLiteral("5"), 10), lines(3), header, false, t);
        QCOMPARE(r.pages, 3);
        // heading in the row below the single line row, on every page
        QCOMPARE(t.rowsAt(2), (QList<int>{3, 6, 5, 13, 16, 15, 23, 26, 25}));
        QCOMPARE(t.valuesAt(8).filter(QStringLiteral("/")),
                 (QStringList{QStringLiteral("1 / 3"), QStringLiteral("2 / 3"), QStringLiteral("3 / 3")}));
    }

    void pagesPerMaker()
    {
        // Makers A (3 lines) and B (2 lines), 10 a page: two pages whose label total is 1.
        ListTable list = lines(3, QStringLiteral("A"));
        const ListTable makerB = lines(2, QStringLiteral("B"));
        for (size_t i = 0; i < makerB.size(); ++i)
            list.push_back(makerB[i]);
        RecordingTarget t;
        const LayoutResult r =
            LayOutPages(settings(QStringLiteral("8"), QStringLiteral("17"), 20), list, header, true, t);
        QCOMPARE(r.pages, 2);
        QCOMPARE(t.valuesAt(8).filter(QStringLiteral("/")),
                 (QStringList{QStringLiteral("1 / 1"), QStringLiteral("2 / 1")}));
        QCOMPARE(t.rowsAt(1), (QList<int>{7, 8, 9, 10, 27, 28, 29}));
        // Without the option the same list stays on one page.
        RecordingTarget one;
        QCOMPARE(
            LayOutPages(settings(QStringLiteral("8"), QStringLiteral("17"), 20), list, header, false, one)
                .pages,
            1);

        // A page number above the total is kept: six makers of one line, two lines a page.
        ListTable six;
        for (const char* m : {"A", "B", "C", "D", "E", "F"})
            six.push_back(lines(1, QString::fromLatin1(m))[0]);
        RecordingTarget k;
        LayOutPages(settings(QStringLiteral("8"), QStringLiteral("9"), 20), six, header, true, k);
        QCOMPARE(k.valuesAt(8).filter(QStringLiteral("/")).at(3), QStringLiteral("4 / 3"));
    }

    void headerRowsFollowPages()
    {
        RecordingTarget t;
        SettingsRecord s = settings(QStringLiteral("8"), QStringLiteral("47"), 50);
        // A title row left empty keeps the template's own title: nothing is written for it.
        s.midashiCol = QStringLiteral("A");
        s.midashi = QStringLiteral("部品表");
        s.header[HName] = {QStringLiteral("4"), QStringLiteral("C"), false}; // switched off: not written
        LayOutPages(s, lines(120), header, false, t);
        QStringList dwg;
        QList<int> dwgRows;
        for (const auto& w : t.at(2))
            if (w.value == u"DWG-1")
                dwgRows << w.row;
        QCOMPARE(dwgRows, (QList<int>{3, 53, 103}));
        for (const auto& w : t.writes) {
            QVERIFY(w.value != u"部品表");
            QVERIFY(w.value != u"搬送ユニット");
        }
        // A title row given: written on every page.
        RecordingTarget titled;
        s.midashiRow = QStringLiteral("1");
        LayOutPages(s, lines(60), header, false, titled);
        QCOMPARE(titled.valuesAt(1).count(QStringLiteral("部品表")), 2);
    }

    void abolishedLinesAndNumbers()
    {
        SettingsRecord s = settings(QStringLiteral("8"), QStringLiteral("17"), 20);
        s.detail[MZuban].on = false;
        ListTable list = lines(1);
        ListRow second = lines(2)[1];
        second.at(LcHaishi) = QStringLiteral("1");
        second.at(LcTanka) = QStringLiteral("4500");
        second.at(LcKingk) = QStringLiteral("9000");
        list.push_back(second);
        RecordingTarget t;
        LayOutPages(s, list, header, false, t);
        // Grey item cell even with the item column off; every cell of that line struck through.
        QCOMPARE(t.greys, (QList<QPair<int, int>>{qMakePair(9, 1)}));
        QVERIFY(t.at(1).isEmpty());
        for (const auto& w : t.writes) {
            if (w.row == 9)
                QVERIFY2(w.strike, qPrintable(w.value));
            else
                QVERIFY(!w.strike);
        }
        const CellWrite price = t.at(6).last();
        QCOMPARE(price.value, QStringLiteral("4500"));
        QVERIFY(price.number);
        QCOMPARE(price.numberFormat, QStringLiteral("#,##0"));
        QCOMPARE(price.align, HAlign::Keep);
        // An empty price is written as an empty cell, not a number.
        QVERIFY(!t.at(6).at(1).number);
        QCOMPARE(t.at(5).last().numberFormat, QStringLiteral("@"));
    }

    void failingStepsAreSkipped()
    {
        // A two-letter column converts to 0: that cell is left out and nothing else.
        SettingsRecord s = settings(QStringLiteral("8"), QStringLiteral("17"), 20);
        s.detail[MHinmei].startCol = QStringLiteral("AA");
        s.header[HDwgNo].row = QStringLiteral("x"); // not a number: header item missing
        RecordingTarget t;
        t.failColumn = 3; // the engine refuses the material column
        const LayoutResult r = LayOutPages(s, lines(12), header, false, t);
        QCOMPARE(r.pages, 2);
        QVERIFY(r.ignoredErrors > 0);
        QVERIFY(t.at(2).isEmpty());
        QVERIFY(t.at(3).isEmpty());
        QCOMPARE(t.at(1).size(), 14);
        QCOMPARE(t.at(4).size(), 14);
        QCOMPARE(t.pastes.size(), 1);

        // Unreadable first and last rows: the loop still runs, nothing crashes.
        SettingsRecord broken = settings(QString(), QString(), 0);
        RecordingTarget b;
        LayOutPages(broken, lines(3), header, false, b);
        QVERIFY(b.pastes.isEmpty());
    }

    void sixteenBitPages()
    {
        // Page tops beyond 32,767 overflow: those steps are skipped, the loop ends normally.
        RecordingTarget t;
        const LayoutResult r = LayOutPages(settings(QStringLiteral("2"), QStringLiteral("2"), 20000),
                                           lines(3), header, false, t);
        QCOMPARE(r.pages, 3);
        QCOMPARE(t.pastes, (QList<int>{20001, 20001})); // the failed top keeps its old value
        QVERIFY(r.ignoredErrors > 0);

        // The longest list the 16-bit counter allows still gets its page total.
        SettingsRecord s = settings(QStringLiteral("1"), QStringLiteral("10"), 10);
        for (DetailColumn& d : s.detail)
            d.on = false;
        s.header[HDwgNo].on = false;
        s.header[HSheet].row = QStringLiteral("1");
        RecordingTarget full;
        QCOMPARE(LayOutPages(s, lines(32767), header, false, full).pages, 3277);
        QCOMPARE(full.valuesAt(8).first(), QStringLiteral("1 / 3277"));
        QCOMPARE(full.valuesAt(8).last(), QStringLiteral("3277 / 3277"));
    }

    void quantityText()
    {
        // quantity 1, quantity 2, unit 1, unit 2 -> text
        const char* cases[][5] = {{"2", "", "R", "", "R=2"},
                                  {"2", "2", "R", "L", "R=2 L=2"},
                                  {"2", "", "R/L×", "", "R/L×2"},
                                  {"5", "", "L/R×", "", "L/R×5"},
                                  {"4", "", "計", "", "計4"},
                                  {"3", "", "個", "", "3個"},
                                  {"3", "", "", "", "3"},
                                  {"0", "", "R", "", ""},
                                  {"0", "3", "", "L", " L=3"},
                                  {"", "", "", "", ""},
                                  {"-2", "", "個", "", "-2個"},
                                  {"0.5", "", "kg", "", "0.5kg"},
                                  {"0.3", "0.3", "R", "L", "R=0.3 L=0.3"},
                                  {"0.0", "", "個", "", ""}};
        for (const auto& c : cases)
            QCOMPARE(QuantityText(QString::fromUtf8(c[0]), QString::fromUtf8(c[1]), QString::fromUtf8(c[2]),
                                  QString::fromUtf8(c[3])),
                     QString::fromUtf8(c[4]));
    }

    void recordLookups()
    {
        // The screen's lookup and the print run's differ in blanks and case; both are kept.
        QCOMPARE(SettingsRecord::LookupSql(QStringLiteral("A社 "), QStringLiteral("2")),
                 QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER  = 'A社 ' AND CH_BUHIN = '2'"));
        QCOMPARE(SettingsRecord::PrintLookupSql(QStringLiteral("A社 "), QStringLiteral("2")),
                 QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER = 'A社 ' and CH_BUHIN = '2'"));
        QCOMPARE(PageMaxValue(QStringLiteral(" 50 ")), 50);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, PageMaxValue(QStringLiteral("5a")));
        QCOMPARE(PageMaxValue(QStringLiteral("2.5")), 2);
    }

    void settingInt()
    {
        QCOMPARE(SettingInt(QStringLiteral(" 30 ")).value(), 30);
        QCOMPARE(SettingInt(QStringLiteral("2.5")).value(), 2);
        QCOMPARE(SettingInt(QStringLiteral("3.5")).value(), 4);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, SettingInt(QString()));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, SettingInt(QStringLiteral("A1")));
        try {
            SettingInt(QStringLiteral("40000"));
            QFAIL("no overflow");
        } catch (const RuntimeError& e) {
            QCOMPARE(e.number(), 6);
        }
    }
};

QTEST_GUILESS_MAIN(TestPageLayout)
#include "TestPageLayout.moc"
