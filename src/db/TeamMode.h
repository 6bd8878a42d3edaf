#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <memory>
#include <optional>

struct AppContext;
struct ConnectResult;
class Database;

// Team use: several desks share one parts database on a PostgreSQL server.
//
// [ODBC] SHARED=1 (read only when [DBMS] DB=ODBC; a missing key is no box) makes the data source of
// [ODBC] the program's connection. Without it the ODBC and ORACLE settings only prove that the data
// source can be reached, as before.
bool SharedModeRequested(AppContext& ctx);
// Opens the data source of r.connectionText as ctx.DbConnection. A failure (or a data source that is
// not a PostgreSQL server, on which the desks could not see each other's work) shows a plain box and
// sets r.endProgram.
void ConnectShared(AppContext& ctx, ConnectResult& r);

// The desk and user this program runs as, as other desks are told.
QString ThisDesk();
QString ThisUser();

// Who holds a lock: desk, user and since when.
struct LockHolder {
    QString what;
    QString desk;
    QString user;
    QDateTime since;
    // "<desk> の <user> さんが <since> から"
    QString describe() const;
};

// One parts table or customer layout held open for editing by this desk. On a PostgreSQL server it
// is a session-scoped advisory lock of the connection, so a desk that ends, crashes or loses its
// network frees it by itself; the holder's desk, user and time are recorded beside it in
// BUHINHYO_LOCK for the other desks to read. On the local file (one desk) it is always granted.
class TeamLock
{
public:
    ~TeamLock();
    TeamLock(const TeamLock&) = delete;
    TeamLock& operator=(const TeamLock&) = delete;

    // Takes the lock, or returns null and fills *holder with who has it. Database errors throw.
    static std::unique_ptr<TeamLock> take(const std::shared_ptr<Database>& db, const QString& what,
                                          LockHolder* holder);
    const QString& what() const { return m_what; }

private:
    TeamLock(std::shared_ptr<Database> db, QString what, qint64 key);
    std::shared_ptr<Database> m_db;
    QString m_what;
    qint64 m_key = 0;
};

// What a lock names: a parts table by its key, a customer layout by customer and kind.
QString PartsTableLockName(const QString& dwgNo, const QString& assy, const QString& kind);
QString LayoutLockName(const QString& customer, const QString& kind);
// The lock number of a name: the same on every desk, case ignored as the keys compare.
qint64 LockKey(const QString& what);

// Every lock held now on the server, oldest first (empty on the local file).
QList<LockHolder> HeldLocks(Database& db);

// The type of file system of a path when it is a network or user-space one (NFS, SMB/CIFS, FUSE
// mounts such as sshfs, ...), else empty.
QString NetworkFileSystemType(const QString& path);
// Once per run: tells the user that the local database file lies on such a file system, where it
// is kept without WAL and must not be shared by several desks (team use is the way).
void NoticeNetworkDatabase(AppContext& ctx, const QString& path);

// Copies every row of a table from one database into the same table of another (yes/no columns as
// yes/no); the lines get new numbers from the receiving database. Returns the number of rows. Errors
// throw; the caller holds the transaction.
int CopyTableRows(Database& local, Database& server, const QString& table);
