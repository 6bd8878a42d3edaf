#pragma once

#include <QHash>
#include <QSqlDatabase>
#include <QSqlError>
#include <QString>
#include <QVariant>
#include <memory>

class QSqlQuery;
class Recordset;
class RuntimeError;

// One open connection to the configured database (Qt SQL: QSQLITE for the local file, QODBC for a
// data source). Failing statements throw RuntimeError with the database's description and number.
//
// A Database owned by a std::shared_ptr (as AppContext::DbConnection is) is kept alive by the record
// sets opened on it until they are closed, so replacing the shared connection never pulls the
// connection out from under a screen's open record set.
class Database : public std::enable_shared_from_this<Database>
{
public:
    enum class Dialect { Sqlite, PostgreSql, Other };

    // Opens a connection of its own name on an already configured QSqlDatabase (an open failure
    // throws RuntimeError). The connection is closed and removed when the object goes.
    explicit Database(QSqlDatabase db);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // A fresh, unused Qt connection name for a new connection of the given driver.
    static QSqlDatabase newConnection(const QString& driver);
    // The local database file: it must exist and be a database (a mistyped path never creates an
    // empty file). WAL journal, synchronous=NORMAL and a busy timeout are applied here. Read-only, the
    // file is only read: its journal mode stays, and a WAL file in a folder that cannot be written
    // (with no log beside it) is read as it stands. A writing connection checkpoints its log when it
    // closes (and CheckpointAll), so that no -wal content outlives it.
    static std::shared_ptr<Database> openSqliteFile(const QString& path, int busyTimeoutMs = 5000,
                                                    bool readOnly = false);
    // An ODBC data source by name, user and password.
    static std::shared_ptr<Database> openOdbc(const QString& dsn, const QString& user,
                                              const QString& password);

    // Writes the log of every open writing connection to a local file into the file and empties it
    // (a copy of the file alone is then whole). Run when the program ends and when a connection closes.
    static void CheckpointAll();

    QSqlDatabase& sql() { return m_db; }
    bool isSqlite() const;
    Dialect dialect() const { return m_dialect; }

    // Runs a statement directly on the connection (DELETE, UPDATE, ...). Jet forms such as
    // "DELETE * FROM" are translated first.
    void Execute(const QString& sql);
    // Runs a statement through Qt's driver with its values bound in order (a failure throws) and
    // returns it for its rows.
    QSqlQuery Run(const QString& statement, const QVariantList& values = {});
    void BeginTrans();
    void CommitTrans();
    void RollbackTrans();

    // Runs a write statement (UPDATE, DELETE) with its values bound in order and returns the
    // number of rows it changed. On a data source one text (the same columns of the same table) is
    // prepared once per connection and run again with each row's values, so the server keeps the
    // statement and its plan instead of parsing it for every line of a save; on the local file it
    // is prepared afresh.
    qint64 Write(const QString& statement, const QList<QVariant>& values);

    // A statement handle on a data source's connection for one read at a time (Cursor), given back
    // when the read is over and kept for the next one until the connection closes. Null on the
    // local file.
    void* takeOdbcStatement();
    void giveBackOdbcStatement(void* statement);

private:
    QSqlDatabase m_db;
    QString m_name;
    Dialect m_dialect = Dialect::Other;
    bool m_writesLocalFile = false;
    QHash<QString, void*> m_preparedWrites; // ODBC statement handles by text
    QList<void*> m_odbcStatements;
    void checkpoint();
};

// The statement as this database engine accepts it: the few forms only Jet understands are
// rewritten ("DELETE * FROM" -> "DELETE FROM"); everything else runs as it was built.
QString TranslateJetSql(const QString& sql);

// The error a failed database step raises: the database's own description and its native error
// number when it gives one (else kProviderErrorNumber). The statement, when given, is appended so
// that the user sees which text the database refused.
// A database engine's or driver's English message led by a Japanese line saying what it means.
QString DatabaseCauseText(const QString& english);
RuntimeError DatabaseError(const QSqlError& error, const QString& statement = QString());
// The diagnostics an ODBC handle holds (handle type and handle as ODBC takes them), as the error
// Qt's ODBC driver would report: the messages in one text, the native codes separated by ';'.
QSqlError OdbcError(short handleType, void* handle, const QString& driverText);
constexpr int kProviderErrorNumber = -2147467259;

// True for the yes/no columns: the YN_ flags and the two detail flags with a text prefix.
bool IsYesNoColumn(const QString& name);

// The record set of one SELECT: a static snapshot with a current row, fields by name, and
// add-new / field assignment / update / delete written back by the table's key.
//
// The SELECT text runs exactly as it was built. Writes are parameterised INSERT / UPDATE / DELETE
// on the table named after the SELECT's FROM, by that table's key (BUHINHYO: CH_DWGNO, CH_ASSY,
// CH_BUHIN; BUHINHYO_M: INT_NUMBER; SETTEI: CH_USER, CH_BUHIN; others: the table's primary key).
class Recordset
{
public:
    Recordset(Database& db, const QString& sql);
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    int RecordCount() const;
    bool Eof() const;
    void MoveFirst();
    void MoveNext();

    // The field of the current row as text; a null (or a missing current row) reads as "".
    // Yes/no columns read as "True" / "False" on every database.
    QString Field(const QString& name) const;
    QVariant Value(const QString& name) const;
    bool IsNull(const QString& name) const;
    bool Bool(const QString& name) const; // yes/no columns: any non-zero is true

    // The column names of the SELECT, in order.
    QStringList FieldNames() const;
    // The text of one column in every row, in the set's order.
    QStringList ColumnTexts(const QString& name) const;
    // Puts the rows in the given order (each entry a row's position as read; every row once) and
    // moves to the first. A pending edit is dropped.
    void Reorder(const QList<int>& order);

    // AddNew starts a new row (it becomes the current row once updated); SetField assigns into the
    // new row or the current row; Update writes the assigned fields; Delete removes the current row.
    // Text given to a number column is converted (empty text is null; anything that is not a
    // number is the type-mismatch error); text given to a yes/no column stores "1", "-1", "True"
    // as true and "", "0", "False" as false.
    void AddNew();
    void SetField(const QString& name, const QVariant& value);
    void Update();
    void Delete();
    void Close();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

// Opens a record set on the connection, replacing what the caller's variable held.
void OpenRecordset(Database& connection, std::unique_ptr<Recordset>& rs, const QString& sql);
