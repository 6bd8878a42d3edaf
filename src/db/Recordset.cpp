#include "Common.h"
#include "Cursor.h"
#include "Database.h"

#include "RuntimeError.h"

#include <QHash>
#include <QRegularExpression>
#include <QSqlIndex>
#include <QSqlQuery>
#include <vector>

namespace
{

// The errors a record set raises itself, with the numbers users know from the old tool.
RuntimeError noCurrentRow()
{
    return RuntimeError(
        3021, QStringLiteral("BOF と EOF のいずれかが True になっているか、または現在のレコードが削除"
                             "されています。要求された操作には、現在のレコードが必要です。"));
}
RuntimeError noSuchField(const QString& name)
{
    return RuntimeError(
        3265, QStringLiteral("要求された名前、または序数に対応する項目がコレクションで見つかりません。") +
                  QStringLiteral(" (") + name + u')');
}
RuntimeError notUpdatable(const QString& why)
{
    return RuntimeError(3251, QStringLiteral("このレコードセットは更新できません。") + why);
}
RuntimeError closedSet()
{
    return RuntimeError(3704, QStringLiteral("オブジェクトが閉じている場合は、操作は許可されません。"));
}
RuntimeError rowGone()
{
    return RuntimeError(-2147217864,
                        QStringLiteral("更新または削除する行が見つかりません。最後に読み込んだ後で値が変更"
                                       "された可能性があります。"));
}

bool isNumberType(int typeId)
{
    switch (typeId) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

bool isIntegerType(int typeId)
{
    return isNumberType(typeId) && typeId != QMetaType::Double && typeId != QMetaType::Float;
}

bool yesNoValue(const QVariant& value)
{
    if (value.isNull())
        return false;
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (isNumberType(value.typeId()))
        return value.toDouble() != 0;
    const QString text = value.toString().trimmed();
    if (text.isEmpty() || text.compare(u"False", Qt::CaseInsensitive) == 0)
        return false;
    if (text.compare(u"True", Qt::CaseInsensitive) == 0)
        return true;
    bool ok = false;
    const double n = text.toDouble(&ok);
    if (!ok)
        throw RuntimeError::typeMismatch();
    return n != 0;
}

// The key columns by which a row of the table is written back.
QStringList keyColumnsOf(const QString& table, QSqlDatabase& db)
{
    const QString upper = table.toUpper();
    if (upper == u"BUHINHYO")
        return {QStringLiteral("CH_DWGNO"), QStringLiteral("CH_ASSY"), QStringLiteral("CH_BUHIN")};
    if (upper == u"BUHINHYO_M")
        return {QStringLiteral("INT_NUMBER")};
    if (upper == u"SETTEI")
        return {QStringLiteral("CH_USER"), QStringLiteral("CH_BUHIN")};
    QStringList out;
    const QSqlIndex pk = db.primaryIndex(table);
    for (int i = 0; i < pk.count(); ++i)
        out << pk.fieldName(i);
    return out;
}

} // namespace

struct Recordset::Impl {
    Database* db = nullptr;
    std::shared_ptr<Database> keepAlive;
    QString sql;
    QString table;
    QStringList key;
    bool keyKnown = false;

    QStringList names;
    QHash<QString, int> index; // upper-case name -> column
    QList<int> types;          // metatype id of each column as the database reports it

    struct Row {
        QList<QVariant> values;
        bool deleted = false;
    };
    std::vector<Row> rows;
    int live = 0; // rows not deleted
    int pos = 0;
    bool open = true;

    enum class Edit { None, Editing, Adding };
    Edit edit = Edit::None;
    QList<QVariant> buffer;
    QList<bool> dirty;

    int column(const QString& name) const
    {
        auto it = index.constFind(name);
        if (it == index.constEnd())
            it = index.constFind(name.toUpper());
        return it == index.constEnd() ? -1 : *it;
    }
    int columnOrThrow(const QString& name) const
    {
        const int c = column(name);
        if (c < 0)
            throw noSuchField(name);
        return c;
    }
    void checkOpen() const
    {
        if (!open)
            throw closedSet();
    }
    bool onRow() const { return pos >= 0 && pos < int(rows.size()) && !rows[pos].deleted; }
    const Row* current() const { return onRow() ? &rows[pos] : nullptr; }

    // The value shown for a column: the pending edit when one is in progress, else the stored one.
    QVariant valueAt(int c) const
    {
        if (edit != Edit::None && dirty[c])
            return buffer[c];
        if (edit == Edit::Adding)
            return QVariant();
        const Row* row = current();
        return row ? row->values[c] : QVariant();
    }

    void skipDeleted()
    {
        while (pos < int(rows.size()) && rows[pos].deleted)
            ++pos;
    }

    const QStringList& keyColumns()
    {
        if (!keyKnown) {
            if (table.isEmpty())
                throw notUpdatable(QString());
            key = keyColumnsOf(table, db->sql());
            keyKnown = true;
        }
        if (key.isEmpty())
            throw notUpdatable(QStringLiteral(" (") + table + u')');
        return key;
    }

    // The value as the database column takes it; yes/no columns and numbers typed as text are
    // converted the way the old tool's provider did.
    QVariant coerce(int c, const QVariant& value) const
    {
        const int type = types[c];
        if (IsYesNoColumn(names[c]) || type == QMetaType::Bool)
            return QVariant(yesNoValue(value));
        if (isNumberType(type) && !value.isNull() && !isNumberType(value.typeId())) {
            const QString text = value.toString().trimmed();
            if (text.isEmpty())
                return QVariant();
            bool ok = false;
            const double n = text.toDouble(&ok);
            if (!ok)
                throw RuntimeError::typeMismatch();
            if (isIntegerType(type) && n == double(qint64(n)))
                return QVariant(qint64(n));
            return QVariant(n);
        }
        return value;
    }

    // The value bound into a write statement: yes/no is 0/1 on SQLite, a boolean elsewhere.
    QVariant bindValue(const QVariant& v) const
    {
        if (v.typeId() == QMetaType::Bool && db->isSqlite())
            return QVariant(v.toBool() ? 1 : 0);
        if (v.isNull())
            return QVariant(QMetaType(QMetaType::QString));
        return v;
    }

    void writeInsert()
    {
        QStringList cols;
        QStringList marks;
        QVariantList values;
        for (int c = 0; c < names.size(); ++c) {
            if (dirty[c]) {
                cols << names[c];
                marks << QStringLiteral("?");
                values << bindValue(buffer[c]);
            }
        }
        const QString statement = cols.isEmpty() ? QStringLiteral("INSERT INTO %1 DEFAULT VALUES").arg(table)
                                                 : QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                                                       .arg(table, cols.join(u','), marks.join(u','));
        const QSqlQuery q = db->Run(statement, values);

        Row row;
        row.values = buffer;
        // The auto-number the database gave the new row, so that the row can be updated or deleted.
        const QStringList& keys = keyColumns();
        if (keys.size() == 1) {
            const int k = column(keys.front());
            if (k >= 0 && !dirty[k]) {
                QVariant id = q.lastInsertId();
                if (!id.isValid() && db->dialect() == Database::Dialect::PostgreSql) {
                    QSqlQuery last(db->sql());
                    if (last.exec(QStringLiteral("SELECT lastval()")) && last.next())
                        id = last.value(0);
                }
                row.values[k] = id;
            }
        }
        rows.push_back(std::move(row));
        ++live;
        pos = int(rows.size()) - 1;
    }

    // "k1 = ? AND k2 = ?" and the current row's key values.
    QString keyCondition(QList<QVariant>& values)
    {
        QStringList parts;
        for (const QString& k : keyColumns()) {
            const int c = column(k);
            if (c < 0)
                throw notUpdatable(QStringLiteral(" (") + k + u')');
            parts << k + QStringLiteral(" = ?");
            values << rows[pos].values[c];
        }
        return parts.join(QStringLiteral(" AND "));
    }

    void writeUpdate()
    {
        QStringList sets;
        QList<QVariant> values;
        for (int c = 0; c < names.size(); ++c) {
            if (dirty[c]) {
                sets << names[c] + QStringLiteral(" = ?");
                values << buffer[c];
            }
        }
        if (sets.isEmpty())
            return;
        QList<QVariant> keyValues;
        const QString where = keyCondition(keyValues);
        const QString statement =
            QStringLiteral("UPDATE %1 SET %2 WHERE %3").arg(table, sets.join(QStringLiteral(", ")), where);
        QList<QVariant> bound;
        bound.reserve(values.size() + keyValues.size());
        for (const QVariant& v : std::as_const(values))
            bound << bindValue(v);
        for (const QVariant& v : std::as_const(keyValues))
            bound << bindValue(v);
        if (db->Write(statement, bound) == 0)
            throw rowGone();
        for (int c = 0; c < names.size(); ++c) {
            if (dirty[c])
                rows[pos].values[c] = buffer[c];
        }
    }

    void endEdit()
    {
        edit = Edit::None;
        buffer.clear();
        dirty.clear();
    }

    void beginEdit(Edit mode)
    {
        edit = mode;
        buffer = QList<QVariant>(names.size());
        dirty = QList<bool>(names.size(), false);
    }

    // Moving away from a row, adding another or closing writes a pending edit first, as the old
    // record sets did.
    void flush()
    {
        if (edit == Edit::None)
            return;
        const Edit mode = edit;
        try {
            if (mode == Edit::Adding)
                writeInsert();
            else
                writeUpdate();
        } catch (...) {
            endEdit();
            throw;
        }
        endEdit();
    }
};

Recordset::Recordset(Database& db, const QString& sql) : d(std::make_unique<Impl>())
{
    d->db = &db;
    d->keepAlive = db.weak_from_this().lock();
    d->sql = sql;
    static const QRegularExpression from(QStringLiteral("\\bFROM\\s+([A-Za-z_][A-Za-z0-9_]*)"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = from.match(sql);
    if (m.hasMatch())
        d->table = m.captured(1);

    // A SELECT runs exactly as it was built. A DELETE or UPDATE opened as a record set (the old
    // tool did that) is executed like Database::Execute and leaves an empty set.
    static const QRegularExpression selectStatement(QStringLiteral("^\\s*(SELECT|WITH)\\b"),
                                                    QRegularExpression::CaseInsensitiveOption);
    const QString statement = selectStatement.match(sql).hasMatch() ? sql : TranslateJetSql(sql);
    Cursor cursor(db, statement);
    if (!cursor.isSelect())
        return;
    d->names = cursor.names();
    d->types = cursor.types();
    for (qsizetype c = 0; c < d->names.size(); ++c)
        d->index.insert(d->names[c].toUpper(), int(c));
    while (cursor.next())
        d->rows.push_back({cursor.row()});
    d->live = int(d->rows.size());
}

Recordset::~Recordset() = default;

int Recordset::RecordCount() const
{
    d->checkOpen();
    return d->live;
}

bool Recordset::Eof() const
{
    d->checkOpen();
    return d->pos >= int(d->rows.size());
}

void Recordset::MoveFirst()
{
    d->checkOpen();
    d->flush();
    d->pos = 0;
    d->skipDeleted();
}

void Recordset::MoveNext()
{
    d->checkOpen();
    d->flush();
    if (d->pos >= int(d->rows.size()))
        throw noCurrentRow();
    ++d->pos;
    d->skipDeleted();
}

QString Recordset::Field(const QString& name) const
{
    d->checkOpen();
    const int c = d->columnOrThrow(name);
    const QVariant v = d->valueAt(c);
    if (v.isNull())
        return QString();
    if (IsYesNoColumn(d->names[c]) || d->types[c] == QMetaType::Bool)
        return yesNoValue(v) ? QStringLiteral("True") : QStringLiteral("False");
    // Numbers read as the plain decimal text users typed (1000000, never 1e+06).
    if (v.typeId() == QMetaType::Double || v.typeId() == QMetaType::Float)
        return DecimalText(v.toDouble());
    return v.toString();
}

QVariant Recordset::Value(const QString& name) const
{
    d->checkOpen();
    return d->valueAt(d->columnOrThrow(name));
}

bool Recordset::IsNull(const QString& name) const
{
    return Value(name).isNull();
}

bool Recordset::Bool(const QString& name) const
{
    return yesNoValue(Value(name));
}

QStringList Recordset::FieldNames() const
{
    return d->names;
}

QStringList Recordset::ColumnTexts(const QString& name) const
{
    d->checkOpen();
    const int c = d->columnOrThrow(name);
    QStringList out;
    out.reserve(qsizetype(d->rows.size()));
    for (const Impl::Row& row : d->rows)
        out << (row.values[c].isNull() ? QString() : row.values[c].toString());
    return out;
}

void Recordset::Reorder(const QList<int>& order)
{
    d->checkOpen();
    if (order.size() != qsizetype(d->rows.size()))
        throw RuntimeError(5, QStringLiteral("プロシージャの呼び出し、または引数が不正です。"));
    d->endEdit();
    std::vector<Impl::Row> sorted;
    sorted.reserve(d->rows.size());
    for (const int i : order)
        sorted.push_back(std::move(d->rows.at(size_t(i))));
    d->rows = std::move(sorted);
    d->pos = 0;
    d->skipDeleted();
}

void Recordset::AddNew()
{
    d->checkOpen();
    d->flush();
    d->beginEdit(Impl::Edit::Adding);
}

void Recordset::SetField(const QString& name, const QVariant& value)
{
    d->checkOpen();
    const int c = d->columnOrThrow(name);
    if (d->edit == Impl::Edit::None) {
        if (!d->onRow())
            throw noCurrentRow();
        d->beginEdit(Impl::Edit::Editing);
    }
    d->buffer[c] = d->coerce(c, value);
    d->dirty[c] = true;
}

void Recordset::Update()
{
    d->checkOpen();
    if (d->edit == Impl::Edit::None)
        return;
    d->flush();
}

void Recordset::Delete()
{
    d->checkOpen();
    if (d->edit == Impl::Edit::Adding) {
        d->endEdit();
        return;
    }
    d->endEdit();
    if (!d->onRow())
        throw noCurrentRow();
    QList<QVariant> keyValues;
    const QString statement =
        QStringLiteral("DELETE FROM %1 WHERE %2").arg(d->table, d->keyCondition(keyValues));
    QList<QVariant> bound;
    for (const QVariant& v : std::as_const(keyValues))
        bound << d->bindValue(v);
    if (d->db->Write(statement, bound) == 0)
        throw rowGone();
    d->rows[d->pos].deleted = true;
    --d->live;
}

void Recordset::Close()
{
    d->checkOpen();
    // A pending edit is dropped: only Update writes.
    d->endEdit();
    d->open = false;
    d->rows.clear();
    d->live = 0;
    d->keepAlive.reset();
}

void OpenRecordset(Database& connection, std::unique_ptr<Recordset>& rs, const QString& sql)
{
    rs.reset();
    rs = std::make_unique<Recordset>(connection, sql);
}
