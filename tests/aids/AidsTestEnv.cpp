#include "AidsTestEnv.h"

#include "Connect.h"
#include "Database.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

namespace
{

class TestClock : public Clock
{
public:
    QDateTime now() const override { return QDateTime(QDate(2026, 11, 21), QTime(9, 0)); }
};

TestClock& testClock()
{
    static TestClock clock;
    return clock;
}

QString q(const QString& v)
{
    return u'\'' + v + u'\'';
}

QString numberOrNull(const QString& v)
{
    return v.isEmpty() ? QStringLiteral("NULL") : v;
}

} // namespace

bool MakeDatabaseFile(const QString& path, QString* error)
{
    QFile schemaFile(sourceDir() + QStringLiteral("/data/schema.sql"));
    if (!schemaFile.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("data/schema.sql not found");
        return false;
    }
    QString schema = QString::fromUtf8(schemaFile.readAll());
    schema.remove(QRegularExpression(QStringLiteral("--[^\n]*")));
    bool ok = true;
    {
        QSqlDatabase sql = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("aids-make"));
        sql.setDatabaseName(path);
        ok = sql.open();
        for (const QString& statement : schema.split(u';')) {
            if (!ok || statement.trimmed().isEmpty())
                continue;
            QSqlQuery query(sql);
            if (!query.exec(statement.trimmed())) {
                ok = false;
                if (error)
                    *error = query.lastError().text();
            }
        }
        sql.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("aids-make"));
    return ok;
}

QString AidsTestEnv::iniText()
{
    return QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"
                          "[MSGCD]\r\nE103=入力されていません。\r\nI100=更新しました。\r\n"
                          "Q001=NAMEが変更されています。変更しますか？\r\n"
                          "[USER]\r\nMAX=2\r\n1=東西重工\r\n2=南北機械\r\n"
                          "[MAKER]\r\nMAX=2\r\n1=ミスミ\r\n2=オリエンタル\r\n"
                          "[STANI]\r\nMAX=3\r\n1=個\r\n2=本\r\n3=ｍ\r\n"
                          "[DESINED]\r\nMAX=1\r\n1=山田\r\n"
                          "[KVRCAD0002COMBOMAX]\r\nMAX=8\r\n"
                          "[KVRCAD0002COMBO1]\r\nMAX=3\r\nINDEX=0\r\n1=ボルト\r\n2=ナット\r\n3=ワッシャ\r\n"
                          "[KVRCAD0002COMBO2]\r\nMAX=1\r\nINDEX=1\r\n1=ベアリング\r\n"
                          "[KVRCAD0002COMBO3]\r\nMAX=0\r\nINDEX=9\r\n"
                          "[KVRCAD0002COMBO4]\r\nMAX=1\r\nINDEX=3\r\n1=ピン\r\n"
                          "[KVRCAD0002COMBO5]\r\nMAX=2\r\nINDEX=5\r\n1=SS400\r\n2=S45C\r\n"
                          "[KVRCAD0002COMBO6]\r\nMAX=1\r\nINDEX=4\r\n1=SUS304\r\n"
                          "[KVRCAD0002COMBO7]\r\nMAX=0\r\nINDEX=6\r\n"
                          "[KVRCAD0002COMBO8]\r\nMAX=0\r\nINDEX=7\r\n");
}

AidsTestEnv::AidsTestEnv()
{
    ctx.messages = &messages;
    ctx.clock = &testClock();
    ctx.setPaths(m_dir.path());
    writeIni(iniText());
    QDir(m_dir.path()).mkpath(QStringLiteral("DB"));
    QString error;
    if (!MakeDatabaseFile(m_dir.filePath(QStringLiteral("DB/CADDB.sqlite")), &error)) {
        qWarning() << "database not made:" << error;
        return;
    }
    const ConnectResult r = ConnectDatabase(ctx);
    m_ok = !r.endProgram && ctx.DbConnection != nullptr;
}

// The settings are written as UTF-8 with a byte-order mark, which the settings reader takes as it
// takes Shift-JIS; the aids only read and append through it, so the encoding is not what they test.
void AidsTestEnv::writeIni(const QString& text)
{
    QFile f(ctx.IniPath);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write("\xEF\xBB\xBF" + text.toUtf8());
    f.close();
    ctx.makeIni();
}

AidsTestEnv::~AidsTestEnv()
{
    ctx.DbConnection.reset();
}

Database& AidsTestEnv::db()
{
    return *ctx.DbConnection;
}

void AidsTestEnv::addHeader(const QString& dwgNo, const QString& assy, const QString& kind,
                            const QString& user, const QString& name, const QString& designer,
                            const QString& date)
{
    db().Execute(QStringLiteral("INSERT INTO BUHINHYO (CH_DWGNO,CH_ASSY,CH_BUHIN,CH_USER,CH_NAME,CH_HDATE,"
                                "CH_DESINED) VALUES (") +
                 q(dwgNo) + u',' + q(assy) + u',' + q(kind) + u',' + q(user) + u',' + q(name) + u',' +
                 q(date) + u',' + q(designer) + u')');
}

void AidsTestEnv::addLine(const QString& dwgNo, const QString& assy, const QString& kind, const QString& user,
                          const QString& zno, const QString& hinmei, const QString& zaishitu,
                          const QString& suryo, const QString& maker)
{
    db().Execute(
        QStringLiteral("INSERT INTO BUHINHYO_M (CH_DWGNO,CH_ASSY,CH_BUHIN,CH_USER,CH_ZNO,CH_HINMEI,"
                       "CH_ZAISHITU,INT_SURYO,CH_TANI,CH_MAKER,CH_HAISHI,CH_KAKKO,CH_UPDDATE) VALUES (") +
        q(dwgNo) + u',' + q(assy) + u',' + q(kind) + u',' + q(user) + u',' + q(zno) + u',' + q(hinmei) +
        u',' + q(zaishitu) + u',' + numberOrNull(suryo) + QStringLiteral(",'個',") + q(maker) +
        QStringLiteral(",0,0,'20260115')"));
}

int AidsTestEnv::count(const QString& sql)
{
    QSqlQuery query(db().sql());
    if (!query.exec(sql) || !query.next())
        return -1;
    return query.value(0).toInt();
}
