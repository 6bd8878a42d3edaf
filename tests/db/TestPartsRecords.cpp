#include "DbTestSupport.h"
#include "PartsRecords.h"
#include "RuntimeError.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace
{
PartsHeader header(const QString& kind = u"1"_s)
{
    return {u"ABC精機"_s, u"250-01"_s, u"K-2401"_s, kind, u"搬送ユニット"_s, u"2024/04/08"_s, u"山田"_s};
}

PartsLine line(const QString& zno, const QString& hinmei, const QString& suryo = u"1"_s)
{
    PartsLine l;
    l.zno = zno;
    l.hinmei = hinmei;
    l.zaishitu = u"SS400"_s;
    l.suryo = suryo;
    l.tani = u"個"_s;
    l.maker = u"ミスミ"_s;
    return l;
}

// The given fields of the stored lines of the sample table in item-number order, joined with "|".
QStringList stored(Database& db, const QStringList& fields)
{
    QStringList out;
    Recordset rs(db, u"SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = 'K-2401' ORDER BY CH_ZNO"_s);
    for (; !rs.Eof(); rs.MoveNext()) {
        QStringList row;
        for (const QString& f : fields)
            row << rs.Field(f);
        out << row.join(u'|');
    }
    return out;
}

int rows(Database& db, const QString& table)
{
    return countRows(db, u"SELECT * FROM "_s + table);
}

const QString kDate = u"20240408"_s;
} // namespace

// The parts table records on a SQLite file and (test_db_parts_postgresql) on the PostgreSQL cluster
// of the test fixture through ODBC.
class TestPartsRecords : public QObject
{
    Q_OBJECT
    DbFixture m_f;

private Q_SLOTS:
    void init() { m_f.open(); }

    void statementTexts()
    {
        QCOMPARE(HeaderQuery(u"250-01"_s, u"K-2401"_s, u"1"_s),
                 u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '250-01' AND CH_DWGNO = 'K-2401' AND "
                 "CH_BUHIN = '1'"_s);
        QCOMPARE(
            DetailRowQuery(u"250-01"_s, u"0"_s),
            u"SELECT * FROM BUHINHYO_M WHERE CH_ASSY    = '250-01' AND INT_NUMBER = 0 ORDER BY CH_ZNO"_s);
        QCOMPARE(DeleteDetailStatement(u"42"_s), u"DELETE FROM BUHINHYO_M WHERE INT_NUMBER = 42"_s);
    }

    void headerIsCreatedOnceThenOnlyNameDateDesignerChange()
    {
        Database& db = m_f.db();
        QVERIFY(!ReadHeader(db, u"250-01"_s, u"K-2401"_s, u"1"_s));
        PartsHeader h = header();
        h.date = u"2024/4/8"_s;
        SaveHeader(db, h);
        QCOMPARE(ReadHeader(db, h.assy, h.dwgNo, h.kind)->date, u"2024/04/08"_s);
        h = {u"東和工業"_s, h.assy, h.dwgNo, h.kind, u"搬送ユニット改"_s, u"2024/05/01"_s, u"佐藤"_s};
        SaveHeader(db, h);
        const std::optional<PartsHeader> back = ReadHeader(db, h.assy, h.dwgNo, h.kind);
        // The customer is written only when the header is created.
        QCOMPARE(QStringList({back->user, back->name, back->date, back->designer}),
                 QStringList({u"ABC精機"_s, u"搬送ユニット改"_s, u"2024/05/01"_s, u"佐藤"_s}));
        QCOMPARE(rows(db, u"BUHINHYO"_s), 1);
        SaveHeader(db, header(u"2"_s)); // the other kind is a table of its own
        QCOMPARE(rows(db, u"BUHINHYO"_s), 2);
    }

    void newLinesAreInsertedEverySave()
    {
        Database& db = m_f.db();
        const QList<PartsLine> lines{line(u"251"_s, u"ベースプレート"_s),
                                     line(u"252"_s, u"シャフト"_s, u"2"_s)};
        SaveTable(db, header(), lines, kDate);
        // Saved again before reloading: the lines still have no number and go in again.
        SaveTable(db, header(), lines, kDate);
        QCOMPARE(rows(db, u"BUHINHYO"_s), 1);
        QCOMPARE(
            stored(db, {u"CH_ASSY"_s, u"CH_DWGNO"_s, u"CH_USER"_s, u"CH_BUHIN"_s, u"CH_ZNO"_s, u"CH_HINMEI"_s,
                        u"INT_SURYO"_s, u"CH_TANI"_s, u"CH_MAKER"_s, u"CH_HAISHI"_s, u"CH_UPDDATE"_s}),
            QStringList({u"250-01|K-2401|ABC精機|1|251|ベースプレート|1|個|ミスミ|False|20240408"_s,
                         u"250-01|K-2401|ABC精機|1|251|ベースプレート|1|個|ミスミ|False|20240408"_s,
                         u"250-01|K-2401|ABC精機|1|252|シャフト|2|個|ミスミ|False|20240408"_s,
                         u"250-01|K-2401|ABC精機|1|252|シャフト|2|個|ミスミ|False|20240408"_s}));
        const QStringList numbers = stored(db, {u"INT_NUMBER"_s});
        QCOMPARE(QSet<QString>(numbers.begin(), numbers.end()).size(), 4);
        QVERIFY(!numbers.contains(u"0"_s));
    }

    void emptyNumberCellsKeepTheStoredValues()
    {
        Database& db = m_f.db();
        PartsLine l = line(u"251"_s, u"ボールねじ"_s, u"2"_s);
        l.suryo2 = u"1.5"_s;
        l.tani2 = u"m"_s;
        l.tanka = u"12800"_s;
        l.kingk = u"25600"_s;
        SaveTable(db, header(), {l}, kDate);
        l.number = stored(db, {u"INT_NUMBER"_s}).at(0);
        l.suryo.clear();
        l.tani = u"本"_s; // a unit without a quantity is not written either
        l.suryo2 = u"  "_s;
        l.tani2.clear();
        l.tanka.clear();
        l.kingk.clear();
        l.biko = u"BNK1402"_s;
        l.haishi = l.kakko = true;
        SaveDetailLine(db, header(), l, u"20240501"_s);
        const QStringList fields{u"INT_SURYO"_s, u"CH_TANI"_s,   u"INT_SURYO2"_s, u"CH_TANI2"_s,
                                 u"INT_TANKA"_s, u"INT_KINGK"_s, u"CH_BIKO"_s,    u"CH_HAISHI"_s,
                                 u"CH_KAKKO"_s,  u"CH_UPDDATE"_s};
        QCOMPARE(stored(db, fields), QStringList(u"2|個|1.5|m|12800|25600|BNK1402|True|True|20240501"_s));
        // Given values replace the stored ones; a new line saved without numbers reads them empty.
        l.suryo = u"3"_s;
        SaveDetailLine(db, header(), l, kDate);
        SaveDetailLine(db, header(), line(u"252"_s, u"カバー"_s, QString()), kDate);
        QCOMPARE(stored(db, {u"INT_SURYO"_s, u"CH_TANI"_s, u"INT_TANKA"_s}),
                 QStringList({u"3|本|12800"_s, u"||"_s}));
    }

    void detailRowIsFoundByAssemblyAndNumberOnly()
    {
        Database& db = m_f.db();
        SaveTable(db, header(), {line(u"251"_s, u"ピン"_s)}, kDate);
        PartsLine l = line(u"251"_s, u"平行ピン"_s, u"4"_s);
        l.number = stored(db, {u"INT_NUMBER"_s}).at(0);
        // Another drawing number and kind with the same assembly still reach the stored row, and leave
        // its owner columns as they were; another assembly does not: the line goes in as a new row.
        PartsHeader other{u"東和工業"_s, u"250-01"_s, u"K-9999"_s, u"2"_s, QString(), QString(), QString()};
        SaveDetailLine(db, other, l, kDate);
        QCOMPARE(stored(db, {u"CH_HINMEI"_s, u"INT_SURYO"_s, u"CH_USER"_s}),
                 QStringList(u"平行ピン|4|ABC精機"_s));
        other.assy = u"300-02"_s;
        SaveDetailLine(db, other, l, kDate);
        QCOMPARE(rows(db, u"BUHINHYO_M"_s), 2);
    }

    void deletingByNumberNeverReusesNumbers()
    {
        Database& db = m_f.db();
        SaveTable(db, header(),
                  {line(u"251"_s, u"カラー"_s), line(u"252"_s, u"キー"_s), line(u"253"_s, u"ピン"_s)}, kDate);
        const QStringList numbers = stored(db, {u"INT_NUMBER"_s});
        DeleteDetailLine(db, numbers[1]);
        DeleteDetailLine(db, numbers[1]); // already gone: nothing happens
        QCOMPARE(stored(db, {u"CH_ZNO"_s}), QStringList({u"251"_s, u"253"_s}));
        DeleteDetailLine(db, numbers[2]);
        SaveDetailLine(db, header(), line(u"253"_s, u"ピン"_s), kDate);
        QVERIFY(stored(db, {u"INT_NUMBER"_s}).at(1).toLongLong() > numbers[2].toLongLong());
    }

    void quotesAndFailuresPartWay()
    {
        Database& db = m_f.db();
        SaveTable(db, header(), {line(u"251"_s, u"カラー"_s)}, kDate);
        // A quote in a value pasted into the statement: an error naming it, nothing written.
        PartsHeader h = header();
        h.dwgNo = u"K-24'01"_s;
        try {
            SaveTable(db, h, {line(u"251"_s, u"ギヤ"_s)}, kDate);
            QFAIL("a drawing number with an apostrophe must fail");
        } catch (const RuntimeError& e) {
            QVERIFY(e.description().startsWith(u"入力値に「'」が含まれているため"_s));
            QVERIFY2(e.description().contains(u"CH_DWGNO = 'K-24'01'"_s), qPrintable(e.description()));
        }
        QCOMPARE(rows(db, u"BUHINHYO"_s) + rows(db, u"BUHINHYO_M"_s), 2);
        // In a value that is only written (a name), the quote is stored as it is.
        SaveTable(db, header(), {line(u"252"_s, u"O'リング"_s)}, kDate);
        QCOMPARE(stored(db, {u"CH_HINMEI"_s}).at(1), u"O'リング"_s);
        // A line that fails stops the save; the lines before it stay saved.
        db.Execute(u"DELETE FROM BUHINHYO_M"_s);
        QCOMPARE(errorNumber([&] {
                     SaveTable(db, header(),
                               {line(u"251"_s, u"カラー"_s), line(u"252"_s, u"キー"_s, u"一"_s),
                                line(u"253"_s, u"ピン"_s)},
                               kDate);
                 }),
                 13);
        QCOMPARE(stored(db, {u"CH_ZNO"_s}), QStringList(u"251"_s));
    }
};

QTEST_GUILESS_MAIN(TestPartsRecords)
#include "TestPartsRecords.moc"
