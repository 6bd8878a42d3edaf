#include "Cursor.h"

#include "Database.h"

#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <optional>
#include <sql.h>
#include <sqlext.h>
#include <vector>

namespace
{

// The metatype Qt's ODBC driver gives a column of this ODBC type.
int metaTypeOf(SQLSMALLINT type)
{
    switch (type) {
    case SQL_DECIMAL:
    case SQL_NUMERIC:
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return QMetaType::Double;
    case SQL_SMALLINT:
    case SQL_INTEGER:
        return QMetaType::Int;
    case SQL_BIT:
    case SQL_TINYINT:
        return QMetaType::UInt;
    case SQL_BIGINT:
        return QMetaType::LongLong;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return QMetaType::QByteArray;
    default:
        // Text, and anything else as the text the driver makes of it.
        return QMetaType::QString;
    }
}

} // namespace

struct Cursor::Impl {
    Database& db;
    std::shared_ptr<Database> keepAlive; // a connection replaced meanwhile stays open for the read
    QString statement;
    bool select = false;
    QStringList names;
    QList<int> types;
    QList<QVariant> current;

    // The local file: Qt's SQLite driver.
    std::optional<QSqlQuery> query;

    // A data source: ODBC on the connection's handle.
    SQLHSTMT stmt = nullptr;
    std::vector<char16_t> text = std::vector<char16_t>(256);

    Impl(Database& database, const QString& sql)
        : db(database), keepAlive(database.weak_from_this().lock()), statement(sql)
    {
    }

    [[noreturn]] void fail(const QString& step)
    {
        throw DatabaseError(OdbcError(SQL_HANDLE_STMT, stmt, step), statement);
    }

    void openOdbc()
    {
        const SQLRETURN rc =
            SQLExecDirectW(stmt, const_cast<SQLWCHAR*>(statement.utf16()), SQLINTEGER(statement.size()));
        if (rc != SQL_NO_DATA && !SQL_SUCCEEDED(rc))
            fail(QStringLiteral("Unable to execute statement"));
        SQLSMALLINT count = 0;
        if (!SQL_SUCCEEDED(SQLNumResultCols(stmt, &count)))
            fail(QStringLiteral("Unable to count the result's columns"));
        select = count > 0;
        std::vector<SQLWCHAR> name(128);
        for (SQLUSMALLINT c = 1; c <= SQLUSMALLINT(count); ++c) {
            SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            for (;;) {
                if (!SQL_SUCCEEDED(SQLDescribeColW(stmt, c, name.data(), SQLSMALLINT(name.size()), &length,
                                                   &type, &size, &digits, &nullable)))
                    fail(QStringLiteral("Unable to describe column %1").arg(c));
                if (size_t(length) < name.size())
                    break;
                name.resize(size_t(length) + 1);
            }
            names << QString::fromUtf16(reinterpret_cast<const char16_t*>(name.data()), length);
            types << metaTypeOf(type);
        }
    }

    template <typename T> QVariant fixed(SQLUSMALLINT c, SQLSMALLINT cType, int metaType)
    {
        T value{};
        SQLLEN indicator = 0;
        if (!SQL_SUCCEEDED(SQLGetData(stmt, c, cType, &value, sizeof value, &indicator)))
            fail(QStringLiteral("Unable to read column %1").arg(c));
        return indicator == SQL_NULL_DATA ? QVariant(QMetaType(metaType)) : QVariant::fromValue(value);
    }

    // A text or binary column, in as many pieces as it takes.
    QVariant variable(SQLUSMALLINT c, bool binary)
    {
        const SQLSMALLINT cType = binary ? SQL_C_BINARY : SQL_C_WCHAR;
        const size_t unit = binary ? 1 : sizeof(char16_t);
        const size_t terminator = binary ? 0 : unit;
        // An empty value is an empty text, never a null one (which a write would bind as null).
        QByteArray bytes("");
        QString out = QStringLiteral("");
        for (;;) {
            const SQLLEN room = SQLLEN(text.size() * sizeof(char16_t));
            SQLLEN indicator = 0;
            const SQLRETURN rc = SQLGetData(stmt, c, cType, text.data(), room, &indicator);
            if (rc == SQL_NO_DATA)
                break;
            if (!SQL_SUCCEEDED(rc))
                fail(QStringLiteral("Unable to read column %1").arg(c));
            if (indicator == SQL_NULL_DATA)
                return QVariant(QMetaType(binary ? QMetaType::QByteArray : QMetaType::QString));
            const bool cut = indicator == SQL_NO_TOTAL || size_t(indicator) + terminator > size_t(room);
            const size_t got = cut ? size_t(room) - terminator : size_t(indicator);
            if (binary)
                bytes.append(reinterpret_cast<const char*>(text.data()), qsizetype(got));
            else
                out.append(QStringView(text.data(), qsizetype(got / unit)));
            if (rc == SQL_SUCCESS || !cut)
                break;
            // The rest in a buffer that holds it.
            if (indicator != SQL_NO_TOTAL)
                text.resize((size_t(indicator) - got + terminator) / sizeof(char16_t) + 1);
            else
                text.resize(text.size() * 2);
        }
        return binary ? QVariant(bytes) : QVariant(out);
    }

    bool nextOdbc()
    {
        const SQLRETURN rc = SQLFetch(stmt);
        if (rc == SQL_NO_DATA)
            return false;
        if (!SQL_SUCCEEDED(rc))
            fail(QStringLiteral("Unable to fetch row"));
        for (qsizetype i = 0; i < types.size(); ++i) {
            const auto c = SQLUSMALLINT(i + 1);
            switch (types[i]) {
            case QMetaType::Double:
                current[i] = fixed<double>(c, SQL_C_DOUBLE, QMetaType::Double);
                break;
            case QMetaType::Int:
                current[i] = fixed<qint32>(c, SQL_C_SLONG, QMetaType::Int);
                break;
            case QMetaType::UInt:
                current[i] = fixed<quint32>(c, SQL_C_ULONG, QMetaType::UInt);
                break;
            case QMetaType::LongLong:
                current[i] = fixed<qint64>(c, SQL_C_SBIGINT, QMetaType::LongLong);
                break;
            default:
                current[i] = variable(c, types[i] == QMetaType::QByteArray);
            }
        }
        return true;
    }
};

Cursor::Cursor(Database& db, const QString& statement) : d(std::make_unique<Impl>(db, statement))
{
    d->stmt = static_cast<SQLHSTMT>(db.takeOdbcStatement());
    if (d->stmt) {
        try {
            d->openOdbc();
        } catch (...) {
            db.giveBackOdbcStatement(d->stmt);
            d->stmt = nullptr;
            throw;
        }
    } else {
        QSqlQuery& q = d->query.emplace(db.sql());
        q.setForwardOnly(true);
        if (!q.exec(statement))
            throw DatabaseError(q.lastError(), statement);
        d->select = q.isSelect();
        const QSqlRecord record = q.record();
        for (int c = 0; c < record.count(); ++c) {
            d->names << record.fieldName(c);
            d->types << record.field(c).metaType().id();
        }
    }
    d->current = QList<QVariant>(d->names.size());
}

Cursor::~Cursor()
{
    if (d->stmt)
        d->db.giveBackOdbcStatement(d->stmt);
}

bool Cursor::isSelect() const
{
    return d->select;
}

const QStringList& Cursor::names() const
{
    return d->names;
}

const QList<int>& Cursor::types() const
{
    return d->types;
}

int Cursor::indexOf(const QString& name) const
{
    for (qsizetype i = 0; i < d->names.size(); ++i)
        if (d->names[i].compare(name, Qt::CaseInsensitive) == 0)
            return int(i);
    return -1;
}

bool Cursor::next()
{
    if (!d->select)
        return false;
    if (d->stmt)
        return d->nextOdbc();
    QSqlQuery& q = *d->query;
    if (!q.next()) {
        if (q.lastError().isValid())
            throw DatabaseError(q.lastError(), d->statement);
        return false;
    }
    for (qsizetype c = 0; c < d->current.size(); ++c)
        d->current[c] = q.value(int(c));
    return true;
}

const QVariant& Cursor::value(int column) const
{
    return d->current.at(column);
}

const QList<QVariant>& Cursor::row() const
{
    return d->current;
}
