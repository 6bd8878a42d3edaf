#include "Database.h"
#include "DbTestSupport.h"
#include "PartsRecords.h"
#include "RuntimeError.h"

#include <QtTest>

namespace
{

PartsHeader header()
{
    return PartsHeader{QStringLiteral("ABC精機"),      QStringLiteral("250-01"),
                       QStringLiteral("K-2401"),       QStringLiteral("1"),
                       QStringLiteral("搬送ユニット"), QStringLiteral("2024/04/08"),
                       QStringLiteral("山田")};
}

PartsLine line(const QString& zno, const QString& hinmei, const QString& suryo, const QString& tani)
{
    PartsLine l;
    l.zno = zno;
    l.hinmei = hinmei;
    l.zaishitu = QStringLiteral("SS400");
    l.suryo = suryo;
    l.tani = tani;
    l.maker = QStringLiteral("ミスミ");
    return l;
}

// The stored lines of the sample table in item-number order (the editor's loading query).
QList<QStringList> storedLines(Database& db, const QStringList& fields)
{
    QList<QStringList> out;
    Recordset rs(db,
                 QStringLiteral("SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = 'K-2401' AND CH_ASSY  = '250-01' "
                                "AND CH_BUHIN = '1' ORDER BY CH_ZNO"));
    while (!rs.Eof()) {
        QStringList row;
        for (const QString& f : fields)
            row << rs.Field(f);
        out << row;
        rs.MoveNext();
    }
    return out;
}

int rowCount(Database& db, const QString& table)
{
    return Recordset(db, QStringLiteral("SELECT * FROM ") + table).RecordCount();
}

} // namespace

// The parts table records, run on a SQLite file and (test_db_parts_postgresql) on the PostgreSQL
// server of the test fixture through ODBC.
class TestPartsRecords : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<QTemporaryDir> m_dir;
    TestDatabase m_t;

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_t = openTestDatabase(m_dir->path());
    }
    void cleanup()
    {
        m_t = TestDatabase();
        m_dir.reset();
    }

    void statementTexts()
    {
        QCOMPARE(
            HeaderQuery(QStringLiteral("250-01"), QStringLiteral("K-2401"), QStringLiteral("1")),
            QStringLiteral("SELECT * FROM BUHINHYO WHERE CH_ASSY  = '250-01' AND CH_DWGNO = 'K-2401' AND "
                           "CH_BUHIN = '1'"));
        QCOMPARE(
            DetailRowQuery(QStringLiteral("250-01"), QStringLiteral("0")),
            QStringLiteral(
                "SELECT * FROM BUHINHYO_M WHERE CH_ASSY    = '250-01' AND INT_NUMBER = 0 ORDER BY CH_ZNO"));
        QCOMPARE(DeleteDetailStatement(QStringLiteral("42")),
                 QStringLiteral("DELETE FROM BUHINHYO_M WHERE INT_NUMBER = 42"));
        QCOMPARE(BuildHistoryQuery(QStringLiteral("CH_HINMEI"), QStringLiteral("2"), QStringLiteral("  "),
                                   QString(), QString()),
                 QStringLiteral(
                     "SELECT CH_HINMEI,SUM(INT_SURYO) AS SUM_SURYO FROM BUHINHYO_M WHERE CH_BUHIN = '2' "
                     "GROUP BY CH_HINMEI ORDER BY CH_HINMEI"));
        QCOMPARE(BuildHistoryQuery(QStringLiteral("CH_ZAISHITU"), QStringLiteral("1"),
                                   QStringLiteral(" ABC精機 "), QStringLiteral(" THK"),
                                   QStringLiteral("SU ")),
                 QStringLiteral(
                     "SELECT CH_ZAISHITU,SUM(INT_SURYO) AS SUM_SURYO FROM BUHINHYO_M WHERE CH_BUHIN = '1' "
                     "AND CH_USER = 'ABC精機' AND CH_MAKER = 'THK' AND CH_ZAISHITU LIKE 'SU%' "
                     "GROUP BY CH_ZAISHITU ORDER BY CH_ZAISHITU"));
    }

    void headerIsCreatedOnceThenOnlyNameDateDesignerChange()
    {
        Database& db = *m_t.db;
        QVERIFY(!ReadHeader(db, QStringLiteral("250-01"), QStringLiteral("K-2401"), QStringLiteral("1")));
        PartsHeader h = header();
        h.date = QStringLiteral("2024/4/8");
        SaveHeader(db, h);
        std::optional<PartsHeader> back = ReadHeader(db, h.assy, h.dwgNo, h.kind);
        QVERIFY(back);
        QCOMPARE(back->user, QStringLiteral("ABC精機"));
        QCOMPARE(back->date, QStringLiteral("2024/04/08"));
        QCOMPARE(back->designer, QStringLiteral("山田"));

        h.user = QStringLiteral("東和工業");
        h.name = QStringLiteral("搬送ユニット改");
        h.date = QStringLiteral("2024/05/01");
        h.designer = QStringLiteral("佐藤");
        SaveHeader(db, h);
        back = ReadHeader(db, h.assy, h.dwgNo, h.kind);
        QCOMPARE(back->user, QStringLiteral("ABC精機")); // the customer is written only when created
        QCOMPARE(back->name, QStringLiteral("搬送ユニット改"));
        QCOMPARE(back->date, QStringLiteral("2024/05/01"));
        QCOMPARE(back->designer, QStringLiteral("佐藤"));
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO")), 1);

        // The other kind is a table of its own.
        h.kind = QStringLiteral("2");
        SaveHeader(db, h);
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO")), 2);
    }

    void newLinesAreInsertedEverySave()
    {
        Database& db = *m_t.db;
        const QList<PartsLine> lines{line(QStringLiteral("251"), QStringLiteral("ベースプレート"),
                                          QStringLiteral("1"), QStringLiteral("個")),
                                     line(QStringLiteral("252"), QStringLiteral("シャフト"),
                                          QStringLiteral("2"), QStringLiteral("本"))};
        SaveTable(db, header(), lines, QStringLiteral("20240408"));
        QCOMPARE(storedLines(db, {QStringLiteral("CH_ZNO"), QStringLiteral("CH_HINMEI")}),
                 (QList<QStringList>{{QStringLiteral("251"), QStringLiteral("ベースプレート")},
                                     {QStringLiteral("252"), QStringLiteral("シャフト")}}));
        // Saved again before reloading: the lines still have no number and go in again.
        SaveTable(db, header(), lines, QStringLiteral("20240408"));
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO_M")), 4);
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO")), 1);

        const QList<QStringList> stored = storedLines(
            db, {QStringLiteral("CH_ASSY"), QStringLiteral("CH_DWGNO"), QStringLiteral("CH_USER"),
                 QStringLiteral("CH_BUHIN"), QStringLiteral("INT_SURYO"), QStringLiteral("CH_TANI"),
                 QStringLiteral("CH_MAKER"), QStringLiteral("CH_HAISHI"), QStringLiteral("CH_UPDDATE"),
                 QStringLiteral("INT_NUMBER")});
        QCOMPARE(
            stored[0].mid(0, 9),
            (QStringList{QStringLiteral("250-01"), QStringLiteral("K-2401"), QStringLiteral("ABC精機"),
                         QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("個"),
                         QStringLiteral("ミスミ"), QStringLiteral("False"), QStringLiteral("20240408")}));
        QSet<QString> numbers;
        for (const QStringList& r : stored)
            numbers.insert(r[9]);
        QCOMPARE(numbers.size(), 4);
        QVERIFY(!numbers.contains(QStringLiteral("0")));
    }

    void emptyNumberCellsKeepTheStoredValues()
    {
        Database& db = *m_t.db;
        PartsLine l = line(QStringLiteral("251"), QStringLiteral("ボールねじ"), QStringLiteral("2"),
                           QStringLiteral("本"));
        l.suryo2 = QStringLiteral("1.5");
        l.tani2 = QStringLiteral("m");
        l.tanka = QStringLiteral("12800");
        l.kingk = QStringLiteral("25600");
        SaveTable(db, header(), {l}, QStringLiteral("20240408"));
        l.number = storedLines(db, {QStringLiteral("INT_NUMBER")}).at(0).at(0);

        l.suryo.clear();
        l.tani = QStringLiteral("個"); // a unit without a quantity is not written either
        l.suryo2 = QStringLiteral("  ");
        l.tani2.clear();
        l.tanka.clear();
        l.kingk.clear();
        l.biko = QStringLiteral("BNK1402");
        l.haishi = true;
        l.kakko = true;
        SaveDetailLine(db, header(), l, QStringLiteral("20240501"));
        const QStringList fields{QStringLiteral("INT_SURYO"),  QStringLiteral("CH_TANI"),
                                 QStringLiteral("INT_SURYO2"), QStringLiteral("CH_TANI2"),
                                 QStringLiteral("INT_TANKA"),  QStringLiteral("INT_KINGK"),
                                 QStringLiteral("CH_BIKO"),    QStringLiteral("CH_HAISHI"),
                                 QStringLiteral("CH_KAKKO"),   QStringLiteral("CH_UPDDATE")};
        QCOMPARE(storedLines(db, fields),
                 (QList<QStringList>{{QStringLiteral("2"), QStringLiteral("本"), QStringLiteral("1.5"),
                                      QStringLiteral("m"), QStringLiteral("12800"), QStringLiteral("25600"),
                                      QStringLiteral("BNK1402"), QStringLiteral("True"),
                                      QStringLiteral("True"), QStringLiteral("20240501")}}));

        // Given values replace the stored ones; a new line saved without numbers reads them empty.
        l.suryo = QStringLiteral("3");
        l.tani = QStringLiteral("個");
        SaveDetailLine(db, header(), l, QStringLiteral("20240502"));
        QCOMPARE(storedLines(db, {QStringLiteral("INT_SURYO"), QStringLiteral("CH_TANI")}).at(0),
                 (QStringList{QStringLiteral("3"), QStringLiteral("個")}));
        PartsLine bare =
            line(QStringLiteral("252"), QStringLiteral("カバー"), QString(), QStringLiteral("個"));
        SaveDetailLine(db, header(), bare, QStringLiteral("20240502"));
        QCOMPARE(storedLines(db, {QStringLiteral("INT_SURYO"), QStringLiteral("CH_TANI"),
                                  QStringLiteral("INT_TANKA")})
                     .at(1),
                 (QStringList{QString(), QString(), QString()}));
    }

    void detailRowIsFoundByAssemblyAndNumberOnly()
    {
        Database& db = *m_t.db;
        SaveTable(
            db, header(),
            {line(QStringLiteral("251"), QStringLiteral("ピン"), QStringLiteral("1"), QStringLiteral("本"))},
            QStringLiteral("20240408"));
        PartsLine l = line(QStringLiteral("251"), QStringLiteral("平行ピン"), QStringLiteral("4"),
                           QStringLiteral("本"));
        l.number = storedLines(db, {QStringLiteral("INT_NUMBER")}).at(0).at(0);

        // Another drawing number and kind with the same assembly still reach the stored row, and
        // leave its owner columns as they were.
        PartsHeader other = header();
        other.dwgNo = QStringLiteral("K-9999");
        other.kind = QStringLiteral("2");
        other.user = QStringLiteral("東和工業");
        SaveDetailLine(db, other, l, QStringLiteral("20240409"));
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO_M")), 1);
        QCOMPARE(storedLines(db, {QStringLiteral("CH_HINMEI"), QStringLiteral("INT_SURYO"),
                                  QStringLiteral("CH_USER")}),
                 (QList<QStringList>{
                     {QStringLiteral("平行ピン"), QStringLiteral("4"), QStringLiteral("ABC精機")}}));

        // Another assembly does not find it: the line goes in as a new row.
        other.assy = QStringLiteral("300-02");
        SaveDetailLine(db, other, l, QStringLiteral("20240409"));
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO_M")), 2);
    }

    void deletingByNumber()
    {
        Database& db = *m_t.db;
        SaveTable(
            db, header(),
            {line(QStringLiteral("251"), QStringLiteral("カラー"), QStringLiteral("1"), QStringLiteral("個")),
             line(QStringLiteral("252"), QStringLiteral("キー"), QStringLiteral("1"), QStringLiteral("個")),
             line(QStringLiteral("253"), QStringLiteral("ピン"), QStringLiteral("1"), QStringLiteral("本"))},
            QStringLiteral("20240408"));
        const QList<QStringList> before =
            storedLines(db, {QStringLiteral("INT_NUMBER"), QStringLiteral("CH_ZNO")});
        DeleteDetailLine(db, before[1][0]);
        QCOMPARE(storedLines(db, {QStringLiteral("CH_ZNO")}),
                 (QList<QStringList>{{QStringLiteral("251")}, {QStringLiteral("253")}}));
        DeleteDetailLine(db, before[1][0]); // already gone: nothing happens
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO_M")), 2);

        // Numbers are never given out again, even for the highest one after it was deleted.
        DeleteDetailLine(db, before[2][0]);
        SaveDetailLine(
            db, header(),
            line(QStringLiteral("253"), QStringLiteral("ピン"), QStringLiteral("1"), QStringLiteral("本")),
            QStringLiteral("20240408"));
        QVERIFY(storedLines(db, {QStringLiteral("INT_NUMBER")}).at(1).at(0).toLongLong() >
                before[2][0].toLongLong());
    }

    void apostropheGivesAnErrorAndChangesNothing()
    {
        Database& db = *m_t.db;
        SaveTable(db, header(),
                  {line(QStringLiteral("251"), QStringLiteral("カラー"), QStringLiteral("1"),
                        QStringLiteral("個"))},
                  QStringLiteral("20240408"));
        PartsHeader h = header();
        h.dwgNo = QStringLiteral("K-24'01");
        try {
            SaveTable(db, h,
                      {line(QStringLiteral("251"), QStringLiteral("ギヤ"), QStringLiteral("1"),
                            QStringLiteral("個"))},
                      QStringLiteral("20240408"));
            QFAIL("a drawing number with an apostrophe must fail");
        } catch (const RuntimeError& e) {
            QVERIFY(e.number() != 0);
            QVERIFY(e.description().startsWith(QStringLiteral("入力値に「'」が含まれているため")));
            QVERIFY2(e.description().contains(QStringLiteral("CH_DWGNO = 'K-24'01'")),
                     qPrintable(e.description()));
        }
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO")), 1);
        QCOMPARE(rowCount(db, QStringLiteral("BUHINHYO_M")), 1);

        // In a value that is only written (a name), an apostrophe is stored as it is.
        SaveTable(db, header(),
                  {line(QStringLiteral("252"), QStringLiteral("O'リング"), QStringLiteral("1"),
                        QStringLiteral("個"))},
                  QStringLiteral("20240408"));
        QCOMPARE(storedLines(db, {QStringLiteral("CH_HINMEI")}).at(1).at(0), QStringLiteral("O'リング"));
    }

    void failurePartWayKeepsTheLinesBefore()
    {
        Database& db = *m_t.db;
        QList<PartsLine> lines{
            line(QStringLiteral("251"), QStringLiteral("カラー"), QStringLiteral("1"), QStringLiteral("個")),
            line(QStringLiteral("252"), QStringLiteral("キー"), QStringLiteral("一"), QStringLiteral("個")),
            line(QStringLiteral("253"), QStringLiteral("ピン"), QStringLiteral("1"), QStringLiteral("本"))};
        try {
            SaveTable(db, header(), lines, QStringLiteral("20240408"));
            QFAIL("a quantity that is not a number must fail");
        } catch (const RuntimeError& e) {
            QCOMPARE(e.number(), 13);
        }
        QCOMPARE(storedLines(db, {QStringLiteral("CH_ZNO")}), (QList<QStringList>{{QStringLiteral("251")}}));
        QVERIFY(ReadHeader(db, QStringLiteral("250-01"), QStringLiteral("K-2401"), QStringLiteral("1")));
    }

    void historySumsPerName()
    {
        Database& db = *m_t.db;
        PartsHeader h = header();
        h.kind = QStringLiteral("2");
        PartsLine a = line(QStringLiteral("251"), QStringLiteral("六角ボルト"), QStringLiteral("4"),
                           QStringLiteral("本"));
        PartsLine b = line(QStringLiteral("252"), QStringLiteral("六角ボルト"), QStringLiteral("6"),
                           QStringLiteral("本"));
        PartsLine c = line(QStringLiteral("253"), QStringLiteral("六角ナット"), QStringLiteral("2"),
                           QStringLiteral("個"));
        PartsLine d = line(QStringLiteral("254"), QStringLiteral("ベアリング"), QStringLiteral("2"),
                           QStringLiteral("個"));
        d.maker = QStringLiteral("NSK");
        SaveTable(db, h, {a, b, c, d}, QStringLiteral("20240408"));
        Recordset rs(db, BuildHistoryQuery(QStringLiteral("CH_HINMEI"), QStringLiteral("2"),
                                           QStringLiteral("ABC精機"), QStringLiteral("ミスミ"),
                                           QStringLiteral("六角")));
        QList<QStringList> got;
        for (; !rs.Eof(); rs.MoveNext())
            got << QStringList{rs.Field(QStringLiteral("CH_HINMEI")), rs.Field(QStringLiteral("SUM_SURYO"))};
        QCOMPARE(got, (QList<QStringList>{{QStringLiteral("六角ナット"), QStringLiteral("2")},
                                          {QStringLiteral("六角ボルト"), QStringLiteral("10")}}));
    }
};

QTEST_GUILESS_MAIN(TestPartsRecords)
#include "TestPartsRecords.moc"
