#include "Database.h"

#include "RuntimeError.h"
#include "TeamMode.h"

#include <QAtomicInt>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlQuery>
#include <QUrl>
#include <sql.h>
#include <sqlext.h>
#include <vector>

namespace
{

QAtomicInt connectionCounter;

// The open connections that write to a local file (all of them live on the user-interface thread).
QList<Database*>& writingConnections()
{
    static QList<Database*> list;
    return list;
}

QString nativePath(const QString& path)
{
    return QFileInfo(path).absoluteFilePath();
}

// The ODBC connection handle under a Qt ODBC connection (null for any other driver).
void* odbcConnection(QSqlDatabase& db)
{
    const QVariant handle = db.driver() ? db.driver()->handle() : QVariant();
    if (db.driverName() != u"QODBC" || handle.metaType() != QMetaType::fromType<void*>())
        return nullptr;
    return *static_cast<void* const*>(handle.constData());
}

RuntimeError cannotOpenFile(const QString& path, const QString& what, int number)
{
    return RuntimeError(
        number, QStringLiteral("データベース ファイル '%1' を開けません。\n%2").arg(nativePath(path), what));
}

} // namespace

QString TranslateJetSql(const QString& sql)
{
    // Jet accepts "DELETE * FROM t"; the other engines know only "DELETE FROM t".
    static const QRegularExpression deleteStar(QStringLiteral("^(\\s*DELETE)\\s+\\*\\s+(FROM\\b)"),
                                               QRegularExpression::CaseInsensitiveOption);
    QString out = sql;
    out.replace(deleteStar, QStringLiteral("\\1 \\2"));
    return out;
}

QString DatabaseCauseText(const QString& english)
{
    // The engines and drivers speak English: a Japanese line says what their words mean for the
    // user, their own words follow as the cause.
    static const struct {
        const char* words;
        const char16_t* meaning;
    } known[] = {
        {"locked|busy|lock timeout", u"データベースを他の利用者またはプログラムが使用中です。"},
        {"disk is full|no space", u"ディスクの空き容量が足りません。"},
        {"readonly|read-only|permission denied|access denied", u"データベースに書き込む権限がありません。"},
        {"not a database|malformed|corrupt",
         u"データベースファイルが壊れているか、データベースではありません。"},
        {"no such table|no such column|does not exist|not found",
         u"データベースに必要な表または列がありません。"},
        {"unique|duplicate", u"同じキーのデータが既にあります。"},
        {"unable to open|could not connect|connection|network", u"データベースに接続できません。"},
        {"syntax", u"SQL 文を解釈できません。"},
    };
    for (const auto& k : known)
        for (const QString& word : QString::fromLatin1(k.words).split(u'|'))
            if (english.contains(word, Qt::CaseInsensitive))
                return QString::fromUtf16(k.meaning) + QStringLiteral("原因: ") + english;
    return QStringLiteral("データベースの操作に失敗しました。原因: ") + english;
}

RuntimeError DatabaseError(const QSqlError& error, const QString& statement)
{
    QString description = error.databaseText().trimmed();
    if (description.isEmpty())
        description = error.driverText().trimmed();
    if (description.isEmpty())
        description = QStringLiteral("データベースの操作に失敗しました。");
    else
        description = DatabaseCauseText(description);
    if (!statement.isEmpty()) {
        // Values are pasted into the text as they are: an apostrophe in one leaves a quote open.
        if (statement.count(u'\'') % 2 != 0)
            description =
                QStringLiteral("入力値に「'」が含まれているため、SQL 文を実行できません。\n") + description;
        description += QStringLiteral("\n(") + statement + u')';
    }
    bool ok = false;
    // ODBC drivers may report several native codes separated by ';': the first one is the error.
    const int native = error.nativeErrorCode().section(u';', 0, 0).trimmed().toInt(&ok);
    return RuntimeError(ok && native != 0 ? native : kProviderErrorNumber, description);
}

QSqlError OdbcError(short handleType, void* handle, const QString& driverText)
{
    QString text;
    QStringList codes;
    std::vector<SQLWCHAR> message(512);
    for (SQLSMALLINT record = 1;; ++record) {
        SQLWCHAR state[SQL_SQLSTATE_SIZE + 1];
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        SQLRETURN rc = SQLGetDiagRecW(handleType, handle, record, state, &native, message.data(),
                                      SQLSMALLINT(message.size()), &length);
        if (SQL_SUCCEEDED(rc) && size_t(length) >= message.size()) {
            message.resize(size_t(length) + 1);
            rc = SQLGetDiagRecW(handleType, handle, record, state, &native, message.data(),
                                SQLSMALLINT(message.size()), &length);
        }
        if (!SQL_SUCCEEDED(rc))
            break;
        const QString line = QString::fromUtf16(reinterpret_cast<const char16_t*>(message.data()),
                                                qMin<qsizetype>(length, qsizetype(message.size()) - 1));
        if (line != text) {
            if (!text.isEmpty())
                text += u' ';
            text += line;
        }
        codes << QString::number(native);
    }
    return QSqlError(driverText, text, QSqlError::StatementError, codes.join(u';'));
}

bool IsYesNoColumn(const QString& name)
{
    return name.startsWith(u"YN_", Qt::CaseInsensitive) ||
           name.compare(u"CH_HAISHI", Qt::CaseInsensitive) == 0 ||
           name.compare(u"CH_KAKKO", Qt::CaseInsensitive) == 0;
}

// ---------------------------------------------------------------------------------------------
// Database

Database::Database(QSqlDatabase db) : m_db(std::move(db)), m_name(m_db.connectionName())
{
    if (!m_db.isOpen() && !m_db.open()) {
        const QSqlError error = m_db.lastError();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
        throw DatabaseError(error);
    }
    if (m_db.driverName() == u"QSQLITE") {
        m_dialect = Dialect::Sqlite;
    } else {
        // The product the driver names (without asking the server); any failure just means "not
        // PostgreSQL".
        SQLWCHAR product[64] = {};
        SQLSMALLINT length = 0;
        if (void* connection = odbcConnection(m_db);
            connection &&
            SQL_SUCCEEDED(SQLGetInfoW(connection, SQL_DBMS_NAME, product, sizeof product, &length)) &&
            QString::fromUtf16(reinterpret_cast<const char16_t*>(product)).startsWith(u"PostgreSQL"))
            m_dialect = Dialect::PostgreSql;
    }
}

Database::~Database()
{
    // Other programs may still have the file open, so SQLite would leave the log to the last of
    // them: it is written into the database here and emptied, and a copy of the file alone is whole.
    checkpoint();
    writingConnections().removeOne(this);
    for (void* statement : std::as_const(m_preparedWrites))
        SQLFreeHandle(SQL_HANDLE_STMT, statement);
    m_preparedWrites.clear();
    for (void* statement : std::as_const(m_odbcStatements))
        SQLFreeHandle(SQL_HANDLE_STMT, statement);
    m_odbcStatements.clear();
    m_db.close();
    m_db = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_name);
}

namespace
{
// One value bound to an ODBC statement's parameter, as Qt's ODBC driver binds it (the driver then
// types the server's parameters the same way).
struct OdbcValue {
    SQLSMALLINT cType = SQL_C_WCHAR;
    SQLSMALLINT sqlType = SQL_WVARCHAR;
    SQLULEN size = 0;
    SQLLEN indicator = 0;
    union {
        SQLINTEGER i32;
        SQLBIGINT i64;
        double real;
        unsigned char bit;
    } fixed{};
    QString text;
    QByteArray bytes;

    explicit OdbcValue(const QVariant& v)
    {
        const bool null = v.isNull();
        switch (v.typeId()) {
        case QMetaType::Int:
        case QMetaType::Short:
        case QMetaType::UShort:
            set(SQL_C_SLONG, SQL_INTEGER), fixed.i32 = v.toInt();
            break;
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            set(SQL_C_SBIGINT, SQL_BIGINT), fixed.i64 = v.toLongLong();
            break;
        case QMetaType::Double:
        case QMetaType::Float:
            set(SQL_C_DOUBLE, SQL_DOUBLE), fixed.real = v.toDouble();
            break;
        case QMetaType::Bool:
            set(SQL_C_BIT, SQL_BIT), fixed.bit = v.toBool() ? 1 : 0;
            break;
        case QMetaType::QByteArray:
            bytes = v.toByteArray();
            set(SQL_C_BINARY, SQL_LONGVARBINARY, SQLULEN(bytes.size()));
            indicator = SQLLEN(bytes.size());
            break;
        default:
            text = v.toString();
            set(SQL_C_WCHAR, text.size() > 254 ? SQL_WLONGVARCHAR : SQL_WVARCHAR,
                SQLULEN(qMax<qsizetype>(text.size(), 1)));
            indicator = SQLLEN(text.size() * qsizetype(sizeof(char16_t)));
        }
        if (null)
            indicator = SQL_NULL_DATA;
    }
    void set(SQLSMALLINT c, SQLSMALLINT sql, SQLULEN columnSize = 0)
    {
        cType = c;
        sqlType = sql;
        size = columnSize;
    }
    void* buffer()
    {
        if (cType == SQL_C_WCHAR)
            return const_cast<char16_t*>(reinterpret_cast<const char16_t*>(text.utf16()));
        if (cType == SQL_C_BINARY)
            return bytes.data();
        return &fixed;
    }
};
} // namespace

qint64 Database::Write(const QString& statement, const QList<QVariant>& values)
{
    SQLHSTMT prepared = m_dialect == Dialect::Sqlite ? nullptr : m_preparedWrites.value(statement);
    if (!prepared) {
        prepared = static_cast<SQLHSTMT>(takeOdbcStatement());
        if (!prepared)
            return Run(statement, values).numRowsAffected();
        if (!SQL_SUCCEEDED(SQLPrepareW(prepared, const_cast<SQLWCHAR*>(statement.utf16()),
                                       SQLINTEGER(statement.size())))) {
            const QSqlError error =
                OdbcError(SQL_HANDLE_STMT, prepared, QStringLiteral("Unable to prepare statement"));
            SQLFreeHandle(SQL_HANDLE_STMT, prepared);
            throw DatabaseError(error, statement);
        }
        m_preparedWrites.insert(statement, prepared);
    }
    std::vector<OdbcValue> bound;
    bound.reserve(size_t(values.size()));
    for (const QVariant& v : values)
        bound.emplace_back(v);
    SQLRETURN rc = SQL_SUCCESS;
    for (size_t i = 0; i < bound.size() && SQL_SUCCEEDED(rc); ++i) {
        OdbcValue& b = bound[i];
        rc = SQLBindParameter(prepared, SQLUSMALLINT(i + 1), SQL_PARAM_INPUT, b.cType, b.sqlType, b.size, 0,
                              b.buffer(), b.indicator > 0 ? b.indicator : 0, &b.indicator);
    }
    if (SQL_SUCCEEDED(rc))
        rc = SQLExecute(prepared);
    SQLLEN changed = 0;
    if (rc == SQL_NO_DATA || (SQL_SUCCEEDED(rc) && SQL_SUCCEEDED(rc = SQLRowCount(prepared, &changed)))) {
        SQLFreeStmt(prepared, SQL_RESET_PARAMS);
        return rc == SQL_NO_DATA ? 0 : qint64(changed);
    }
    // A statement that failed is prepared again the next time.
    const QSqlError error =
        OdbcError(SQL_HANDLE_STMT, prepared, QStringLiteral("Unable to execute statement"));
    m_preparedWrites.remove(statement);
    SQLFreeHandle(SQL_HANDLE_STMT, prepared);
    throw DatabaseError(error, statement);
}

void* Database::takeOdbcStatement()
{
    // A driver without wide characters (psqlODBC's ANSI one) is left to Qt, which reads and binds
    // its text as UTF-8.
    if (m_dialect == Dialect::Sqlite || !m_db.driver() || !m_db.driver()->hasFeature(QSqlDriver::Unicode))
        return nullptr;
    if (!m_odbcStatements.isEmpty())
        return m_odbcStatements.takeLast();
    const auto connection = static_cast<SQLHDBC>(odbcConnection(m_db));
    if (!connection)
        return nullptr;
    SQLHSTMT statement = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement)))
        throw DatabaseError(
            OdbcError(SQL_HANDLE_DBC, connection, QStringLiteral("Unable to allocate statement")));
    return statement;
}

void Database::giveBackOdbcStatement(void* statement)
{
    SQLFreeStmt(statement, SQL_CLOSE);
    m_odbcStatements.append(statement);
}

void Database::checkpoint()
{
    if (!m_writesLocalFile || !m_db.isOpen())
        return;
    // Without waiting: while another program still reads an older state, the log is written as far
    // as it can be and stays for the last program to close, as SQLite leaves it.
    QSqlQuery q(m_db);
    const int timeout = q.exec(QStringLiteral("PRAGMA busy_timeout")) && q.next() ? q.value(0).toInt() : 0;
    q.exec(QStringLiteral("PRAGMA busy_timeout = 0"));
    q.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    q.exec(QStringLiteral("PRAGMA busy_timeout = %1").arg(timeout));
}

void Database::CheckpointAll()
{
    for (Database* db : std::as_const(writingConnections()))
        db->checkpoint();
}

QSqlDatabase Database::newConnection(const QString& driver)
{
    const QString name = QStringLiteral("bh_db_%1").arg(connectionCounter.fetchAndAddRelaxed(1) + 1);
    return QSqlDatabase::addDatabase(driver, name);
}

namespace
{
// A database made before the text columns compared without regard to case: each of its tables is
// rebuilt with "TEXT COLLATE NOCASE" columns, rows, numbers and indexes kept, in one transaction.
bool UpgradeTextCollation(QSqlDatabase& db, QSqlError* error)
{
    QSqlQuery q(db);
    auto run = [&](const QString& sql) {
        if (q.exec(sql))
            return true;
        *error = q.lastError();
        return false;
    };
    if (!run(QStringLiteral("SELECT name, sql FROM sqlite_master WHERE type = 'table' AND name IN "
                            "('BUHINHYO', 'BUHINHYO_M', 'SETTEI')")))
        return false;
    static const QRegularExpression plainText(QStringLiteral("\\bTEXT\\b(?!\\s+COLLATE)"),
                                              QRegularExpression::CaseInsensitiveOption);
    QList<QPair<QString, QString>> tables;
    while (q.next())
        if (plainText.match(q.value(1).toString()).hasMatch())
            tables.append({q.value(0).toString(), q.value(1).toString()});
    if (tables.isEmpty())
        return true;
    if (!db.transaction()) {
        *error = db.lastError();
        return false;
    }
    for (const auto& [table, createSql] : std::as_const(tables)) {
        QStringList indexes;
        if (!run(QStringLiteral("SELECT sql FROM sqlite_master WHERE type = 'index' AND sql IS NOT NULL "
                                "AND tbl_name = '%1'")
                     .arg(table)))
            break;
        while (q.next())
            indexes << q.value(0).toString();
        const QString old = table + QStringLiteral("_BEFORE_NOCASE");
        QStringList steps{QStringLiteral("ALTER TABLE %1 RENAME TO %2").arg(table, old),
                          QString(createSql).replace(plainText, QStringLiteral("TEXT COLLATE NOCASE")),
                          QStringLiteral("INSERT INTO %1 SELECT * FROM %2").arg(table, old)};
        // The auto-number goes on from where it was, even past rows deleted at the end.
        if (createSql.contains(u"AUTOINCREMENT", Qt::CaseInsensitive))
            steps << QStringLiteral("DELETE FROM sqlite_sequence WHERE name = '%1'").arg(table)
                  << QStringLiteral("INSERT INTO sqlite_sequence (name, seq) SELECT '%1', seq FROM "
                                    "sqlite_sequence WHERE name = '%2'")
                         .arg(table, old);
        steps << QStringLiteral("DROP TABLE %1").arg(old);
        steps += indexes;
        for (const QString& step : std::as_const(steps))
            if (!run(step)) {
                db.rollback();
                return false;
            }
    }
    if (error->isValid() || !db.commit()) {
        if (!error->isValid())
            *error = db.lastError();
        db.rollback();
        return false;
    }
    return true;
}
} // namespace

namespace
{
// A database in WAL mode (byte 18 of the header is 2) without a log beside it, in a folder that cannot
// be written: SQLite cannot make the log's index there, and no writer is at work on it as it is opened.
// It is read as an unchanging file.
bool UnwritableWalFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = file.read(20);
    return head.size() == 20 && head.at(18) == 2 && !QFileInfo::exists(path + QStringLiteral("-wal")) &&
           !QFileInfo::exists(path + QStringLiteral("-shm")) &&
           !QFileInfo(QFileInfo(path).absolutePath()).isWritable();
}
} // namespace

std::shared_ptr<Database> Database::openSqliteFile(const QString& path, int busyTimeoutMs, bool readOnly)
{
    const QFileInfo file(path);
    if (!file.exists())
        throw cannotOpenFile(path, QStringLiteral("ファイルが見つかりません。"), kProviderErrorNumber);
    if (!file.isFile() || file.size() == 0)
        throw cannotOpenFile(path, QStringLiteral("データベース ファイルではありません。"),
                             kProviderErrorNumber);

    QSqlDatabase db = newConnection(QStringLiteral("QSQLITE"));
    const QString name = db.connectionName();
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs);
    if (readOnly && UnwritableWalFile(path)) {
        db.setDatabaseName(QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString() +
                           QStringLiteral("?immutable=1"));
        options += QStringLiteral(";QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI");
    } else {
        db.setDatabaseName(path);
        if (readOnly)
            options += QStringLiteral(";QSQLITE_OPEN_READONLY");
    }
    db.setConnectOptions(options);

    QSqlError error;
    bool opened = db.open();
    if (!opened) {
        error = db.lastError();
    } else {
        // WAL: a crash or a killed process never leaves a half-written table, readers (the output)
        // do not block the writer, and each autocommitted row costs no sync of the main file.
        // synchronous=NORMAL: with WAL this stays consistent after a power cut (the last commits
        // may be lost, never the file); FULL would sync on every one of the editor's row saves.
        // The busy timeout lets a second program instance or a tool finish its write instead of
        // failing at once. Reading the schema proves the file really is a database.
        // WAL needs memory shared on one host: on a network file system the file keeps its
        // rollback journal (ConnectDatabase tells the user why).
        const QString journal = NetworkFileSystemType(path).isEmpty()
                                    ? QStringLiteral("PRAGMA journal_mode=WAL")
                                    : QStringLiteral("PRAGMA journal_mode=DELETE");
        QSqlQuery q(db);
        QStringList statements{QStringLiteral("SELECT count(*) FROM sqlite_master")};
        if (!readOnly)
            statements = QStringList{journal, QStringLiteral("PRAGMA synchronous=NORMAL")} + statements;
        for (const QString& statement : std::as_const(statements)) {
            if (!q.exec(statement)) {
                error = q.lastError();
                opened = false;
                break;
            }
        }
    }
    if (opened && !readOnly && !UpgradeTextCollation(db, &error))
        opened = false;
    if (!opened) {
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        const RuntimeError base = DatabaseError(error);
        throw cannotOpenFile(path, base.description(), base.number());
    }
    auto connection = std::make_shared<Database>(std::move(db));
    if (!readOnly) {
        connection->m_writesLocalFile = true;
        writingConnections().append(connection.get());
    }
    return connection;
}

std::shared_ptr<Database> Database::openOdbc(const QString& dsn, const QString& user, const QString& password)
{
    QSqlDatabase db = newConnection(QStringLiteral("QODBC"));
    db.setDatabaseName(dsn);
    db.setUserName(user);
    db.setPassword(password);
    if (!db.open()) {
        const QSqlError error = db.lastError();
        const QString name = db.connectionName();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        throw DatabaseError(error);
    }
    return std::make_shared<Database>(std::move(db));
}

bool Database::isSqlite() const
{
    return m_dialect == Dialect::Sqlite;
}

void Database::Execute(const QString& sql)
{
    const QString statement = TranslateJetSql(sql);
    QSqlQuery q(m_db);
    if (!q.exec(statement))
        throw DatabaseError(q.lastError(), statement);
}

QSqlQuery Database::Run(const QString& statement, const QVariantList& values)
{
    QSqlQuery q(m_db);
    if (!q.prepare(statement))
        throw DatabaseError(q.lastError(), statement);
    for (const QVariant& v : values)
        q.addBindValue(v);
    if (!q.exec())
        throw DatabaseError(q.lastError(), statement);
    return q;
}

void Database::BeginTrans()
{
    if (!m_db.transaction())
        throw DatabaseError(m_db.lastError());
}

void Database::CommitTrans()
{
    if (!m_db.commit())
        throw DatabaseError(m_db.lastError());
}

void Database::RollbackTrans()
{
    if (!m_db.rollback())
        throw DatabaseError(m_db.lastError());
}
