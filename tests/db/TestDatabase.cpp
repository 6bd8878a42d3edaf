#include "Connect.h"
#include "DbTestSupport.h"
#include "ListQuery.h"
#include "PartsRecords.h"
#include "PrintList.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QProcess>
#include <QScopeGuard>
#include <QSqlQuery>
#include <QtTest>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{
const QString kAll = u"SELECT * FROM BUHINHYO_M"_s;

void addLine(Database& db, const QString& zno, const QString& hinmei, const QVariant& suryo = 1,
             bool haishi = false)
{
    Recordset rs(db, kAll + u" WHERE INT_NUMBER = 0"_s);
    rs.AddNew();
    for (const auto& [name, value] : {std::pair{u"CH_ASSY"_s, QVariant(u"250-01"_s)},
                                      {u"CH_DWGNO"_s, QVariant(u"K-1"_s)},
                                      {u"CH_BUHIN"_s, QVariant(u"1"_s)},
                                      {u"CH_ZNO"_s, QVariant(zno)},
                                      {u"CH_HINMEI"_s, QVariant(hinmei)},
                                      {u"INT_SURYO"_s, suryo},
                                      {u"CH_HAISHI"_s, QVariant(haishi)}})
        rs.SetField(name, value);
    rs.Update();
}

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

PartsLine numberedLine(int i)
{
    return line(QString::number(1000 + i), u"六角ボルト M%1"_s.arg(i), QString::number(i % 12 + 1));
}

// "test_db_records --save-into FILE": saves lines into the file the way the editor saves a table, one
// at a time, writing "saved N" after each, until it is killed.
int saveUntilKilled(const QString& file)
{
    try {
        auto db = OpenConnectionText(LocalConnectionText(file));
        SaveHeader(*db, header());
        for (int i = 1; i <= 100000; ++i) {
            SaveDetailLine(*db, header(), numberedLine(i), kDate);
            std::printf("saved %d\n", i);
            std::fflush(stdout);
        }
    } catch (const RuntimeError& e) {
        std::fprintf(stderr, "%d %s\n", e.number(), e.what());
        return 1;
    }
    return 0;
}
} // namespace

// The database layer on a SQLite file and (test_db_records_postgresql) on the PostgreSQL cluster of the
// test fixture through ODBC: record sets, the parts table records, and connecting as PARA.ini says.
class TestDatabase : public QObject
{
    Q_OBJECT
    DbFixture m_f;
    std::unique_ptr<AppFolder> m_app;

    ConnectResult connect(const QString& iniText, int busyTimeoutMs = 5000)
    {
        m_app->writeIni(iniText);
        m_app->messages.clear();
        return ConnectDatabase(m_app->ctx, busyTimeoutMs);
    }
    static QString local(const QString& mdb)
    {
        return u"[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB="_s + mdb + u"\r\n"_s;
    }
    static QString source(const QString& section, const QString& provider, const QString& password,
                          const QString& extra = QString())
    {
        return u"[DBMS]\r\nDB=%1\r\n[%1]\r\nPRV=%2\r\nDSN=%3\r\nUID=%4\r\nPWD=%5\r\n%6"_s.arg(
            section, provider, qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
            qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"), password, extra);
    }

    // Saves lines into the file in a child process and kills it (SIGKILL) once it reported at least
    // the given number; returns the number it reported.
    static int saveAndKill(const QString& file, int atLeast)
    {
        QProcess saver;
        saver.start(QCoreApplication::applicationFilePath(), {u"--save-into"_s, file});
        int saved = 0;
        QByteArray out;
        while (saved < atLeast && saver.waitForReadyRead(20000)) {
            out += saver.readAllStandardOutput();
            const qsizetype end = out.lastIndexOf("saved ");
            if (end >= 0 && out.indexOf('\n', end) > 0)
                saved = out.mid(end + 6, out.indexOf('\n', end) - end - 6).toInt();
        }
        if (saved < atLeast)
            qWarning() << saver.readAllStandardError();
        saver.kill();
        return saver.waitForFinished(10000) && saver.exitStatus() == QProcess::CrashExit ? saved : -1;
    }
    static bool sqliteShell(const QString& file, const QString& command)
    {
        QProcess shell;
        shell.start(u"sqlite3"_s, {file, command});
        return shell.waitForFinished(60000) && shell.exitCode() == 0 &&
               shell.readAllStandardError().isEmpty();
    }

private Q_SLOTS:
    void init()
    {
        m_f.open();
        m_app = std::make_unique<AppFolder>();
    }

    void snapshotReadsRowsInOrderWithFieldsByName()
    {
        Database& db = m_f.db();
        addLine(db, u"252"_s, u"ベアリング"_s, u"2"_s);
        addLine(db, u"251"_s, u"六角ボルト"_s, QString(), true);
        Recordset rs(db, kAll + u" ORDER BY CH_ZNO"_s);
        QCOMPARE(rs.RecordCount(), 2);
        QCOMPARE(rs.Field(u"ch_zno"_s), u"251"_s);
        // An empty quantity is stored as null and reads as empty text, like unset text columns.
        QVERIFY(rs.IsNull(u"INT_SURYO"_s));
        QCOMPARE(rs.Field(u"INT_SURYO"_s) + rs.Field(u"CH_TANI"_s), QString());
        QCOMPARE(rs.Field(u"CH_HAISHI"_s), u"True"_s);
        rs.MoveNext();
        QCOMPARE(rs.Field(u"CH_HINMEI"_s) + rs.Field(u"INT_SURYO"_s), u"ベアリング2"_s);
        QCOMPARE(rs.Field(u"CH_HAISHI"_s), u"False"_s);
        rs.MoveNext();
        QVERIFY(rs.Eof());
        QCOMPARE(rs.Field(u"CH_HINMEI"_s), QString());
        QCOMPARE(errorNumber([&] { rs.MoveNext(); }), 3021);
        QCOMPARE(errorNumber([&] { rs.Field(u"CH_NOSUCH"_s); }), 3265);
        rs.MoveFirst();
        QCOMPARE(rs.Field(u"CH_ZNO"_s), u"251"_s);
        addLine(db, u"253"_s, u"シャフト"_s);
        QCOMPARE(rs.RecordCount(), 2);
        rs.Close();
        QCOMPARE(errorNumber([&] { rs.RecordCount(); }), 3704);
        // The FALSE test of the list queries works on the stored yes/no values.
        QCOMPARE(countRows(db, kAll + u" WHERE CH_HAISHI = FALSE"_s), 2);
    }

    void addUpdateAndDeleteWriteByKey()
    {
        Database& db = m_f.db();
        addLine(db, u"251"_s, u"カラー"_s);
        addLine(db, u"252"_s, u"カラー"_s);
        // A new row gets the auto-number and can be changed and deleted through the same set.
        Recordset rs(db, kAll + u" WHERE CH_ZNO = '999'"_s);
        rs.AddNew();
        rs.SetField(u"CH_ZNO"_s, u"253"_s);
        rs.SetField(u"CH_HINMEI"_s, u"it's a ピン"_s); // values are bound, not pasted
        rs.Update();
        QVERIFY(rs.Field(u"INT_NUMBER"_s).toInt() > 0);
        rs.SetField(u"CH_BIKO"_s, u"焼入れ"_s);
        rs.Update();
        QCOMPARE(countRows(db, kAll + u" WHERE CH_HINMEI = 'it''s a ピン' AND CH_BIKO = '焼入れ'"_s), 1);
        const QString longText = u"焼入れ、"_s.repeated(300); // longer than a read's first piece
        rs.SetField(u"CH_BIKO"_s, longText);
        rs.Update();
        QCOMPARE(Recordset(db, kAll + u" WHERE CH_ZNO = '253'"_s).Field(u"CH_BIKO"_s), longText);
        rs.Delete();
        QCOMPARE(rs.RecordCount(), 0);
        QCOMPARE(countRows(db, kAll), 2);

        Recordset two(db, kAll + u" ORDER BY CH_ZNO"_s);
        two.MoveNext();
        two.SetField(u"CH_HINMEI"_s, u"ブッシュ"_s);
        two.Update();
        QCOMPARE(countRows(db, kAll + u" WHERE CH_HINMEI = 'カラー' AND CH_ZNO = '251'"_s), 1);
        // A row that went away under the set is reported, not silently skipped.
        db.Execute(u"DELETE * FROM BUHINHYO_M WHERE CH_ZNO = '252'"_s);
        two.SetField(u"CH_HINMEI"_s, u"カラー"_s);
        QVERIFY(errorNumber([&] { two.Update(); }) != 0);
        // An empty key reads as empty text, not as null: its row is found to be written back.
        db.Execute(u"INSERT INTO BUHINHYO (CH_DWGNO, CH_ASSY, CH_BUHIN) VALUES ('D-1', '', '1')"_s);
        Recordset header(db, u"SELECT * FROM BUHINHYO WHERE CH_DWGNO = 'D-1'"_s);
        header.SetField(u"CH_NAME"_s, u"フレーム"_s);
        header.Update();
        QCOMPARE(countRows(db, u"SELECT * FROM BUHINHYO WHERE CH_NAME = 'フレーム'"_s), 1);
        Recordset sum(db, u"SELECT CH_HINMEI, SUM(INT_SURYO) AS S FROM BUHINHYO_M GROUP BY CH_HINMEI"_s);
        QCOMPARE(sum.Field(u"S"_s).toDouble(), 1.0);
        sum.SetField(u"CH_HINMEI"_s, u"x"_s);
        QVERIFY(errorNumber([&] { sum.Update(); }) != 0);
    }

    void textIsConvertedForNumberAndYesNoColumns()
    {
        Database& db = m_f.db();
        Recordset rs(db, kAll + u" WHERE INT_NUMBER = 0"_s);
        rs.AddNew();
        rs.SetField(u"INT_SURYO"_s, u" 2.5 "_s);
        rs.SetField(u"INT_TANKA"_s, u""_s);
        rs.Update();
        Recordset back(db, kAll);
        QCOMPARE(back.Field(u"INT_SURYO"_s), u"2.5"_s);
        QVERIFY(back.IsNull(u"INT_TANKA"_s));
        back.SetField(u"INT_SURYO"_s, u""_s); // a stored number cleared by an update
        back.SetField(u"INT_TANKA"_s, 1200);
        back.Update();
        QVERIFY(Recordset(db, kAll).IsNull(u"INT_SURYO"_s));
        QCOMPARE(Recordset(db, kAll).Field(u"INT_TANKA"_s), u"1200"_s);
        for (const auto& [text, yes] : {std::pair{u"-1"_s, true},
                                        {u"1"_s, true},
                                        {u"true"_s, true},
                                        {QString(), false},
                                        {u"0"_s, false},
                                        {u"False"_s, false}}) {
            back.SetField(u"CH_KAKKO"_s, text);
            back.Update();
            QCOMPARE(Recordset(db, kAll).Field(u"CH_KAKKO"_s), yes ? u"True"_s : u"False"_s);
        }
        QCOMPARE(errorNumber([&] { back.SetField(u"INT_SURYO"_s, u"二個"_s); }), 13);
    }

    void failingStatementsAndJetDeletes()
    {
        Database& db = m_f.db();
        const QString bad = u"SELECT * FROM BUHINHYO WHERE CH_DWGNO = 'A'B'"_s;
        auto e = thrown([&] { Recordset rs(db, bad); });
        QVERIFY(e && e->number() != 0);
        QVERIFY2(e->description().contains(bad) && e->description().size() > bad.size() + 4,
                 qPrintable(e->description()));
        // The engine's English words come after a Japanese line that says what they mean.
        e = thrown([&] { db.Execute(u"DELETE FROM NO_SUCH_TABLE"_s); });
        QVERIFY(e && e->number() != 0);
        QVERIFY2(e->description().startsWith(u"データベースに必要な表または列がありません。原因: "_s),
                 qPrintable(e->description()));
        // A delete opened as a record set runs (Jet form included) and leaves an empty set; the Jet
        // form is recognised only outside quoted text.
        addLine(db, u"251"_s, u"* FROM"_s);
        std::unique_ptr<Recordset> rs;
        OpenRecordset(db, rs, u"delete  *  from BUHINHYO_M WHERE CH_DWGNO = 'K-1'"_s);
        QVERIFY(rs->Eof());
        QCOMPARE(countRows(db, kAll), 0);
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
        // Keys and texts compare without regard to case, on every database.
        QVERIFY(ReadHeader(db, h.assy, u"k-2401"_s, h.kind));
        SaveHeader(db, {u"abc精機"_s, h.assy, u"k-2401"_s, h.kind, h.name, h.date, h.designer});
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

    void linesAreReadInItemNumberOrder()
    {
        // Item number text, maker, bracketed: text order puts "(252)" first and "1000" before "999".
        Database& db = m_f.db();
        QList<PartsLine> lines;
        for (const auto& [zno, maker, kakko] : {std::tuple{u"999"_s, u"THK"_s, false},
                                                {u"1000"_s, u"ミスミ"_s, false},
                                                {u"251"_s, u"thk"_s, false},
                                                {u"(252)"_s, u"ミスミ"_s, true},
                                                {u"(1001)"_s, u"THK"_s, true},
                                                {u"0253"_s, u"ミスミ"_s, false},
                                                {u"253"_s, u"ミスミ"_s, false}}) {
            PartsLine l = line(zno, zno.repeated(60)); // a long name goes with its line
            l.maker = maker;
            l.kakko = kakko;
            lines << l;
        }
        SaveTable(db, header(), lines, kDate);
        const QStringList all{u"251"_s, u"(252)"_s, u"0253"_s, u"253"_s, u"999"_s, u"1000"_s, u"(1001)"_s};
        // Per maker (in the database's order of makers, case ignored), then by item number.
        const QStringList paged{u"251"_s, u"999"_s, u"(1001)"_s, u"(252)"_s, u"0253"_s, u"253"_s, u"1000"_s};
        for (const bool perMaker : {false, true}) {
            const QString mode = ListMode::forPrint(false, perMaker);
            Recordset rs(db, BuildListQuery(perMaker ? mode : u"FORM LOAD"_s, {}, u"K-2401"_s, u"250-01"_s,
                                            u"1"_s, {}));
            OrderByItemNumber(db, rs, perMaker);
            QCOMPARE(rs.ColumnTexts(u"CH_ZNO"_s), perMaker ? paged : all);
            const ListTable list =
                FillListFromDatabase(db, {mode, u"K-2401"_s, u"250-01"_s, u"1"_s, false, {}});
            QStringList printed;
            for (size_t i = 0; i < list.size(); ++i) {
                const ListRow row = list[i];
                QCOMPARE(row.at(LcHinmei), row.at(LcZno).repeated(60));
                printed << QString::fromUtf8(row.at(LcZno).toUtf8()); // a copy: the row goes with the next
            }
            // A bracketed item number prints with the one pair it carries.
            QCOMPARE(printed, perMaker ? paged : all);
        }
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

    void quotesAndFailuresPartWay()
    {
        Database& db = m_f.db();
        SaveTable(db, header(), {line(u"251"_s, u"カラー"_s)}, kDate);
        // A quote in a value pasted into the statement: an error naming it, nothing written.
        PartsHeader h = header();
        h.dwgNo = u"K-24'01"_s;
        const auto e = thrown([&] { SaveTable(db, h, {line(u"251"_s, u"ギヤ"_s)}, kDate); });
        QVERIFY(e && e->description().startsWith(u"入力値に「'」が含まれているため"_s));
        QVERIFY2(e->description().contains(u"CH_DWGNO = 'K-24'01'"_s), qPrintable(e->description()));
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

    void aSaveKilledPartWayLeavesEverySavedLine()
    {
        if (DbFixture::postgresql())
            QSKIP("the server keeps its own data safe; this is about the local file");
        // Killed as the power switch or the task manager would, well into a long save.
        const QString file = makeSqliteDatabase(m_app->dir.path(), u"killed.sqlite"_s);
        const int saved = saveAndKill(file, 300);
        QVERIFY(saved >= 300);
        // The file opens through the program's own connection, is whole, and holds every reported
        // line complete and in order.
        auto db = OpenConnectionText(LocalConnectionText(file));
        QSqlQuery q(db->sql());
        QVERIFY(q.exec(u"PRAGMA integrity_check"_s) && q.next());
        QCOMPARE(q.value(0).toString(), u"ok"_s);
        QVERIFY(ReadHeader(*db, u"250-01"_s, u"K-2401"_s, u"1"_s));
        const QStringList lines = stored(*db, {u"CH_ZNO"_s, u"CH_HINMEI"_s, u"INT_SURYO"_s});
        QVERIFY2(lines.size() >= saved, qPrintable(u"%1 < %2"_s.arg(lines.size()).arg(saved)));
        for (int i = 1; i <= lines.size(); ++i) {
            const PartsLine l = numberedLine(i);
            QCOMPARE(lines[i - 1], QStringList({l.zno, l.hinmei, l.suryo}).join(u'|'));
        }
    }

    void closingLeavesNoLogAndTheShellBacksUpAndRestores()
    {
        if (DbFixture::postgresql())
            QSKIP("the server keeps its own data safe; this is about the local file");
        // The program ends while a screen still holds its connection: the log goes into the file, and
        // the file alone holds every row.
        const QString file = m_app->path(u"DB/CADDB.sqlite"_s), backup = m_app->path(u"backup.sqlite"_s);
        auto db = Database::openSqliteFile(file);
        QList<PartsLine> lines;
        for (int i = 1; i <= 500; ++i)
            lines << numberedLine(i);
        SaveTable(*db, header(), lines, kDate);
        QVERIFY(QFileInfo(file + u"-wal"_s).size() > 0);
        Database::CheckpointAll();
        QCOMPARE(QFileInfo(file + u"-wal"_s).size(), 0);
        QVERIFY(QFile::copy(file, m_app->path(u"copy.sqlite"_s)));
        QCOMPARE(countRows(*Database::openSqliteFile(m_app->path(u"copy.sqlite"_s)), kAll), 500);
        db.reset();
        // Backed up, changed, restored as the README says, also over a log left by a save that was killed.
        QVERIFY(sqliteShell(file, u".backup '"_s + backup + u"'"_s));
        m_app->exec(u"DELETE FROM BUHINHYO_M WHERE INT_NUMBER > 100"_s);
        QVERIFY(saveAndKill(file, 50) >= 50);
        QVERIFY(QFileInfo(file + u"-wal"_s).size() > 0);
        QVERIFY(sqliteShell(file, u".restore '"_s + backup + u"'"_s));
        QCOMPARE(m_app->count(u"SELECT COUNT(*) FROM BUHINHYO_M"_s), 500);
        QCOMPARE(stored(*Database::openSqliteFile(file), {u"CH_HINMEI"_s}).last(), numberedLine(500).hinmei);
    }

    void readOnlyWorkOnlyReads()
    {
        if (DbFixture::postgresql())
            QSKIP("read-only opening is about the local file");
        // A file the program did not make (rollback journal) that another program is reading.
        const QString foreign = makeSqliteDatabase(m_app->dir.path(), u"foreign.sqlite"_s);
        QSqlDatabase reader = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"reader"_s);
        reader.setDatabaseName(foreign);
        QVERIFY(reader.open());
        {
            QSqlQuery q(reader);
            QVERIFY(q.exec(u"BEGIN"_s) && q.exec(u"SELECT COUNT(*) FROM BUHINHYO"_s) && q.next());
            auto db = Database::openSqliteFile(foreign, 100, true);
            QCOMPARE(countRows(*db, u"SELECT * FROM BUHINHYO"_s), 0);
            QVERIFY_THROWS_EXCEPTION(RuntimeError, db->Execute(u"DELETE FROM BUHINHYO"_s));
            db.reset();
            QVERIFY(q.exec(u"COMMIT"_s) && q.exec(u"PRAGMA journal_mode"_s) && q.next());
            QCOMPARE(q.value(0).toString(), u"delete"_s);
        }
        reader.close();
        reader = QSqlDatabase();
        QSqlDatabase::removeDatabase(u"reader"_s);
        // The program's own file (WAL) on a medium that cannot be written, as the batch print connects.
        SaveHeader(*Database::openSqliteFile(m_app->path(u"DB/CADDB.sqlite"_s)), header());
        const QString medium = m_app->path(u"medium"_s);
        QVERIFY(QDir().mkpath(medium));
        if (QProcess::execute(u"mount"_s, {u"-t"_s, u"tmpfs"_s, u"-o"_s, u"size=4m"_s, u"tmpfs"_s, medium}) !=
            0)
            QSKIP("no tmpfs can be mounted here (needs root)");
        const auto unmount = qScopeGuard([&] { QProcess::execute(u"umount"_s, {medium}); });
        QVERIFY(QDir().mkpath(medium + u"/DB"_s));
        QVERIFY(QFile::copy(m_app->path(u"DB/CADDB.sqlite"_s), medium + u"/DB/CADDB.sqlite"_s));
        QCOMPARE(QProcess::execute(u"mount"_s, {u"-o"_s, u"remount,ro"_s, medium}), 0);
        m_app->ctx.AppPath = medium + u'/';
        m_app->ctx.DbReadOnly = true;
        QVERIFY(!connect(local(u"DB\\CADDB.sqlite"_s)).endProgram);
        QVERIFY(ReadHeader(*m_app->ctx.DbConnection, u"250-01"_s, u"K-2401"_s, u"1"_s));
        m_app->ctx.DbConnection.reset();
    }

    void localFileBecomesTheSharedConnection()
    {
        ConnectResult r = connect(local(u"DB\\CADDB.sqlite"_s));
        AppContext& ctx = m_app->ctx;
        QVERIFY(!r.endProgram && m_app->messages.shown.isEmpty());
        QCOMPARE(r.connectionText,
                 u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source="_s + ctx.AppPath + u"DB\\CADDB.sqlite;"_s);
        QSqlQuery q(ctx.DbConnection->sql());
        QVERIFY(q.exec(u"PRAGMA journal_mode"_s) && q.next());
        QCOMPARE(q.value(0).toString(), u"wal"_s);
        // Every connect replaces the shared connection; a set opened on the old one keeps it alive.
        std::weak_ptr<Database> first = ctx.DbConnection;
        auto rs = std::make_unique<Recordset>(*ctx.DbConnection, u"SELECT * FROM BUHINHYO"_s);
        QVERIFY(!ConnectDatabase(ctx).endProgram);
        QVERIFY(ctx.DbConnection != first.lock());
        rs->AddNew();
        for (const QString& key : {u"CH_DWGNO"_s, u"CH_ASSY"_s, u"CH_BUHIN"_s})
            rs->SetField(key, u"1"_s);
        rs->Update();
        rs.reset();
        QVERIFY(first.expired());
        QCOMPARE(m_app->count(u"SELECT COUNT(*) FROM BUHINHYO"_s), 1);
        // Any other kind means the local file; without [DBMS] the settings box comes first.
        const QString file = u"[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"_s;
        for (const QString& kind : {u"oracle"_s, u"ACCESS"_s, QString()})
            QCOMPARE(connect(u"[DBMS]\r\nDB="_s + kind + u"\r\n"_s + file).dbKind, u"LOCAL"_s);
        QVERIFY(!connect(file).endProgram);
        QCOMPARE(m_app->messages.shown.size(), 1);
    }

    void earlierDatabaseComparesTextWithoutCase()
    {
        // A database file as the schema made it before its text columns were caseless.
        QString schema = QString::fromUtf8(readFileBytes(sourceDir() + u"/data/schema.sql"_s));
        QVERIFY(schema.contains(u" COLLATE NOCASE"_s));
        QFile old(m_app->path(u"old-schema.sql"_s));
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(schema.remove(u" COLLATE NOCASE"_s).toUtf8());
        old.write("INSERT INTO BUHINHYO (CH_DWGNO, CH_ASSY, CH_BUHIN) VALUES ('K-2401', '01', '1');\n"
                  "INSERT INTO BUHINHYO_M (CH_DWGNO, CH_ASSY, CH_BUHIN, INT_SURYO) VALUES ('K-2401', '01', "
                  "'1', 2.5);\n"
                  "INSERT INTO BUHINHYO_M (CH_DWGNO, CH_ASSY, CH_BUHIN) VALUES ('K-2401', '01', '1');\n"
                  "DELETE FROM BUHINHYO_M WHERE INT_NUMBER = 2;\n"
                  "INSERT INTO SETTEI (CH_USER, CH_BUHIN) VALUES ('ABC精機', '1');\n");
        old.close();
        const QString file = makeSqliteDatabase(m_app->dir.path(), u"old.sqlite"_s, old.fileName());
        // Opened by the program: rebuilt once, rows, numbers, numbering and indexes kept.
        auto db = Database::openSqliteFile(file);
        QCOMPARE(countRows(*db, u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '01' AND CH_DWGNO = 'k-2401' AND "
                                u"CH_BUHIN = '1'"_s),
                 1);
        QCOMPARE(countRows(*db, u"SELECT * FROM SETTEI WHERE CH_USER = 'abc精機' and CH_BUHIN = '1'"_s), 1);
        Recordset rs(*db, u"SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = 'k-2401' ORDER BY CH_ZNO"_s);
        QCOMPARE(rs.RecordCount(), 1);
        QCOMPARE(rs.Field(u"INT_SURYO"_s), u"2.5"_s);
        QSqlQuery q(db->sql());
        QVERIFY(q.exec(u"INSERT INTO BUHINHYO_M (CH_DWGNO) VALUES ('K-2402')"_s));
        QCOMPARE(q.lastInsertId().toInt(), 3);
        QCOMPARE(countRows(*db, u"SELECT * FROM sqlite_master WHERE name IN ('BUHINHYO_M_TABLE', "
                                u"'BUHINHYO_M_HINMEI', 'BUHINHYO_M_ZAISHITU')"_s),
                 3);
    }

    void localFailuresEndTheProgramNamingTheFile()
    {
        writeCp932File(m_app->path(u"DB/notes.sqlite"_s), u"部品表のメモ\r\n"_s);
        QFile(m_app->path(u"DB/empty.sqlite"_s)).open(QIODevice::WriteOnly);
        // A mistyped name (no empty database is left behind), a text file and an empty file.
        for (const QString& name : {u"CADBD.sqlite"_s, u"notes.sqlite"_s, u"empty.sqlite"_s}) {
            const ConnectResult r = connect(local(u"DB\\"_s + name));
            QVERIFY(r.endProgram && !m_app->ctx.DbConnection);
            QCOMPARE(m_app->messages.texts(), QStringList(r.message));
            QCOMPARE(m_app->messages.shown[0].icon, MsgIcon::Stop);
            QVERIFY2(r.message.startsWith(u"実行時エラー '"_s) &&
                         r.message.contains(m_app->path(u"DB/"_s) + name),
                     qPrintable(r.message));
        }
        QVERIFY(!QFile::exists(m_app->path(u"DB/CADBD.sqlite"_s)));
        QCOMPARE(QFileInfo(m_app->path(u"DB/empty.sqlite"_s)).size(), 0);
        // Another program holds the file locked for writing: switching to WAL cannot get the lock.
        {
            QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other_program"_s);
            other.setDatabaseName(m_app->path(u"DB/locked.sqlite"_s));
            QVERIFY(other.open());
            QSqlQuery q(other);
            for (const QString& sql :
                 {u"PRAGMA journal_mode=DELETE"_s, u"CREATE TABLE BUHINHYO (CH_DWGNO TEXT)"_s,
                  u"BEGIN EXCLUSIVE"_s, u"INSERT INTO BUHINHYO VALUES ('K-1')"_s})
                QVERIFY(q.exec(sql));
            const ConnectResult r = connect(local(u"DB\\locked.sqlite"_s), 200);
            QVERIFY(r.endProgram && r.message.contains(u"locked"_s));
            QVERIFY(q.exec(u"ROLLBACK"_s));
        }
        QSqlDatabase::removeDatabase(u"other_program"_s);
        QVERIFY(!connect(local(u"DB\\locked.sqlite"_s), 200).endProgram);
    }

    void dataSourcesAreOnlyCheckedAndFailuresEndTheProgram()
    {
        // A provider that is not there. An earlier local connect stays the shared connection.
        QVERIFY(m_app->connect());
        const std::shared_ptr<Database> held = m_app->ctx.DbConnection;
        ConnectResult r =
            connect(u"[DBMS]\r\nDB=ODBC\r\n[ODBC]\r\nPRV=SQLOLEDB\r\nDSN=CADSRV\r\nUID=cad\r\nPWD=pw\r\n"_s);
        QCOMPARE(r.connectionText, u"PROVIDER=SQLOLEDB;Data Source=CADSRV;User ID=cad;Password=pw;"_s);
        QVERIFY(r.endProgram);
        QCOMPARE(
            m_app->shownBoxes(),
            QStringList(u"|プロバイダが見つかりません。正しくインストールされていない可能性があります。"_s));
        QCOMPARE(m_app->messages.shown[0].icon, MsgIcon::None);
        QCOMPARE(m_app->ctx.DbConnection, held);
        // The ORACLE form through ODBC, with a data source that is not configured.
        r = connect(u"[DBMS]\r\nDB=ORACLE\r\n[ORACLE]\r\nDSN=NO_SUCH_DSN_HERE\r\nUID=cad\r\nPWD=pw\r\n"_s);
        QCOMPARE(r.connectionText,
                 u"PROVIDER=MSDASQL;Data Source=NO_SUCH_DSN_HERE;User ID=cad;Password=pw;"_s);
        QVERIFY(r.endProgram && !r.message.isEmpty());
        QCOMPARE(m_app->messages.texts(), QStringList(r.message));
        // Missing keys: their placeholders become part of the text (one settings box each).
        r = connect(u"[DBMS]\r\nDB=ORACLE\r\n"_s);
        QVERIFY(r.connectionText.startsWith(u"PROVIDER=MSDASQL;Data Source=EOFタグ：ORACLE　キー：DSN;"_s));
        QCOMPARE(m_app->messages.shown.size(), 4);
    }

    // A local file on a network or user-space file system (here a FUSE mount) keeps its rollback
    // journal, and the user is told once per run; on a local disk it is WAL, without a word.
    void networkFolderKeepsTheRollbackJournal()
    {
        if (DbFixture::postgresql())
            QSKIP("about the local file");
        QTemporaryDir share;
        makeSqliteDatabase(share.path());
        const QString mount = m_app->path(u"NET"_s);
        QDir().mkpath(mount);
        if (QProcess::execute(u"bindfs"_s, {share.path(), mount}) != 0)
            QSKIP("cannot mount a FUSE file system here (bindfs missing, or no /dev/fuse)");
        const auto unmount = qScopeGuard([&] { QProcess::execute(u"fusermount"_s, {u"-uz"_s, mount}); });
        auto journal = [&] {
            QSqlQuery q(m_app->ctx.DbConnection->sql());
            return q.exec(u"PRAGMA journal_mode"_s) && q.next() ? q.value(0).toString() : QString();
        };
        for (int run = 0; run < 2; ++run) {
            QVERIFY(!connect(local(u"NET\\CADDB.sqlite"_s)).endProgram);
            if (run == 0)
                QVERIFY2(m_app->shownBoxes().value(0).contains(u"ネットワーク上の共有フォルダ (fuse"_s),
                         qPrintable(m_app->shownBoxes().value(0)));
            QCOMPARE(journal(), u"delete"_s);
            QCOMPARE(m_app->messages.shown.size(), 1 - run);
        }
        QVERIFY(!connect(local(u"DB\\CADDB.sqlite"_s)).endProgram);
        QCOMPARE(journal(), u"wal"_s);
        QVERIFY(m_app->messages.shown.isEmpty());
    }

    void theFixturesDataSourceConnectsOnAConnectionOfItsOwn()
    {
        if (!DbFixture::postgresql())
            QSKIP("needs the PostgreSQL fixture of the test run");
        const QString password = qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD");
        // Without [ODBC] SHARED=1 (or with it under ORACLE) the data source is only reached.
        for (const auto& [section, provider, extra] :
             {std::tuple{u"ODBC"_s, u"MSDASQL"_s, QString()},
              {u"ODBC"_s, u"ODBC"_s, u"SHARED=0\r\n"_s},
              {u"ODBC"_s, u"MSDASQL"_s, u"SHARED=yes\r\n"_s},
              {u"ODBC"_s, u"MSDASQL"_s, u"SHARED= 2\r\n"_s},
              {u"ORACLE"_s, QString(), u"SHARED=1\r\n[ODBC]\r\nSHARED=1\r\n"_s}}) {
            const ConnectResult r = connect(source(section, provider, password, extra));
            QVERIFY2(!r.endProgram && m_app->messages.shown.isEmpty(), qPrintable(r.message));
            QVERIFY(!r.shared && !m_app->ctx.DbConnection); // the shared connection keeps what it held
        }
        // Team use: the data source is the program's connection, on which the screens work.
        ConnectResult team = connect(source(u"ODBC"_s, u"MSDASQL"_s, password, u"SHARED=1\r\n"_s));
        QVERIFY(team.shared && !team.endProgram && m_app->messages.shown.isEmpty());
        QVERIFY(m_app->ctx.DbConnection &&
                m_app->ctx.DbConnection->dialect() == Database::Dialect::PostgreSql);
        QCOMPARE(countRows(*m_app->ctx.DbConnection, u"SELECT * FROM BUHINHYO"_s), 0);
        team = connect(source(u"ODBC"_s, u"MSDASQL"_s, u"not-the-password"_s, u"SHARED=1\r\n"_s));
        QVERIFY(team.endProgram && !m_app->ctx.DbConnection);
        // A database set up before team use is named as such.
        m_f.db().Execute(u"ALTER TABLE BUHINHYO_LOCK RENAME TO BUHINHYO_LOCK_AWAY"_s);
        team = connect(source(u"ODBC"_s, u"MSDASQL"_s, password, u"SHARED=1\r\n"_s));
        m_f.db().Execute(u"ALTER TABLE BUHINHYO_LOCK_AWAY RENAME TO BUHINHYO_LOCK"_s);
        QVERIFY2(team.endProgram && team.message.contains(u"BUHINHYO_LOCK がありません"_s),
                 qPrintable(team.message));
        // A wrong password: the server's message in a plain box, and the end.
        const ConnectResult r = connect(source(u"ODBC"_s, u"MSDASQL"_s, u"not-the-password"_s));
        QVERIFY(r.endProgram);
        QCOMPARE(m_app->shownBoxes(), QStringList(u"|"_s + r.message));
        QVERIFY2(r.message.contains(u"password authentication failed"_s), qPrintable(r.message));
    }

    // A data source on psqlODBC's driver without wide characters, as an office may have set one up.
    void narrowDriverKeepsJapaneseText()
    {
        if (!DbFixture::postgresql())
            QSKIP("needs the PostgreSQL fixture of the test run");
        const auto db = Database::openOdbc(qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN") + u"_ansi"_s,
                                           qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"),
                                           qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD"));
        QCOMPARE(db->dialect(), Database::Dialect::PostgreSql);
        addLine(*db, u"251"_s, u"六角ボルト"_s);
        Recordset rs(*db, kAll);
        QCOMPARE(rs.Field(u"CH_HINMEI"_s), u"六角ボルト"_s);
        rs.SetField(u"CH_BIKO"_s, u"焼入れ"_s);
        rs.Update();
        QCOMPARE(Recordset(m_f.db(), kAll + u" WHERE CH_BIKO = '焼入れ'"_s).Field(u"CH_HINMEI"_s),
                 u"六角ボルト"_s);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && std::strcmp(argv[1], "--save-into") == 0)
        return saveUntilKilled(QString::fromLocal8Bit(argv[2]));
    TestDatabase tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "TestDatabase.moc"
