#include "TeamMode.h"

#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "RuntimeError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStorageInfo>
#include <QSysInfo>

#include <sys/vfs.h>

namespace
{

// The holders recorded beside the locks, only those whose session still holds the lock: a row left
// by a desk that went away names nobody.
const QString kHeldSql =
    QStringLiteral("SELECT k.CH_WHAT, k.CH_DESK, k.CH_USER, k.INT_SINCE FROM BUHINHYO_LOCK k JOIN pg_locks l "
                   "ON l.locktype = 'advisory' AND l.granted AND l.objsubid = 1 AND l.pid = k.INT_PID "
                   "AND ((l.classid::bigint << 32) | l.objid::bigint) = k.INT_KEY");

LockHolder holderOf(const QSqlQuery& q)
{
    return {q.value(0).toString(), q.value(1).toString(), q.value(2).toString(),
            QDateTime::fromSecsSinceEpoch(q.value(3).toLongLong())};
}

// The desks' connection: the server keeps the statements psqlODBC prepares, so that a record set's
// write kept for the connection (one per table and set of columns) is parsed and planned once and
// then costs one round trip per line with only its values. The session's settings travel with the
// connection request instead of as statements of their own:
// - the server lists the desks' sessions under the program's name;
// - each line of a save is a commit of its own: as with the local file's WAL at
//   synchronous=NORMAL, a commit does not wait for the disk, so a power cut of the server may lose
//   the last moment's commits but never leaves a broken database;
// - a desk that loses its network is noticed by the server within about a minute, which ends its
//   session and frees what it held: probes after 30 s of silence, three 10 s apart, and a reply
//   the desk has not acknowledged for a minute (by default the server would try for a quarter of an
//   hour).
std::shared_ptr<Database> openTeamConnection(const QString& connectionText)
{
    const ConnectionParts p = ParseConnectionText(connectionText);
    if (p.provider.compare(u"MSDASQL", Qt::CaseInsensitive) != 0 &&
        !p.provider.startsWith(u"MSDASQL.", Qt::CaseInsensitive) &&
        p.provider.compare(u"ODBC", Qt::CaseInsensitive) != 0)
        return OpenConnectionText(connectionText); // the provider's own error
    // Qt puts "DSN=" in front of the name and the user and password after it.
    return Database::openOdbc(p.dataSource +
                                  QStringLiteral(";UseServerSidePrepare=1;pqopt={application_name=buhinhyo "
                                                 "options='-c synchronous_commit=off "
                                                 "-c tcp_keepalives_idle=30 -c tcp_keepalives_interval=10 "
                                                 "-c tcp_keepalives_count=3 -c tcp_user_timeout=60000'}"),
                              p.userId, p.password);
}

bool onServer(const Database& db)
{
    return db.dialect() == Database::Dialect::PostgreSql;
}

QString kindName(const QString& kind)
{
    return kind == u"2" ? QStringLiteral("購入") : QStringLiteral("製作");
}

} // namespace

bool SharedModeRequested(AppContext& ctx)
{
    return ctx.ini->find(QStringLiteral("ODBC"), QStringLiteral("SHARED")) == u"1";
}

void ConnectShared(AppContext& ctx, ConnectResult& r)
{
    r.shared = true;
    ctx.DbConnection.reset();
    try {
        std::shared_ptr<Database> db = openTeamConnection(r.connectionText);
        if (db->dialect() != Database::Dialect::PostgreSql)
            throw RuntimeError(kProviderErrorNumber,
                               QStringLiteral("データソース %1 は PostgreSQL サーバーではありません。"
                                              "[ODBC] SHARED=1 (チーム使用) は PostgreSQL サーバーの"
                                              "データソースでだけ使えます。")
                                   .arg(r.dbDsn));
        // A database set up before team use lacks the table of who holds what.
        try {
            db->Execute(QStringLiteral("SELECT 1 FROM BUHINHYO_LOCK WHERE 1 = 0"));
        } catch (const RuntimeError& e) {
            throw RuntimeError(e.number(),
                               QStringLiteral("データソース %1 のデータベースにはチーム使用の表 "
                                              "BUHINHYO_LOCK がありません。scripts/team-server.sh か "
                                              "data/schema-postgresql.sql をもう一度実行して下さい。\n")
                                       .arg(r.dbDsn) +
                                   e.description());
        }
        ctx.DbConnection = std::move(db);
    } catch (const RuntimeError& e) {
        r.endProgram = true;
        r.message = e.description();
        ctx.messages->show(MsgIcon::None, MsgButtons::Ok, QString(), r.message);
    }
}

QString ThisDesk()
{
    const QString host = QSysInfo::machineHostName();
    return host.isEmpty() ? QStringLiteral("(不明な端末)") : host;
}

QString ThisUser()
{
    for (const char* name : {"USER", "LOGNAME", "USERNAME"}) {
        const QString user = qEnvironmentVariable(name);
        if (!user.isEmpty())
            return user;
    }
    return QDir::home().dirName();
}

QString LockHolder::describe() const
{
    return desk + QStringLiteral(" の ") + user + QStringLiteral(" さんが ") +
           since.toString(QStringLiteral("yyyy/MM/dd HH:mm")) + QStringLiteral(" から");
}

QString PartsTableLockName(const QString& dwgNo, const QString& assy, const QString& kind)
{
    return QStringLiteral("部品表 %1 / %2 (%3)").arg(dwgNo, assy, kindName(kind));
}

QString LayoutLockName(const QString& customer, const QString& kind)
{
    return QStringLiteral("出力設定 %1 (%2ﾘｽﾄ)").arg(customer, kindName(kind));
}

qint64 LockKey(const QString& what)
{
    const QByteArray hash = QCryptographicHash::hash(what.toLower().toUtf8(), QCryptographicHash::Sha256);
    quint64 key = 0;
    for (int i = 0; i < 8; ++i)
        key = (key << 8) | static_cast<quint8>(hash.at(i));
    // Positive, so that it reads back the same from the server's two 32-bit halves.
    return static_cast<qint64>(key & 0x3fffffffffffffffULL);
}

TeamLock::TeamLock(std::shared_ptr<Database> db, QString what, qint64 key)
    : m_db(std::move(db)), m_what(std::move(what)), m_key(key)
{
}

TeamLock::~TeamLock()
{
    if (!m_db || !onServer(*m_db))
        return;
    // A connection that is gone has let go of the lock with its session.
    QSqlQuery q(m_db->sql());
    q.exec(QStringLiteral("SELECT pg_advisory_unlock(%1)").arg(m_key));
}

std::unique_ptr<TeamLock> TeamLock::take(const std::shared_ptr<Database>& db, const QString& what,
                                         LockHolder* holder)
{
    const qint64 key = LockKey(what);
    if (!onServer(*db))
        return std::unique_ptr<TeamLock>(new TeamLock(nullptr, what, key));
    QSqlQuery q = db->Run(QStringLiteral("SELECT pg_try_advisory_lock(%1)").arg(key));
    if (q.next() && q.value(0).toBool()) {
        std::unique_ptr<TeamLock> lock(new TeamLock(db, what, key));
        db->Run(QStringLiteral(
                    "INSERT INTO BUHINHYO_LOCK (INT_KEY, CH_WHAT, CH_DESK, CH_USER, INT_SINCE, INT_PID) "
                    "VALUES (%1, ?, ?, ?, %2, pg_backend_pid()) ON CONFLICT (INT_KEY) DO UPDATE SET "
                    "CH_WHAT = EXCLUDED.CH_WHAT, CH_DESK = EXCLUDED.CH_DESK, CH_USER = EXCLUDED.CH_USER, "
                    "INT_SINCE = EXCLUDED.INT_SINCE, INT_PID = EXCLUDED.INT_PID")
                    .arg(key)
                    .arg(QDateTime::currentSecsSinceEpoch()),
                {what, ThisDesk(), ThisUser()});
        return lock;
    }
    if (holder) {
        QSqlQuery h = db->Run(kHeldSql + QStringLiteral(" WHERE k.INT_KEY = %1").arg(key));
        // The other desk may not have written its row yet.
        *holder = h.next() ? holderOf(h)
                           : LockHolder{what, QStringLiteral("別の端末"), QStringLiteral("(不明)"),
                                        QDateTime::currentDateTime()};
    }
    return nullptr;
}

QList<LockHolder> HeldLocks(Database& db)
{
    QList<LockHolder> out;
    if (!onServer(db))
        return out;
    QSqlQuery q = db.Run(kHeldSql + QStringLiteral(" ORDER BY k.INT_SINCE, k.CH_WHAT"));
    while (q.next())
        out << holderOf(q);
    return out;
}

QString NetworkFileSystemType(const QString& path)
{
    struct statfs fs {
    };
    const QString folder = QFileInfo(path).absolutePath();
    if (statfs(QFile::encodeName(folder).constData(), &fs) != 0)
        return {};
    switch (static_cast<unsigned long>(fs.f_type)) {
    case 0x6969UL:     // NFS
    case 0x517BUL:     // SMB
    case 0xFF534D42UL: // CIFS
    case 0xFE534D42UL: // SMB2
    case 0x65735546UL: // FUSE (sshfs and other user-space mounts)
    case 0x01021997UL: // 9P
    case 0x5346414FUL: // AFS
    case 0x73757245UL: // Coda
    case 0x00C36400UL: // Ceph
    case 0x564CUL:     // NCP
        break;
    default:
        return {};
    }
    const QString type = QString::fromUtf8(QStorageInfo(folder).fileSystemType());
    return type.isEmpty() ? QStringLiteral("0x%1").arg(static_cast<unsigned long>(fs.f_type), 0, 16) : type;
}

void NoticeNetworkDatabase(AppContext& ctx, const QString& path)
{
    static bool told = false;
    const QString type = NetworkFileSystemType(path);
    if (told || type.isEmpty())
        return;
    told = true;
    ctx.messages->show(
        MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("ワーニング"),
        QStringLiteral("データベース ファイル '%1' はネットワーク上の共有フォルダ (%2) にあります。\n"
                       "共有フォルダのデータベースは一台の端末だけで使って下さい。複数の端末から同時に"
                       "使うとファイルが壊れることがあります (この場所では WAL を使いません)。\n"
                       "複数の端末で同じ部品表を使うときは、PostgreSQL サーバーによるチーム使用 "
                       "(PARA.ini の [DBMS] DB=ODBC と [ODBC] SHARED=1、README「Team use」) にして下さい。")
            .arg(QFileInfo(path).absoluteFilePath(), type));
}

int CopyTableRows(Database& local, Database& server, const QString& table)
{
    QSqlQuery from(local.sql());
    from.setForwardOnly(true);
    if (!from.exec(QStringLiteral("SELECT * FROM ") + table))
        throw DatabaseError(from.lastError(), QStringLiteral("SELECT * FROM ") + table);
    const QSqlRecord record = from.record();
    QStringList columns;
    for (int i = 0; i < record.count(); ++i)
        if (record.fieldName(i).compare(u"INT_NUMBER", Qt::CaseInsensitive) != 0)
            columns << record.fieldName(i);
    QStringList marks;
    marks.fill(QStringLiteral("?"), columns.size());
    const QString insert =
        QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
            .arg(table, columns.join(QStringLiteral(", ")), marks.join(QStringLiteral(", ")));
    QSqlQuery to(server.sql());
    if (!to.prepare(insert))
        throw DatabaseError(to.lastError(), insert);
    int rows = 0;
    while (from.next()) {
        for (int i = 0; i < columns.size(); ++i) {
            QVariant v = from.value(columns[i]);
            if (IsYesNoColumn(columns[i]))
                v = !v.isNull() && v.toDouble() != 0;
            to.bindValue(i, v);
        }
        if (!to.exec())
            throw DatabaseError(to.lastError(), insert)
                .withCause(QStringLiteral("%1 の %2 行目").arg(table).arg(rows + 1));
        ++rows;
    }
    return rows;
}
