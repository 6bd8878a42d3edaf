#include "Database.h"
#include "DbTestSupport.h"
#include "PartsRecords.h"

#include <QProcess>
#include <QSqlQuery>
#include <QtTest>

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
        helper.setProgram(QCoreApplication::applicationDirPath() + QStringLiteral("/db_save_helper"));
        helper.setArguments({path, QStringLiteral("1000"), QStringLiteral("300")});
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
        QVERIFY(q.exec(QStringLiteral("PRAGMA integrity_check")) && q.next());
        QCOMPARE(q.value(0).toString(), QStringLiteral("ok"));

        QVERIFY(ReadHeader(*db, QStringLiteral("250-01"), QStringLiteral("K-2401"), QStringLiteral("2")));
        Recordset rs(*db, QStringLiteral("SELECT * FROM BUHINHYO_M ORDER BY INT_NUMBER"));
        QVERIFY2(rs.RecordCount() >= saved,
                 qPrintable(QStringLiteral("%1 < %2").arg(rs.RecordCount()).arg(saved)));
        QVERIFY(rs.RecordCount() < 1000);
        for (int i = 1; i <= rs.RecordCount(); ++i, rs.MoveNext()) {
            QCOMPARE(rs.Field(QStringLiteral("CH_HINMEI")), QStringLiteral("六角ボルト M%1").arg(i));
            QCOMPARE(rs.Field(QStringLiteral("INT_KINGK")), QString::number((i % 12 + 1) * 35));
        }
    }
};

QTEST_GUILESS_MAIN(TestKilledSave)
#include "TestKilledSave.moc"
