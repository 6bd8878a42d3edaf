#include "TestSupport.h"

#include "Connect.h"
#include "IniFile.h"
#include "RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <QtTest>

using namespace Qt::StringLiterals;

void writeCp932File(const QString& path, const QString& text)
{
    auto bytes = IniFile::encodeCp932(text);
    QVERIFY2(bytes.has_value(), "test text not encodable in CP932");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(*bytes);
}

QByteArray readFileBytes(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QString sourceDir()
{
    const QString env = qEnvironmentVariable("BUHINHYO_SOURCE_DIR");
    return env.isEmpty() ? u"."_s : env;
}

QString shippedIniPath()
{
    return sourceDir() + u"/data/PARA.ini"_s;
}

std::optional<RuntimeError> thrown(const std::function<void()>& f)
{
    try {
        f();
    } catch (const RuntimeError& e) {
        return e;
    }
    return std::nullopt;
}

int errorNumber(const std::function<void()>& f)
{
    const auto e = thrown(f);
    return e ? e->number() : 0;
}

QString makeSqliteDatabase(const QString& folder, const QString& name, const QString& schema)
{
    const QString path = folder + u'/' + name;
    QProcess sqlite;
    sqlite.setStandardInputFile(schema.isEmpty() ? sourceDir() + u"/data/schema.sql"_s : schema);
    sqlite.start(u"sqlite3"_s, {path});
    if (!sqlite.waitForFinished(60000) || sqlite.exitCode() != 0)
        qFatal("cannot make the test database: %s", sqlite.readAllStandardError().constData());
    return path;
}

const QString AppFolder::kIni =
    u"[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"
    "[MSGCD]\r\nE102=数値を入力して下さい。\r\nE103=必須項目が入力されていません。\r\n"
    "E108=シートを選択して下さい。\r\nE109=EXCELファイルを開けませんでした。\r\n"
    "E111=EXCELファイルをコピーできませんでした。\r\nE114=EXCELファイルが見つかりません。\r\n"
    "E115=雛形ファイルを設定して下さい。\r\nE117=客先を入力して下さい。\r\n"
    "E118=１頁行数を入力して下さい。\r\nE120=列の指定が正しくありません。\r\n"
    "E150=出力設定がされていません。\r\nI100=登録しました。\r\n"
    "Q001=NAMEが変更されています。変更しますか？\r\n"
    "Q105=既に登録されています。上書きしますか？\r\n"
    "[USER]\r\nMAX=2\r\n1=客先A\r\n2=客先B\r\n"
    "[MAKER]\r\nMAX=2\r\n1=ミスミ\r\n2=オリエンタル\r\n"
    "[STANI]\r\nMAX=3\r\n1=個\r\n2=本\r\n3=ｍ\r\n"
    "[DESINED]\r\nMAX=2\r\n1=山田\r\n2=佐藤\r\n"
    "[KVRCAD0002COMBOMAX]\r\nMAX=8\r\n"
    "[KVRCAD0002COMBO1]\r\nMAX=3\r\nINDEX=0\r\n1=ボルト\r\n2=ナット\r\n3=ワッシャ\r\n"
    "[KVRCAD0002COMBO2]\r\nMAX=1\r\nINDEX=1\r\n1=ベアリング\r\n"
    "[KVRCAD0002COMBO3]\r\nMAX=0\r\nINDEX=9\r\n"
    "[KVRCAD0002COMBO4]\r\nMAX=1\r\nINDEX=3\r\n1=ピン\r\n"
    "[KVRCAD0002COMBO5]\r\nMAX=2\r\nINDEX=5\r\n1=SS400\r\n2=S45C\r\n"
    "[KVRCAD0002COMBO6]\r\nMAX=1\r\nINDEX=4\r\n1=SUS304\r\n"
    "[KVRCAD0002COMBO7]\r\nMAX=0\r\nINDEX=6\r\n"
    "[KVRCAD0002COMBO8]\r\nMAX=0\r\nINDEX=7\r\n"_s;

bool teamMode()
{
    return qEnvironmentVariable("BUHINHYO_TEST_TEAM") == u"1";
}

std::shared_ptr<Database> openOtherDesk()
{
    return OpenConnectionText(OdbcConnectionText(u"MSDASQL"_s, qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"),
                                                 qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"),
                                                 qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD")));
}

// The database sections of a desk's PARA.ini in team mode, on the fixture's data source.
static QString teamIni()
{
    return u"[DBMS]\r\nDB=ODBC\r\n[ODBC]\r\nPRV=MSDASQL\r\nDSN=%1\r\nUID=%2\r\nPWD=%3\r\nSHARED=1\r\n"_s.arg(
        qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"), qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"),
        qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD"));
}

AppFolder::AppFolder(const QString& iniText, Server server)
{
    ctx.setPaths(dir.path());
    ctx.messages = &messages;
    ctx.fileDialogs = &dialogs;
    ctx.clock = &clock;
    writeIni(iniText);
    QDir(dir.path()).mkpath(u"WORK"_s);
    QDir(dir.path()).mkpath(u"DB"_s);
    makeSqliteDatabase(path(u"DB"_s));
    m_peekName = QUuid::createUuid().toString();
    if (teamMode()) {
        // The tests' own view of the team's server, whose tables start empty.
        m_peek = QSqlDatabase::addDatabase(u"QODBC"_s, m_peekName);
        m_peek.setDatabaseName(qEnvironmentVariable("BUHINHYO_TEST_ODBC_DSN"));
        m_peek.setUserName(qEnvironmentVariable("BUHINHYO_TEST_ODBC_UID"));
        m_peek.setPassword(qEnvironmentVariable("BUHINHYO_TEST_ODBC_PWD"));
    } else {
        m_peek = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_peekName);
        m_peek.setDatabaseName(path(u"DB/CADDB.sqlite"_s));
        m_peek.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=5000"_s);
    }
    if (!m_peek.open())
        qFatal("cannot open the test database: %s", qPrintable(m_peek.lastError().text()));
    if (teamMode() && server == Server::Emptied)
        for (const char* table : {"BUHINHYO_M", "BUHINHYO", "SETTEI"})
            exec(u"DELETE FROM "_s + QLatin1StringView(table));
}

AppFolder::~AppFolder()
{
    ctx.DbConnection.reset();
    m_peek.close();
    m_peek = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_peekName);
}

bool AppFolder::connect()
{
    return !ConnectDatabase(ctx).endProgram && ctx.DbConnection;
}

void AppFolder::writeIni(const QString& text)
{
    // In team mode the same folder works on the server: its database settings say so.
    writeCp932File(ctx.IniPath,
                   teamMode() ? QString(text).replace(u"[DBMS]\r\nDB=LOCAL\r\n"_s, teamIni()) : text);
    ctx.makeIni();
}

QString AppFolder::iniText() const
{
    return IniFile::decodeCp932(readFileBytes(ctx.IniPath));
}

void AppFolder::exec(const QString& sql)
{
    QSqlQuery q(m_peek);
    if (!q.exec(sql))
        qFatal("%s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
}

QList<QStringList> AppFolder::rows(const QString& sql)
{
    QList<QStringList> out;
    QSqlQuery q(m_peek);
    if (!q.exec(sql))
        qFatal("%s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
    while (q.next()) {
        QStringList r;
        for (int i = 0; i < q.record().count(); ++i)
            r << (q.isNull(i) ? QString() : q.value(i).toString());
        out << r;
    }
    return out;
}

QStringList AppFolder::lines(const QString& sql)
{
    QStringList out;
    for (const QStringList& r : rows(sql))
        out << r.join(u'|');
    return out;
}

void AppFolder::storeTable(const QString& dwgNo, const QString& assy, const QString& kind,
                           const QString& name, const QString& user, const QList<QStringList>& lines,
                           const QString& designer)
{
    exec(
        u"INSERT INTO BUHINHYO (CH_DWGNO, CH_ASSY, CH_BUHIN, CH_USER, CH_NAME, CH_HDATE, CH_DESINED) "
        "VALUES ('%1','%2','%3','%4','%5','2026/01/15','%6')"_s.arg(dwgNo, assy, kind, user, name, designer));
    for (const QStringList& l : lines) {
        const QString suryo = l.value(4, u"1"_s);
        exec(u"INSERT INTO BUHINHYO_M (CH_ASSY, CH_DWGNO, CH_USER, CH_BUHIN, CH_ZNO, CH_HINMEI, CH_HAISHI, "
             "CH_KAKKO, INT_SURYO, CH_ZAISHITU, CH_MAKER, CH_TANI, CH_UPDDATE) "
             "VALUES ('%1','%2','%3','%4','%5','%6','%7','%8',%9,'%10','%11','個','20260115')"_s
                 .arg(assy, dwgNo, user, kind, l.value(0), l.value(1), l.value(2, u"0"_s), l.value(3, u"0"_s))
                 .arg(suryo.isEmpty() ? u"NULL"_s : suryo, l.value(5), l.value(6)));
    }
}

QStringList AppFolder::shownBoxes() const
{
    QStringList out;
    for (const auto& s : messages.shown)
        out << s.title + u'|' + s.text;
    return out;
}

QStringList AppFolder::codes() const
{
    QStringList out;
    for (const auto& shown : messages.shown) {
        QString code = shown.text.left(4);
        for (const QString& line : kIni.split(u"\r\n"_s)) {
            const QString text = line.mid(5);
            if (line.size() > 5 && line.at(4) == u'=' && shown.text.startsWith(text))
                code = line.left(4);
        }
        out << code;
    }
    return out;
}
