#include "PartsRecords.h"

#include "Common.h"
#include "Database.h"

#include <QDate>

namespace
{

QString quoted(const QString& value)
{
    return u'\'' + value + u'\'';
}

bool given(const QString& cell)
{
    return !cell.trimmed().isEmpty();
}

// The header date as "YYYY/MM/DD"; a text that is not a date is stored as it stands.
QString headerDate(const QString& text)
{
    const QString t = text.trimmed();
    for (const QString& format :
         {QStringLiteral("yyyy/M/d"), QStringLiteral("yyyy-M-d"), QStringLiteral("yyyyMMdd")}) {
        const QDate d = QDate::fromString(t, format);
        if (d.isValid())
            return d.toString(QStringLiteral("yyyy/MM/dd"));
    }
    return text;
}

// Column assignments in the order they are made.
using Assignments = std::initializer_list<std::pair<const char16_t*, QVariant>>;

void setFields(Recordset& rs, Assignments fields)
{
    for (const auto& [name, value] : fields)
        rs.SetField(QString::fromUtf16(name), value);
}

// A query that found no row starts a new one with the owning table's key columns.
void addWhenMissing(Recordset& rs, Assignments keys)
{
    if (rs.RecordCount() != 0)
        return;
    rs.AddNew();
    setFields(rs, keys);
}

} // namespace

void OrderByItemNumber(Database& db, Recordset& lines, bool makerFirst)
{
    const QStringList makers = makerFirst ? lines.ColumnTexts(QStringLiteral("CH_MAKER")) : QStringList();
    lines.Reorder(ItemNumberOrder(lines.ColumnTexts(QStringLiteral("CH_ZNO")), makers, db.isSqlite()));
}

QString HeaderQuery(const QString& assy, const QString& dwgNo, const QString& kind)
{
    return QStringLiteral("SELECT * FROM BUHINHYO WHERE CH_ASSY  = ") + quoted(assy) +
           QStringLiteral(" AND CH_DWGNO = ") + quoted(dwgNo) + QStringLiteral(" AND CH_BUHIN = ") +
           quoted(kind);
}

QString DetailRowQuery(const QString& assy, const QString& numberText)
{
    return QStringLiteral("SELECT * FROM BUHINHYO_M WHERE CH_ASSY    = ") + quoted(assy) +
           QStringLiteral(" AND INT_NUMBER = ") + numberText + QStringLiteral(" ORDER BY CH_ZNO");
}

QString DeleteDetailStatement(const QString& numberText)
{
    return QStringLiteral("DELETE FROM BUHINHYO_M WHERE INT_NUMBER = ") + numberText;
}

QString BuildHistoryQuery(const QString& column, const QString& kind, const QString& customer,
                          const QString& maker, const QString& typed)
{
    QString sql = QStringLiteral("SELECT ") + column +
                  QStringLiteral(",SUM(INT_SURYO) AS SUM_SURYO FROM BUHINHYO_M") +
                  QStringLiteral(" WHERE CH_BUHIN = ") + quoted(kind);
    if (!customer.trimmed().isEmpty())
        sql += QStringLiteral(" AND CH_USER = ") + quoted(customer.trimmed());
    if (!maker.trimmed().isEmpty())
        sql += QStringLiteral(" AND CH_MAKER = ") + quoted(maker.trimmed());
    if (!typed.trimmed().isEmpty())
        sql += QStringLiteral(" AND ") + column + QStringLiteral(" LIKE ") + quoted(typed.trimmed() + u'%');
    sql += QStringLiteral(" GROUP BY ") + column + QStringLiteral(" ORDER BY ") + column;
    return sql;
}

std::optional<PartsHeader> ReadHeader(Database& db, const QString& assy, const QString& dwgNo,
                                      const QString& kind)
{
    Recordset rs(db, HeaderQuery(assy, dwgNo, kind));
    if (rs.RecordCount() == 0)
        return std::nullopt;
    PartsHeader h;
    h.user = rs.Field(QStringLiteral("CH_USER"));
    h.assy = rs.Field(QStringLiteral("CH_ASSY"));
    h.dwgNo = rs.Field(QStringLiteral("CH_DWGNO"));
    h.kind = rs.Field(QStringLiteral("CH_BUHIN"));
    h.name = rs.Field(QStringLiteral("CH_NAME"));
    h.date = rs.Field(QStringLiteral("CH_HDATE"));
    h.designer = rs.Field(QStringLiteral("CH_DESINED"));
    rs.Close();
    return h;
}

void SaveHeader(Database& db, const PartsHeader& header)
{
    Recordset rs(db, HeaderQuery(header.assy, header.dwgNo, header.kind));
    addWhenMissing(rs, {{u"CH_USER", header.user},
                        {u"CH_ASSY", header.assy},
                        {u"CH_DWGNO", header.dwgNo},
                        {u"CH_BUHIN", header.kind}});
    setFields(rs, {{u"CH_NAME", header.name},
                   {u"CH_HDATE", headerDate(header.date)},
                   {u"CH_DESINED", header.designer}});
    rs.Update();
    rs.Close();
}

void SaveDetailLine(Database& db, const PartsHeader& owner, const PartsLine& line, const QString& updDate)
{
    // A line that was never stored has no number; 0 is never given out, so it finds no row.
    const QString number = line.number.trimmed().isEmpty() ? QStringLiteral("0") : line.number.trimmed();
    Recordset rs(db, DetailRowQuery(owner.assy, number));
    addWhenMissing(rs, {{u"CH_ASSY", owner.assy},
                        {u"CH_DWGNO", owner.dwgNo},
                        {u"CH_USER", owner.user},
                        {u"CH_BUHIN", owner.kind}});
    setFields(rs, {{u"CH_ZNO", line.zno}, {u"CH_HINMEI", line.hinmei}, {u"CH_ZAISHITU", line.zaishitu}});
    // Empty number cells are skipped, not cleared: the stored quantity and its unit stay.
    if (given(line.suryo))
        setFields(rs, {{u"INT_SURYO", line.suryo}, {u"CH_TANI", line.tani}});
    if (given(line.suryo2))
        setFields(rs, {{u"INT_SURYO2", line.suryo2}, {u"CH_TANI2", line.tani2}});
    setFields(rs, {{u"CH_BIKO", line.biko}});
    if (given(line.tanka))
        setFields(rs, {{u"INT_TANKA", line.tanka}});
    if (given(line.kingk))
        setFields(rs, {{u"INT_KINGK", line.kingk}});
    setFields(rs, {{u"CH_MAKER", line.maker},
                   {u"CH_HAISHI", line.haishi},
                   {u"CH_KAKKO", line.kakko},
                   {u"CH_UPDDATE", updDate}});
    rs.Update();
    rs.Close();
}

void DeleteDetailLine(Database& db, const QString& numberText)
{
    db.Execute(DeleteDetailStatement(numberText));
}

void SaveTable(Database& db, const PartsHeader& header, const QList<PartsLine>& lines, const QString& updDate)
{
    SaveHeader(db, header);
    for (const PartsLine& line : lines)
        SaveDetailLine(db, header, line, updDate);
}
