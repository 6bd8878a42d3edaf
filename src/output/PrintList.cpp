#include "PrintList.h"

#include "Common.h"
#include "Cursor.h"
#include "Database.h"
#include "Int16.h"
#include "ListQuery.h"
#include "RuntimeError.h"

#include <QSqlDriver>
#include <QVariant>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <sqlite3.h>

namespace
{

// A stored number as text, the same as DecimalText gives: plain decimals in the shortest form that
// reads back equal (1000000, 2.5, 0.00001), never an exponent. A number too long for the buffer
// (beyond any price or quantity) falls back to the shortest general form.
std::string_view DoubleText(double d, char (&buf)[32])
{
    auto r = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::fixed);
    if (r.ec != std::errc())
        r = std::to_chars(buf, buf + sizeof buf, d);
    return {buf, static_cast<size_t>(r.ptr - buf)};
}

} // namespace

QString NumberText(const QVariant& value)
{
    if (value.isNull() || !value.isValid())
        return {};
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return DecimalText(value.toDouble());
    QString text = value.toString();
    // SQLite hands back "2.0" for a whole number kept in a REAL column.
    if (text.endsWith(QStringLiteral(".0")))
        text.chop(2);
    return text;
}

namespace
{

// Yes/no values as every database hands them back: booleans, 0/1, or text.
bool YesNo(const QVariant& value)
{
    if (value.isNull())
        return false;
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    bool number = false;
    const double d = value.toDouble(&number);
    if (number)
        return d != 0;
    return TextIsTrue(value.toString().trimmed());
}

// The columns the list takes from a record, by the query's mode.
struct ListColumns {
    int hinmei, zaishitu, tani, biko, maker, tani2, suryo, kingk;
    int zno = -1, kakko = -1, tanka = -1, number = -1, haishi = -1, suryo2 = -1;

    template <class IndexOf>
    ListColumns(bool sum, IndexOf column)
        : hinmei(column("CH_HINMEI")), zaishitu(column("CH_ZAISHITU")), tani(column("CH_TANI")),
          biko(column("CH_BIKO")), maker(column("CH_MAKER")), tani2(column("CH_TANI2")),
          suryo(column(sum ? "SUM_SURYO" : "INT_SURYO")), kingk(column(sum ? "SUM_KINGK" : "INT_KINGK"))
    {
        if (!sum) {
            zno = column("CH_ZNO");
            kakko = column("CH_KAKKO");
            tanka = column("INT_TANKA");
            number = column("INT_NUMBER");
            haishi = column("CH_HAISHI");
            suryo2 = column("INT_SURYO2");
        }
    }
};

RuntimeError missingColumn(const char* name)
{
    return RuntimeError(
        3265, QStringLiteral("要求された名前、または序数に対応する項目がコレクションで見つかりません。") +
                  QStringLiteral(" (") + QString::fromLatin1(name) + u')');
}

// The connection's own SQLite handle, when the database is the local file.
sqlite3* SqliteHandle(Database& db)
{
    if (!db.isSqlite() || !db.sql().driver())
        return nullptr;
    const QVariant handle = db.sql().driver()->handle();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3* const*>(handle.constData());
}

// A print run's list on the local database, read straight from SQLite: the records are counted
// first, then each one's fields go into the list as the UTF-8 the file holds, without a QVariant or a
// QString per field. A summary is read while the pages are laid out, without holding the whole list;
// a full list is held in one block of UTF-8 to be handed over in item-number order. Count and rows
// come from one read transaction, so they agree.
class SqliteListReader
{
public:
    SqliteListReader(sqlite3* handle, const QString& sql, bool sum, bool perMaker)
        : m_handle(handle), m_sql(sql), m_sum(sum)
    {
        try {
            start(sql, sum);
            // The lines of a full list go in item-number order, which the text column does not
            // give: they are read whole (in UTF-8) and handed over in that order.
            if (!sum)
                readInItemNumberOrder(perMaker);
        } catch (...) {
            finish();
            throw;
        }
    }
    ~SqliteListReader() { finish(); }
    SqliteListReader(const SqliteListReader&) = delete;
    SqliteListReader& operator=(const SqliteListReader&) = delete;

    size_t rows() const { return m_rows; }

private:
    void start(const QString& sql, bool sum)
    {
        if (sqlite3_get_autocommit(m_handle)) {
            check(sqlite3_exec(m_handle, "BEGIN", nullptr, nullptr, nullptr));
            m_began = true;
        }
        sqlite3_stmt* count = prepare(QStringLiteral("SELECT COUNT(*) FROM (") + sql + u')');
        const int rc = sqlite3_step(count);
        const sqlite3_int64 rows = rc == SQLITE_ROW ? sqlite3_column_int64(count, 0) : 0;
        sqlite3_finalize(count);
        if (rc != SQLITE_ROW)
            check(rc);
        // The row counter is 16-bit: a list longer than 32,767 records stops with the overflow error.
        m_rows = static_cast<size_t>(Int16::from(rows).value());
        m_stmt = prepare(sql);
        const int columnCount = sqlite3_column_count(m_stmt);
        m_at = std::make_unique<ListColumns>(sum, [&](const char* name) {
            for (int i = 0; i < columnCount; ++i)
                if (sqlite3_stricmp(sqlite3_column_name(m_stmt, i), name) == 0)
                    return i;
            throw missingColumn(name);
        });
    }
    void finish()
    {
        sqlite3_finalize(m_stmt);
        m_stmt = nullptr;
        if (m_began)
            sqlite3_exec(m_handle, "COMMIT", nullptr, nullptr, nullptr);
        m_began = false;
        sqlite3_db_release_memory(m_handle);
    }

public:
    const ListTable::Utf8Row& next()
    {
        if (!m_sum) {
            if (m_next >= static_cast<size_t>(m_order.size()))
                throw RuntimeError(3021, QStringLiteral("現在のレコードがありません。") +
                                             QStringLiteral("\n(") + m_sql + u')');
            size_t at = m_rowStarts[static_cast<size_t>(m_order[static_cast<qsizetype>(m_next++)])];
            for (std::string_view& cell : m_row) {
                size_t length = 0;
                for (int shift = 0;; shift += 7) {
                    const auto byte = static_cast<unsigned char>(m_block[at++]);
                    length |= static_cast<size_t>(byte & 0x7f) << shift;
                    if (byte < 0x80)
                        break;
                }
                cell = std::string_view(m_block).substr(at, length);
                at += length;
            }
            return m_row;
        }
        return step();
    }

private:
    void readInItemNumberOrder(bool perMaker)
    {
        QStringList itemNumbers, makers;
        for (size_t r = 0; r < m_rows; ++r) {
            const ListTable::Utf8Row& row = step();
            m_rowStarts.push_back(m_block.size());
            // Each cell as its length (7 bits a byte, low first) and its bytes.
            for (const std::string_view cell : row) {
                for (size_t length = cell.size();; length >>= 7) {
                    m_block.push_back(static_cast<char>((length & 0x7f) | (length > 0x7f ? 0x80 : 0)));
                    if (length <= 0x7f)
                        break;
                }
                m_block.append(cell);
            }
            const std::string_view zno = field(m_at->zno);
            itemNumbers << QString::fromUtf8(zno.data(), static_cast<qsizetype>(zno.size()));
            if (perMaker)
                makers << QString::fromUtf8(row[LcMaker - 1].data(),
                                            static_cast<qsizetype>(row[LcMaker - 1].size()));
        }
        m_order = ItemNumberOrder(itemNumbers, makers, true);
        finish();
    }

    const ListTable::Utf8Row& step()
    {
        const int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_DONE)
            throw RuntimeError(3021, QStringLiteral("現在のレコードがありません。") + QStringLiteral("\n(") +
                                         m_sql + u')');
        if (rc != SQLITE_ROW)
            check(rc);
        // The pages the scan has passed stay cached with the connection; a print run has no more use
        // for them, and a long list would otherwise hold a few megabytes of them.
        if (++m_read % 512 == 0)
            sqlite3_db_release_memory(m_handle);
        const ListColumns& at = *m_at;
        m_row.fill({});
        m_row[LcHinmei - 1] = field(at.hinmei);
        m_row[LcZaishitu - 1] = field(at.zaishitu);
        m_row[LcTani - 1] = field(at.tani);
        m_row[LcBiko - 1] = field(at.biko);
        m_row[LcMaker - 1] = field(at.maker);
        m_row[LcTani2 - 1] = field(at.tani2);
        m_row[LcSuryo - 1] = number(at.suryo, 0);
        m_row[LcKingk - 1] = number(at.kingk, 1);
        if (!m_sum) {
            m_row[LcZno - 1] = field(at.zno);
            const std::string_view zno = m_row[LcZno - 1];
            // A stored item number carries its brackets already: one pair is shown.
            if (yesNo(at.kakko) && !(zno.size() >= 2 && zno.front() == '(' && zno.back() == ')')) {
                m_bracketed = '(' + std::string(zno) + ')';
                m_row[LcZno - 1] = m_bracketed;
            }
            m_row[LcTanka - 1] = number(at.tanka, 2);
            m_row[LcNumber - 1] = number(at.number, 3);
            m_row[LcHaishi - 1] = yesNo(at.haishi) ? "True" : "False";
            m_row[LcSuryo2 - 1] = number(at.suryo2, 4);
        }
        return m_row;
    }

private:
    void check(int rc)
    {
        if (rc != SQLITE_OK)
            throw RuntimeError(rc, QString::fromUtf8(sqlite3_errmsg(m_handle)) + QStringLiteral("\n(") +
                                       m_sql + u')');
    }
    sqlite3_stmt* prepare(const QString& sql)
    {
        const QByteArray text = sql.toUtf8();
        sqlite3_stmt* stmt = nullptr;
        const int rc =
            sqlite3_prepare_v2(m_handle, text.constData(), static_cast<int>(text.size()), &stmt, nullptr);
        if (rc != SQLITE_OK) {
            sqlite3_finalize(stmt);
            check(rc);
        }
        return stmt;
    }
    std::string_view field(int i)
    {
        const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(m_stmt, i));
        return p ? std::string_view(p, static_cast<size_t>(sqlite3_column_bytes(m_stmt, i)))
                 : std::string_view();
    }
    // Numbers as NumberText gives them; the buffers live until the next row.
    std::string_view number(int i, int slot)
    {
        switch (sqlite3_column_type(m_stmt, i)) {
        case SQLITE_NULL:
            return {};
        case SQLITE_FLOAT:
            return DoubleText(sqlite3_column_double(m_stmt, i), m_numbers[slot]);
        default: {
            std::string_view t = field(i);
            if (t.size() >= 2 && t.substr(t.size() - 2) == ".0")
                t.remove_suffix(2);
            return t;
        }
        }
    }
    bool yesNo(int i)
    {
        switch (sqlite3_column_type(m_stmt, i)) {
        case SQLITE_NULL:
            return false;
        case SQLITE_INTEGER:
            return sqlite3_column_int64(m_stmt, i) != 0;
        case SQLITE_FLOAT:
            return sqlite3_column_double(m_stmt, i) != 0;
        default: {
            const std::string_view t = field(i);
            return TextIsTrue(QString::fromUtf8(t.data(), static_cast<qsizetype>(t.size())));
        }
        }
    }

    sqlite3* m_handle;
    QString m_sql;
    bool m_sum;
    bool m_began = false;
    sqlite3_stmt* m_stmt = nullptr;
    std::unique_ptr<ListColumns> m_at;
    size_t m_rows = 0;
    size_t m_read = 0;
    ListTable::Utf8Row m_row;
    // A full list read whole: its cells one after another, where each row starts, the order to give
    // the rows in.
    std::string m_block;
    std::vector<size_t> m_rowStarts;
    QList<int> m_order;
    size_t m_next = 0;
    std::string m_bracketed;
    char m_numbers[5][32];
};

} // namespace

ListTable FillListFromDatabase(Database& db, const ListRequest& request)
{
    const ListMode mode = ListMode::parse(request.modeString);
    const bool sum = mode.list == u"LIST SUM";
    const QString filterWord = request.makerFilterOn ? QStringLiteral("MAKER") : QString();
    const QString maker = request.makerFilterOn ? request.makerFilterText : QString();
    const QString sql =
        BuildListQuery(request.modeString, filterWord, request.dwgNo, request.assy, request.kind, maker);
    if (sqlite3* handle = SqliteHandle(db)) {
        auto reader = std::make_shared<SqliteListReader>(handle, sql, sum, mode.paging == u"PAGE");
        const size_t rows = reader->rows();
        return ListTable::streamed(rows, [reader]() -> const ListTable::Utf8Row& { return reader->next(); });
    }

    // A print run reads each record once, in order: the query is read forward instead of through a
    // record set's snapshot, which for a long list doubled the run's time and memory.
    Cursor q(db, TranslateJetSql(sql));
    const ListColumns at(sum, [&](const char* name) {
        const int index = q.indexOf(QString::fromLatin1(name));
        if (index < 0)
            throw missingColumn(name);
        return index;
    });
    auto text = [&](int index) {
        const QVariant v = q.value(index);
        return v.isNull() ? QString() : v.toString();
    };

    ListTable table;
    // The row counter is 16-bit: a list longer than 32,767 records stops with the overflow error.
    Int16 count;
    ListRow row;
    const bool perMaker = mode.paging == u"PAGE";
    QStringList itemNumbers, makers;
    while (q.next()) {
        ++count;
        row.at(LcHinmei) = text(at.hinmei);
        row.at(LcZaishitu) = text(at.zaishitu);
        row.at(LcTani) = text(at.tani);
        row.at(LcBiko) = text(at.biko);
        row.at(LcMaker) = text(at.maker);
        row.at(LcTani2) = text(at.tani2);
        row.at(LcSuryo) = NumberText(q.value(at.suryo));
        row.at(LcKingk) = NumberText(q.value(at.kingk));
        if (!sum) {
            const QString itemNumber = text(at.zno);
            itemNumbers << itemNumber;
            if (perMaker)
                makers << row.at(LcMaker);
            // A stored item number carries its brackets already: one pair is shown.
            const bool bracketed =
                itemNumber.startsWith(u'(') && itemNumber.endsWith(u')') && itemNumber.size() > 1;
            row.at(LcZno) = YesNo(q.value(at.kakko)) && !bracketed ? u'(' + itemNumber + u')' : itemNumber;
            row.at(LcTanka) = NumberText(q.value(at.tanka));
            row.at(LcNumber) = NumberText(q.value(at.number));
            row.at(LcHaishi) = YesNo(q.value(at.haishi)) ? QStringLiteral("True") : QStringLiteral("False");
            row.at(LcSuryo2) = NumberText(q.value(at.suryo2));
        }
        table.push_back(row);
    }
    if (sum)
        return table;
    ListTable ordered;
    ordered.reserve(table.size());
    for (const int i : ItemNumberOrder(itemNumbers, makers))
        ordered.push_back(table[static_cast<size_t>(i)]);
    return ordered;
}

ListTable FillSampleData()
{
    ListTable table;
    for (int n = 1; n <= 10; ++n) {
        ListRow row;
        const QString number = QString::number(n);
        row.at(LcZno) = number;
        row.at(LcHinmei) = QStringLiteral("HINMEI品名");
        row.at(LcZaishitu) = QStringLiteral("ZAISHITU材質");
        row.at(LcSuryo) = number;
        row.at(LcBiko) = QStringLiteral("BIKOU備考");
        row.at(LcTanka) = number;
        row.at(LcKingk) = number;
        row.at(LcNumber) = number;
        row.at(LcMaker) = QStringLiteral("会社名");
        // The fifth sample line carries a unit.
        if (n == 5)
            row.at(LcTani) = QStringLiteral("SET");
        table.push_back(row);
    }
    return table;
}
