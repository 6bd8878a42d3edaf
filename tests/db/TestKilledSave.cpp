#include "Database.h"
#include "DbTestSupport.h"
#include "PartsRecords.h"

#include <QProcess>
#include <QSqlQuery>
#include <QtTest>

using namespace Qt::StringLiterals;

// A save killed part-way (power switch, task manager) leaves a database that opens, is intact and
// holds every line saved before the kill.
class TestKilledSave : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void killedInTheMiddleOfSaving_data()
    {
        QTest::addColumn<int>("killAfter");
        QTest::newRow("early") << 50;
        QTest::newRow("middle") << 400;
        QTest::newRow("late") << 800;
    }
    void killedInTheMiddleOfSaving()
    {
        QFETCH(int, killAfter);
        QTemporaryDir dir;
        const QString path = makeSqliteDatabase(dir.path());

        QProcess helper;
        helper.setProgram(QCoreApplication::applicationDirPath() + u"/db_save_helper"_s);
        helper.setArguments({path, u"1000"_s, u"300"_s});
        helper.start();
        QVERIFY(helper.waitForStarted(10000));
        int saved = -1;
        QByteArray pending;
        QElapsedTimer timer;
        timer.start();
        while (saved < killAfter && timer.elapsed() < 60000) {
            if (!helper.waitForReadyRead(10000))
                break;
            pending += helper.readAllStandardOutput();
            const QList<QByteArray> lines = pending.split('\n');
            pending = lines.last();
            for (const QByteArray& l : lines.mid(0, lines.size() - 1)) {
                if (l.startsWith("saved "))
                    saved = l.mid(6).toInt();
                else if (l == "header")
                    saved = 0;
            }
        }
        QVERIFY2(saved >= killAfter, helper.readAllStandardError().constData());
        helper.kill(); // SIGKILL
        QVERIFY(helper.waitForFinished(10000));
        QCOMPARE(helper.exitStatus(), QProcess::CrashExit);

        std::shared_ptr<Database> db = Database::openSqliteFile(path);
        QSqlQuery q(db->sql());
        QVERIFY(q.exec(u"PRAGMA integrity_check"_s) && q.next());
        QCOMPARE(q.value(0).toString(), u"ok"_s);

        QVERIFY(ReadHeader(*db, u"250-01"_s, u"K-2401"_s, u"2"_s));
        Recordset rs(*db, u"SELECT * FROM BUHINHYO_M ORDER BY INT_NUMBER"_s);
        QVERIFY2(rs.RecordCount() >= saved, qPrintable(u"%1 < %2"_s.arg(rs.RecordCount()).arg(saved)));
        QVERIFY(rs.RecordCount() < 1000);
        for (int i = 1; i <= rs.RecordCount(); ++i, rs.MoveNext()) {
            QCOMPARE(rs.Field(u"CH_HINMEI"_s), u"六角ボルト M%1"_s.arg(i));
            QCOMPARE(rs.Field(u"INT_KINGK"_s), QString::number((i % 12 + 1) * 35));
        }
    }
};

QTEST_GUILESS_MAIN(TestKilledSave)
#include "TestKilledSave.moc"
