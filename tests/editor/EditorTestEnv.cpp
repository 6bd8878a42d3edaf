#include "EditorTestEnv.h"

#include "Connect.h"
#include "IniFile.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <QtTest>

namespace
{
QString settingsText()
{
    QString t;
    t += u"[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"_qs;
    t += QStringLiteral("[MSGCD]\r\nE102=数値を入力して下さい。\r\nE103=必須項目が入力されていません。\r\n"
                        "I100=登録しました。\r\nQ001=NAMEが変更されています。変更しますか？\r\n");
    t += u"[USER]\r\nMAX=2\r\n1=客先Ａ\r\n2=客先Ｂ\r\n"_qs;
    t += u"[MAKER]\r\nMAX=2\r\n1=ミスミ\r\n2=オリエンタル\r\n"_qs;
    t += u"[STANI]\r\nMAX=3\r\n1=個\r\n2=本\r\n3=m\r\n"_qs;
    t += u"[DESINED]\r\nMAX=2\r\n1=山田\r\n2=佐藤\r\n"_qs;
    t += u"[KVRCAD0002COMBOMAX]\r\nMAX=8\r\n"_qs;
    const QStringList lists{u"六角ボルト"_qs, u"平座金"_qs, u"軸受"_qs,   u"プレート"_qs,
                            u"SS400"_qs,      u"S45C"_qs,   u"SUS304"_qs, u"A5052"_qs};
    for (int n = 1; n <= 8; ++n)
        t += u"[KVRCAD0002COMBO%1]\r\nMAX=1\r\nINDEX=%2\r\n1=%3\r\n"_qs.arg(n).arg(n - 1).arg(lists[n - 1]);
    return t;
}
} // namespace

EditorTestEnv::EditorTestEnv()
{
    ctx.setPaths(dir.path());
    ctx.messages = &messages;
    ctx.clock = &clock;
    writeIni(settingsText());
    QDir(dir.path()).mkpath(u"DB"_qs);
    QProcess sqlite;
    sqlite.setStandardInputFile(sourceDir() + u"/data/schema.sql"_qs);
    sqlite.start(u"sqlite3"_qs, {dbPath()});
    if (!sqlite.waitForFinished(30000) || sqlite.exitCode() != 0)
        qFatal("cannot make the test database: %s", sqlite.readAllStandardError().constData());
    m_peekName = QUuid::createUuid().toString();
    m_peek = QSqlDatabase::addDatabase(u"QSQLITE"_qs, m_peekName);
    m_peek.setDatabaseName(dbPath());
    m_peek.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=5000"_qs);
    if (!m_peek.open())
        qFatal("cannot open the test database");
}

EditorTestEnv::~EditorTestEnv()
{
    ctx.DbConnection.reset();
    m_peek.close();
    m_peek = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_peekName);
}

QString EditorTestEnv::dbPath() const
{
    return dir.filePath(u"DB/CADDB.sqlite"_qs);
}

void EditorTestEnv::connect()
{
    ConnectDatabase(ctx);
}

QSqlDatabase& EditorTestEnv::peek()
{
    return m_peek;
}

void EditorTestEnv::exec(const QString& sql)
{
    QSqlQuery q(m_peek);
    if (!q.exec(sql))
        qFatal("%s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
}

QList<QStringList> EditorTestEnv::rows(const QString& sql)
{
    QList<QStringList> out;
    QSqlQuery q(m_peek);
    if (!q.exec(sql))
        qFatal("%s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
    while (q.next()) {
        QStringList r;
        for (int i = 0; i < q.record().count(); ++i)
            r << q.value(i).toString();
        out << r;
    }
    return out;
}

void EditorTestEnv::storeTable(const QString& dwgNo, const QString& assy, const QString& kind,
                               const QString& name, const QString& user, const QList<QStringList>& lines)
{
    exec(QStringLiteral(
             "INSERT INTO BUHINHYO (CH_DWGNO, CH_ASSY, CH_BUHIN, CH_USER, CH_NAME, CH_HDATE, CH_DESINED) "
             "VALUES ('%1','%2','%3','%4','%5','2023/12/24','山田')")
             .arg(dwgNo, assy, kind, user, name));
    for (const QStringList& l : lines)
        exec(
            QStringLiteral("INSERT INTO BUHINHYO_M (CH_ASSY, CH_DWGNO, CH_USER, CH_BUHIN, CH_ZNO, CH_HINMEI, "
                           "CH_HAISHI, CH_KAKKO, INT_SURYO, CH_TANI, CH_UPDDATE) "
                           "VALUES ('%1','%2','%3','%4','%5','%6',%7,%8,1,'個','20231224')")
                .arg(assy, dwgNo, user, kind, l.value(0), l.value(1), l.value(2, u"0"_qs),
                     l.value(3, u"0"_qs)));
}

void EditorTestEnv::writeIni(const QString& text)
{
    writeCp932File(ctx.IniPath, text);
    ctx.makeIni();
}

int EditorTestEnv::count(const QString& sql)
{
    return rows(sql).value(0).value(0).toInt();
}

QString EditorTestEnv::iniText() const
{
    return IniFile::decodeCp932(readFileBytes(ctx.IniPath));
}

QStringList EditorTestEnv::shownBoxes() const
{
    QStringList out;
    for (const auto& s : messages.shown)
        out << s.title + u'|' + s.text;
    return out;
}
