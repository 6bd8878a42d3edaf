#include "Connect.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "Database.h"
#include "RuntimeError.h"
#include "TeamMode.h"

namespace
{

bool isLocalProvider(const QString& provider)
{
    return provider.compare(u"Microsoft.Jet.OLEDB.4.0", Qt::CaseInsensitive) == 0;
}

bool isOdbcProvider(const QString& provider)
{
    return provider.compare(u"MSDASQL", Qt::CaseInsensitive) == 0 ||
           provider.startsWith(u"MSDASQL.", Qt::CaseInsensitive) ||
           provider.compare(u"ODBC", Qt::CaseInsensitive) == 0;
}

RuntimeError providerNotFound()
{
    return RuntimeError(
        3706, QStringLiteral("プロバイダが見つかりません。正しくインストールされていない可能性があります。"));
}

// The settings store paths the Windows way; the file system here wants "/".
QString filePathOf(const QString& settingsPath)
{
    QString path = settingsPath;
    path.replace(u'\\', u'/');
    return path;
}

} // namespace

QString LocalConnectionText(const QString& dbFilePath)
{
    return QStringLiteral("Provider=Microsoft.Jet.OLEDB.4.0;") + QStringLiteral("Data Source=") + dbFilePath +
           u';';
}

QString OracleConnectionText(const QString& dsn, const QString& user, const QString& password)
{
    return QStringLiteral("PROVIDER=MSDASQL;") + QStringLiteral("Data Source=") + dsn + u';' +
           QStringLiteral("User ID=") + user + u';' + QStringLiteral("Password=") + password + u';';
}

QString OdbcConnectionText(const QString& provider, const QString& dsn, const QString& user,
                           const QString& password)
{
    return QStringLiteral("PROVIDER=") + provider + u';' + QStringLiteral("Data Source=") + dsn + u';' +
           QStringLiteral("User ID=") + user + u';' + QStringLiteral("Password=") + password + u';';
}

ConnectionParts ParseConnectionText(const QString& text)
{
    ConnectionParts parts;
    for (const QString& item : text.split(u';', Qt::SkipEmptyParts)) {
        const qsizetype eq = item.indexOf(u'=');
        if (eq < 0)
            continue;
        const QString name = item.left(eq).trimmed();
        const QString value = item.mid(eq + 1);
        if (name.compare(u"Provider", Qt::CaseInsensitive) == 0)
            parts.provider = value.trimmed();
        else if (name.compare(u"Data Source", Qt::CaseInsensitive) == 0)
            parts.dataSource = value;
        else if (name.compare(u"User ID", Qt::CaseInsensitive) == 0)
            parts.userId = value;
        else if (name.compare(u"Password", Qt::CaseInsensitive) == 0)
            parts.password = value;
    }
    return parts;
}

QString OdbcKeywordText(const QString& connectionText)
{
    const ConnectionParts p = ParseConnectionText(connectionText);
    return QStringLiteral("DSN=") + p.dataSource + QStringLiteral(";UID=") + p.userId +
           QStringLiteral(";PWD=") + p.password + u';';
}

std::shared_ptr<Database> OpenConnectionText(const QString& connectionText)
{
    const ConnectionParts p = ParseConnectionText(connectionText);
    if (isLocalProvider(p.provider))
        return Database::openSqliteFile(filePathOf(p.dataSource));
    if (isOdbcProvider(p.provider))
        return Database::openOdbc(p.dataSource, p.userId, p.password);
    throw providerNotFound();
}

ConnectResult ConnectDatabase(AppContext& ctx, int busyTimeoutMs)
{
    IniAccess& ini = *ctx.ini;
    ConnectResult r;
    r.dbKind = ini.get(QStringLiteral("DBMS"), QStringLiteral("DB"));

    if (r.dbKind != u"ORACLE" && r.dbKind != u"ODBC") {
        r.dbKind = QStringLiteral("LOCAL");
        // AppPath goes in front even of an absolute setting: the setting is always read as
        // relative to the program folder.
        r.dbFilePath = ctx.AppPath + ini.get(QStringLiteral("LOCAL"), QStringLiteral("MDB"));
        r.connectionText = LocalConnectionText(r.dbFilePath);
        // The previous connection is let go first, as a new connection object replaces it.
        ctx.DbConnection.reset();
        try {
            ctx.DbConnection =
                Database::openSqliteFile(filePathOf(r.dbFilePath), busyTimeoutMs, ctx.DbReadOnly);
            NoticeNetworkDatabase(ctx, filePathOf(r.dbFilePath));
        } catch (const RuntimeError& e) {
            // The local database is the program's working store: without it nothing can run.
            r.endProgram = true;
            r.message = runtimeErrorText(e.number(), e.description());
            ctx.messages->show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"), r.message);
        }
        return r;
    }

    if (r.dbKind == u"ORACLE") {
        r.dbDsn = ini.get(QStringLiteral("ORACLE"), QStringLiteral("DSN"));
        r.dbUser = ini.get(QStringLiteral("ORACLE"), QStringLiteral("UID"));
        r.dbPassword = ini.get(QStringLiteral("ORACLE"), QStringLiteral("PWD"));
        r.connectionText = OracleConnectionText(r.dbDsn, r.dbUser, r.dbPassword);
    } else {
        r.dbProvider = ini.get(QStringLiteral("ODBC"), QStringLiteral("PRV"));
        r.dbDsn = ini.get(QStringLiteral("ODBC"), QStringLiteral("DSN"));
        r.dbUser = ini.get(QStringLiteral("ODBC"), QStringLiteral("UID"));
        r.dbPassword = ini.get(QStringLiteral("ODBC"), QStringLiteral("PWD"));
        r.connectionText = OdbcConnectionText(r.dbProvider, r.dbDsn, r.dbUser, r.dbPassword);
        if (SharedModeRequested(ctx)) {
            ConnectShared(ctx, r);
            return r;
        }
    }
    // The data source is opened on a connection of its own, which goes again when this returns:
    // the shared connection keeps what it held. Only the local file is the program's working
    // connection; this connect only proves the data source can be reached.
    try {
        std::shared_ptr<Database> own = OpenConnectionText(r.connectionText);
        own.reset();
    } catch (const RuntimeError& e) {
        r.endProgram = true;
        r.message = e.description();
        ctx.messages->show(MsgIcon::None, MsgButtons::Ok, QString(), r.message);
    }
    return r;
}
