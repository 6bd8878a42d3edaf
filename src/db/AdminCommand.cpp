// buhinhyo-admin: the team use's administration beside the program: moving a desk's local parts
// tables and output settings onto the server, and who has which table open.
#include "AppContext.h"
#include "BatchOutput.h"
#include "Connect.h"
#include "Cursor.h"
#include "Database.h"
#include "RuntimeError.h"
#include "TeamMode.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>

#include <cstdio>

namespace
{

enum ExitCode {
    ExitDone = 0,
    ExitUsage = 1,
    ExitSetup = 2,   // PARA.ini missing, a database not reachable
    ExitRefused = 3, // the server holds some of the same tables or layouts already
    ExitFailed = 4,  // an error while copying: nothing was written
};

const char* const kHelp =
    "使い方: buhinhyo-admin <コマンド>\n"
    "\n"
    "チーム使用 (PostgreSQL サーバーで部品表を共有する使い方) の管理をします。\n"
    "プログラムと同じフォルダの PARA.ini を読みます。\n"
    "\n"
    "コマンド:\n"
    "  copy-to-server  [LOCAL] MDB のデータベース ファイルの部品表 (BUHINHYO, BUHINHYO_M) と\n"
    "                  出力設定 (SETTEI) の全行を [ODBC] のデータソースへ一つのトランザクションで\n"
    "                  コピーし、件数を表示します。同じ部品表か客先の出力設定が既にサーバーに\n"
    "                  あるときは何も書かずに終わります。出力設定が指す雛形・取込ファイルが\n"
    "                  この端末にないときは、その名前を表示します。\n"
    "  who             編集中の部品表と出力設定を、端末・ユーザー・開始時刻とともに表示します。\n"
    "  --help          この説明を表示します。\n"
    "\n"
    "終了コード:\n"
    "  0  完了\n"
    "  1  引数の誤り\n"
    "  2  PARA.ini がない、またはデータベースに接続できない\n"
    "  3  サーバーに同じ部品表または出力設定がある (何も書いていない)\n"
    "  4  コピー中のエラー (何も書いていない)\n";

void out(const QString& text)
{
    WriteLine(stdout, text);
}

void err(const QString& text)
{
    WriteLine(stderr, QStringLiteral("buhinhyo-admin: ") + text);
}

QString filePathOf(QString settingsPath)
{
    return settingsPath.replace(u'\\', u'/');
}

std::shared_ptr<Database> openServer(AppContext& ctx)
{
    IniAccess& ini = *ctx.ini;
    const QString provider = ini.get(QStringLiteral("ODBC"), QStringLiteral("PRV"));
    const QString dsn = ini.get(QStringLiteral("ODBC"), QStringLiteral("DSN"));
    const QString user = ini.get(QStringLiteral("ODBC"), QStringLiteral("UID"));
    const QString password = ini.get(QStringLiteral("ODBC"), QStringLiteral("PWD"));
    std::shared_ptr<Database> db = OpenConnectionText(OdbcConnectionText(provider, dsn, user, password));
    if (db->dialect() != Database::Dialect::PostgreSql)
        throw RuntimeError(kProviderErrorNumber,
                           QStringLiteral("データソース %1 は PostgreSQL サーバーではありません。").arg(dsn));
    return db;
}

// The parts tables (headers and lines) and the customer layouts of a database, as "key" texts
// compared without regard to case as the tables compare them.
QMap<QString, QString> keysOf(Database& db)
{
    QMap<QString, QString> keys;
    for (const char* table : {"BUHINHYO", "BUHINHYO_M"}) {
        Cursor q(db, QStringLiteral("SELECT DISTINCT CH_DWGNO, CH_ASSY, CH_BUHIN FROM ") +
                         QLatin1StringView(table));
        while (q.next()) {
            const QString name =
                PartsTableLockName(q.value(0).toString(), q.value(1).toString(), q.value(2).toString());
            keys.insert(name.toLower(), name);
        }
    }
    Cursor q(db, QStringLiteral("SELECT CH_USER, CH_BUHIN FROM SETTEI"));
    while (q.next()) {
        const QString name = LayoutLockName(q.value(0).toString(), q.value(1).toString());
        keys.insert(name.toLower(), name);
    }
    return keys;
}

int copyToServer(AppContext& ctx)
{
    std::shared_ptr<Database> local;
    std::shared_ptr<Database> server;
    const QString file =
        filePathOf(ctx.AppPath + ctx.ini->get(QStringLiteral("LOCAL"), QStringLiteral("MDB")));
    try {
        local = Database::openSqliteFile(file);
        server = openServer(ctx);
    } catch (const RuntimeError& e) {
        err(QStringLiteral("接続できません: ") + e.description());
        return ExitSetup;
    }

    try {
        const QMap<QString, QString> mine = keysOf(*local);
        const QMap<QString, QString> there = keysOf(*server);
        QStringList clashes;
        for (auto it = mine.cbegin(); it != mine.cend(); ++it)
            if (there.contains(it.key()))
                clashes << it.value();
        if (!clashes.isEmpty()) {
            err(QStringLiteral(
                    "サーバーに同じ部品表または出力設定が既にあります (%1 件)。何もコピーしていません:")
                    .arg(clashes.size()));
            for (const QString& c : clashes.mid(0, 5))
                err(QStringLiteral("  ") + c);
            if (clashes.size() > 5)
                err(QStringLiteral("  ほか %1 件").arg(clashes.size() - 5));
            return ExitRefused;
        }

        QStringList counts;
        server->BeginTrans();
        try {
            for (const char* table : {"BUHINHYO", "BUHINHYO_M", "SETTEI"})
                counts << QStringLiteral("%1: %2 行")
                              .arg(QLatin1StringView(table))
                              .arg(CopyTableRows(*local, *server, QString::fromLatin1(table)));
            server->CommitTrans();
        } catch (...) {
            server->RollbackTrans();
            throw;
        }
        out(QStringLiteral("サーバーへコピーしました: ") + counts.join(QStringLiteral(", ")));
    } catch (const RuntimeError& e) {
        err(QStringLiteral("コピーできません。何も書いていません: ") + e.detailText());
        return ExitFailed;
    }

    // The layouts name their templates by path: each desk needs them at the same place.
    Cursor q(*local, QStringLiteral("SELECT CH_USER, CH_BUHIN, CH_ORGPATH, CH_CPYPATH FROM SETTEI"));
    while (q.next())
        for (int i : {2, 3}) {
            const QString path = q.value(i).toString().trimmed();
            if (!path.isEmpty() && !QFileInfo(filePathOf(path)).isFile())
                out(QStringLiteral("注意: %1 の%2ファイルがこの端末にありません: %3")
                        .arg(LayoutLockName(q.value(0).toString(), q.value(1).toString()),
                             i == 2 ? QStringLiteral("雛形") : QStringLiteral("取込"), path));
        }
    return ExitDone;
}

int who(AppContext& ctx)
{
    try {
        std::shared_ptr<Database> server = openServer(ctx);
        const QList<LockHolder> held = HeldLocks(*server);
        if (held.isEmpty()) {
            out(QStringLiteral("編集中の部品表・出力設定はありません。"));
            return ExitDone;
        }
        out(QStringLiteral("対象\t端末\tユーザー\t開始"));
        for (const LockHolder& h : held)
            out(QStringList{h.what, h.desk, h.user, h.since.toString(QStringLiteral("yyyy/MM/dd HH:mm:ss"))}
                    .join(u'\t'));
    } catch (const RuntimeError& e) {
        err(QStringLiteral("サーバーに接続できません: ") + e.description());
        return ExitSetup;
    }
    return ExitDone;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() == 1 && (args[0] == u"--help" || args[0] == u"-h")) {
        std::fputs(kHelp, stdout);
        return ExitDone;
    }
    if (args.size() != 1 || (args[0] != u"copy-to-server" && args[0] != u"who")) {
        err(QStringLiteral("コマンドは copy-to-server か who です (--help 参照)"));
        return ExitUsage;
    }
    StderrMessageService messages(QStringLiteral("buhinhyo-admin"), MsgAnswer::No);
    AppContext ctx;
    ctx.setPaths(QCoreApplication::applicationDirPath());
    ctx.messages = &messages;
    if (!QFileInfo(ctx.IniPath).isFile()) {
        err(ctx.IniPath + QStringLiteral(" がありません。"));
        return ExitSetup;
    }
    ctx.makeIni();
    return args[0] == u"who" ? who(ctx) : copyToServer(ctx);
}
