#include "Connect.h"
#include "Database.h"
#include "DbTestSupport.h"
#include "RuntimeError.h"

#include <QtTest>

namespace
{

int count(Database& db, const QString& where = QString())
{
    Recordset rs(db, QStringLiteral("SELECT * FROM BUHINHYO_M") + where);
    return rs.RecordCount();
}

void addLine(Database& db, const QString& zno, const QString& hinmei, const QVariant& suryo, bool haishi)
{
    Recordset rs(db, QStringLiteral("SELECT * FROM BUHINHYO_M WHERE INT_NUMBER = 0"));
    rs.AddNew();
    rs.SetField(QStringLiteral("CH_ASSY"), QStringLiteral("250-01"));
    rs.SetField(QStringLiteral("CH_DWGNO"), QStringLiteral("K-1"));
    rs.SetField(QStringLiteral("CH_BUHIN"), QStringLiteral("1"));
    rs.SetField(QStringLiteral("CH_ZNO"), zno);
    rs.SetField(QStringLiteral("CH_HINMEI"), hinmei);
    rs.SetField(QStringLiteral("INT_SURYO"), suryo);
    rs.SetField(QStringLiteral("CH_HAISHI"), haishi);
    rs.Update();
}

} // namespace

class TestRecordset : public QObject
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

    void snapshotReadsRowsInOrderWithFieldsByName()
    {
        Database& db = *m_t.db;
        addLine(db, QStringLiteral("252"), QStringLiteral("ベアリング"), QStringLiteral("2"), false);
        addLine(db, QStringLiteral("251"), QStringLiteral("六角ボルト"), QString(), true);

        Recordset rs(db, QStringLiteral("SELECT * FROM BUHINHYO_M ORDER BY CH_ZNO"));
        QCOMPARE(rs.RecordCount(), 2);
        QVERIFY(!rs.Eof());
        QCOMPARE(rs.Field(QStringLiteral("ch_zno")), QStringLiteral("251"));
        QCOMPARE(rs.Field(QStringLiteral("CH_HINMEI")), QStringLiteral("六角ボルト"));
        // An empty quantity is stored as null and reads as empty text; unset text columns as "".
        QVERIFY(rs.IsNull(QStringLiteral("INT_SURYO")));
        QCOMPARE(rs.Field(QStringLiteral("INT_SURYO")), QString());
        QCOMPARE(rs.Field(QStringLiteral("CH_TANI")), QString());
        QCOMPARE(rs.Field(QStringLiteral("CH_HAISHI")), QStringLiteral("True"));
        QVERIFY(rs.Bool(QStringLiteral("CH_HAISHI")));
        rs.MoveNext();
        QCOMPARE(rs.Field(QStringLiteral("CH_HINMEI")), QStringLiteral("ベアリング"));
        QCOMPARE(rs.Field(QStringLiteral("INT_SURYO")), QStringLiteral("2"));
        QCOMPARE(rs.Field(QStringLiteral("CH_HAISHI")), QStringLiteral("False"));
        QVERIFY(!rs.Bool(QStringLiteral("CH_KAKKO")));
        rs.MoveNext();
        QVERIFY(rs.Eof());
        QCOMPARE(rs.Field(QStringLiteral("CH_HINMEI")), QString()); // no current row reads as empty
        try {
            rs.MoveNext();
            QFAIL("moving past the end must fail");
        } catch (const RuntimeError& e) {
            QCOMPARE(e.number(), 3021);
        }
        try {
            rs.Field(QStringLiteral("CH_NOSUCH"));
            QFAIL("an unknown field must fail");
        } catch (const RuntimeError& e) {
            QCOMPARE(e.number(), 3265);
        }
        rs.MoveFirst();
        QCOMPARE(rs.Field(QStringLiteral("CH_ZNO")), QStringLiteral("251"));

        // The set is a snapshot: rows added later are not in it.
        addLine(db, QStringLiteral("253"), QStringLiteral("シャフト"), 1, false);
        QCOMPARE(rs.RecordCount(), 2);
        rs.Close();
        try {
            rs.RecordCount();
            QFAIL("a closed set must refuse");
        } catch (const RuntimeError& e) {
            QCOMPARE(e.number(), 3704);
        }
        // The FALSE test of the list queries works on the stored yes/no values.
        QCOMPARE(count(db, QStringLiteral(" WHERE CH_HAISHI = FALSE")), 2);
        QCOMPARE(count(db, QStringLiteral(" WHERE CH_HAISHI = TRUE")), 1);
    }

    void addUpdateAndDeleteWriteByKey()
    {
        Database& db = *m_t.db;
        addLine(db, QStringLiteral("251"), QStringLiteral("カラー"), 1, false);
        addLine(db, QStringLiteral("252"), QStringLiteral("カラー"), 1, false);

        // A new row gets the auto-number and can be changed and deleted through the same set.
        Recordset rs(db, QStringLiteral("SELECT * FROM BUHINHYO_M WHERE CH_ZNO = '999'"));
        rs.AddNew();
        rs.SetField(QStringLiteral("CH_ZNO"), QStringLiteral("253"));
        rs.SetField(QStringLiteral("CH_HINMEI"),
                    QStringLiteral("it's a ピン")); // values are bound, not pasted
        rs.Update();
        QCOMPARE(rs.RecordCount(), 1);
        const QString number = rs.Field(QStringLiteral("INT_NUMBER"));
        QVERIFY(number.toInt() > 0);
        rs.SetField(QStringLiteral("CH_BIKO"), QStringLiteral("焼入れ"));
        rs.Update();
        {
            Recordset check(db, QStringLiteral("SELECT * FROM BUHINHYO_M WHERE INT_NUMBER = ") + number);
            QCOMPARE(check.Field(QStringLiteral("CH_HINMEI")), QStringLiteral("it's a ピン"));
            QCOMPARE(check.Field(QStringLiteral("CH_BIKO")), QStringLiteral("焼入れ"));
        }
        rs.Delete();
        QCOMPARE(rs.RecordCount(), 0);
        QCOMPARE(count(db), 2);

        // Updating one row of a set changes that row only.
        Recordset two(db, QStringLiteral("SELECT * FROM BUHINHYO_M ORDER BY CH_ZNO"));
        two.MoveNext();
        two.SetField(QStringLiteral("CH_HINMEI"), QStringLiteral("ブッシュ"));
        two.Update();
        QCOMPARE(count(db, QStringLiteral(" WHERE CH_HINMEI = 'ブッシュ' AND CH_ZNO = '252'")), 1);
        QCOMPARE(count(db, QStringLiteral(" WHERE CH_HINMEI = 'カラー' AND CH_ZNO = '251'")), 1);

        // A row that went away under the set is reported, not silently skipped.
        db.Execute(QStringLiteral("DELETE * FROM BUHINHYO_M WHERE CH_ZNO = '252'"));
        two.SetField(QStringLiteral("CH_HINMEI"), QStringLiteral("カラー"));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, two.Update());

        // A set over a computed column list cannot be written back.
        Recordset sum(
            db, QStringLiteral("SELECT CH_HINMEI, SUM(INT_SURYO) AS S FROM BUHINHYO_M GROUP BY CH_HINMEI"));
        QCOMPARE(sum.Field(QStringLiteral("S")).toDouble(), 1.0);
        sum.SetField(QStringLiteral("CH_HINMEI"), QStringLiteral("x"));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, sum.Update());
    }

    void textIsConvertedForNumberAndYesNoColumns()
    {
        Database& db = *m_t.db;
        Recordset rs(db, QStringLiteral("SELECT * FROM BUHINHYO_M WHERE INT_NUMBER = 0"));
        rs.AddNew();
        rs.SetField(QStringLiteral("INT_SURYO"), QStringLiteral(" 2.5 "));
        rs.SetField(QStringLiteral("INT_TANKA"), QStringLiteral(""));
        rs.SetField(QStringLiteral("CH_HAISHI"), QStringLiteral("-1"));
        rs.SetField(QStringLiteral("CH_KAKKO"), QStringLiteral("False"));
        rs.Update();
        Recordset back(db, QStringLiteral("SELECT * FROM BUHINHYO_M"));
        QCOMPARE(back.Field(QStringLiteral("INT_SURYO")), QStringLiteral("2.5"));
        QVERIFY(back.IsNull(QStringLiteral("INT_TANKA")));
        QVERIFY(back.Bool(QStringLiteral("CH_HAISHI")));
        QVERIFY(!back.Bool(QStringLiteral("CH_KAKKO")));

        for (const QString& t : {QStringLiteral("1"), QStringLiteral("True"), QStringLiteral("true")}) {
            back.SetField(QStringLiteral("CH_KAKKO"), t);
            back.Update();
            QCOMPARE(
                Recordset(db, QStringLiteral("SELECT * FROM BUHINHYO_M")).Field(QStringLiteral("CH_KAKKO")),
                QStringLiteral("True"));
        }
        for (const QString& t : {QString(), QStringLiteral("0"), QStringLiteral("False")}) {
            back.SetField(QStringLiteral("CH_KAKKO"), t);
            back.Update();
            QCOMPARE(
                Recordset(db, QStringLiteral("SELECT * FROM BUHINHYO_M")).Field(QStringLiteral("CH_KAKKO")),
                QStringLiteral("False"));
        }
        try {
            back.SetField(QStringLiteral("INT_SURYO"), QStringLiteral("二個"));
            QFAIL("a quantity that is not a number must be refused");
        } catch (const RuntimeError& e) {
            QCOMPARE(e.number(), 13);
        }
    }

    void failingStatementsRaiseTheDatabaseError()
    {
        Database& db = *m_t.db;
        const QString bad = QStringLiteral("SELECT * FROM BUHINHYO WHERE CH_DWGNO = 'A'B'");
        try {
            Recordset rs(db, bad);
            QFAIL("a broken statement must fail");
        } catch (const RuntimeError& e) {
            QVERIFY(e.number() != 0);
            QVERIFY2(e.description().contains(bad), qPrintable(e.description()));
            QVERIFY(e.description().size() > bad.size() + 4);
        }
        std::unique_ptr<Recordset> rs;
        OpenRecordset(db, rs, QStringLiteral("SELECT * FROM BUHINHYO"));
        QVERIFY(rs);
        QVERIFY_THROWS_EXCEPTION(RuntimeError,
                                 OpenRecordset(db, rs, QStringLiteral("SELECT * FROM NO_SUCH_TABLE")));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, db.Execute(QStringLiteral("DELETE FROM NO_SUCH_TABLE")));

        // A delete opened as a record set runs (Jet form included) and leaves an empty set.
        addLine(db, QStringLiteral("251"), QStringLiteral("カラー"), 1, false);
        OpenRecordset(db, rs, QStringLiteral("DELETE * FROM BUHINHYO_M WHERE CH_DWGNO = 'K-1'"));
        QCOMPARE(rs->RecordCount(), 0);
        QVERIFY(rs->Eof());
        rs->Close();
        QCOMPARE(count(db), 0);
    }

    void settingsTableHasItsColumnsInOrder()
    {
        // Written from the item lists the output settings screen works with.
        QStringList expected{QStringLiteral("CH_USER"),       QStringLiteral("CH_BUHIN"),
                             QStringLiteral("CH_ORGPATH"),    QStringLiteral("CH_ORGSHEET"),
                             QStringLiteral("CH_CPYPATH"),    QStringLiteral("CH_CPYSHEET"),
                             QStringLiteral("INT_PAGEMAX"),   QStringLiteral("CH_HMIDASHI_R"),
                             QStringLiteral("CH_HMIDASHI_C"), QStringLiteral("CH_HMIDASHI")};
        for (const char* item : {"DWGNO", "NAME", "ASSY", "DATE", "DESINED", "SHEET"}) {
            const QString i = QLatin1StringView(item);
            expected << QStringLiteral("CH_H") + i + QStringLiteral("_R")
                     << QStringLiteral("CH_H") + i + QStringLiteral("_C") << QStringLiteral("YN_H") + i;
        }
        for (const char* item : {"ZUBAN", "HINMEI", "ZAISHITU", "BIKO", "SURYO", "TANKA", "KING", "MAKER"}) {
            const QString i = QLatin1StringView(item);
            expected << QStringLiteral("CH_M") + i + QStringLiteral("_SR")
                     << QStringLiteral("CH_M") + i + QStringLiteral("_SC")
                     << QStringLiteral("CH_M") + i + QStringLiteral("_ER")
                     << QStringLiteral("CH_M") + i + QStringLiteral("_EC") << QStringLiteral("YN_M") + i
                     << QStringLiteral("CH_MM") + i;
        }
        QCOMPARE(expected.size(), 76);
        Database& db = *m_t.db;
        Recordset rs(db,
                     QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER  = 'ABC精機' AND CH_BUHIN = '1'"));
        QStringList names = rs.FieldNames();
        for (QString& n : names)
            n = n.toUpper();
        QCOMPARE(names, expected);

        // A new row as the settings screen writes it: keys, then every other column; unticked
        // items are no, empty fields empty text; the row is then found by its two keys.
        rs.AddNew();
        rs.SetField(QStringLiteral("CH_USER"), QStringLiteral("ABC精機"));
        rs.SetField(QStringLiteral("CH_BUHIN"), QStringLiteral("1"));
        for (const QString& c : expected.mid(2)) {
            if (c.startsWith(u"YN_"))
                rs.SetField(c, c == u"YN_HDWGNO" ? QStringLiteral("1") : QStringLiteral("0"));
            else if (c == u"INT_PAGEMAX")
                rs.SetField(c, QStringLiteral("20"));
            else
                rs.SetField(c, QString());
        }
        rs.Update();
        rs.Close();
        Recordset back(db,
                       QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER  = 'ABC精機' AND CH_BUHIN = '1'"));
        QCOMPARE(back.RecordCount(), 1);
        QCOMPARE(back.Field(QStringLiteral("INT_PAGEMAX")), QStringLiteral("20"));
        QVERIFY(back.Bool(QStringLiteral("YN_HDWGNO")));
        QVERIFY(!back.Bool(QStringLiteral("YN_MMAKER")));
        QCOMPARE(back.Field(QStringLiteral("CH_MMAKER_SC")), QString());
        QCOMPARE(Recordset(
                     db, QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER  = 'ABC精機' AND CH_BUHIN = '2'"))
                     .RecordCount(),
                 0);
    }

    void jetFormsAreTranslated()
    {
        QCOMPARE(TranslateJetSql(QStringLiteral("DELETE * FROM BUHINHYO WHERE CH_DWGNO = 'A'")),
                 QStringLiteral("DELETE FROM BUHINHYO WHERE CH_DWGNO = 'A'"));
        QCOMPARE(TranslateJetSql(QStringLiteral("delete  *  from BUHINHYO_M")),
                 QStringLiteral("delete from BUHINHYO_M"));
        QCOMPARE(TranslateJetSql(QStringLiteral("DELETE FROM BUHINHYO_M WHERE CH_BIKO = '* FROM'")),
                 QStringLiteral("DELETE FROM BUHINHYO_M WHERE CH_BIKO = '* FROM'"));
        QCOMPARE(TranslateJetSql(QStringLiteral("SELECT * FROM BUHINHYO")),
                 QStringLiteral("SELECT * FROM BUHINHYO"));
    }

    void transactionsAndReplacedConnections()
    {
        std::shared_ptr<Database> db = m_t.db;
        db->BeginTrans();
        addLine(*db, QStringLiteral("251"), QStringLiteral("キー"), 1, false);
        db->RollbackTrans();
        QCOMPARE(count(*db), 0);
        db->BeginTrans();
        addLine(*db, QStringLiteral("251"), QStringLiteral("キー"), 1, false);
        db->CommitTrans();
        QCOMPARE(count(*db), 1);

        // A set keeps its connection alive after the shared connection was replaced.
        auto rs = std::make_unique<Recordset>(*db, QStringLiteral("SELECT * FROM BUHINHYO_M"));
        std::weak_ptr<Database> weak = db;
        db.reset();
        m_t.db.reset();
        QVERIFY(!weak.expired());
        rs->SetField(QStringLiteral("CH_HINMEI"), QStringLiteral("平行キー"));
        rs->Update();
        rs->Close();
        QVERIFY(weak.expired());
    }
};

QTEST_GUILESS_MAIN(TestRecordset)
#include "TestRecordset.moc"
