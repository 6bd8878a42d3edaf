#include "PartsRecords.h"

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

} // namespace

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
    if (rs.RecordCount() == 0) {
        rs.AddNew();
        rs.SetField(QStringLiteral("CH_USER"), header.user);
        rs.SetField(QStringLiteral("CH_ASSY"), header.assy);
        rs.SetField(QStringLiteral("CH_DWGNO"), header.dwgNo);
        rs.SetField(QStringLiteral("CH_BUHIN"), header.kind);
    }
    rs.SetField(QStringLiteral("CH_NAME"), header.name);
    rs.SetField(QStringLiteral("CH_HDATE"), headerDate(header.date));
    rs.SetField(QStringLiteral("CH_DESINED"), header.designer);
    rs.Update();
    rs.Close();
}

void SaveDetailLine(Database& db, const PartsHeader& owner, const PartsLine& line, const QString& updDate)
{
    // A line that was never stored has no number; 0 is never given out, so it finds no row.
    const QString number = line.number.trimmed().isEmpty() ? QStringLiteral("0") : line.number.trimmed();
    Recordset rs(db, DetailRowQuery(owner.assy, number));
    if (rs.RecordCount() == 0) {
        rs.AddNew();
        rs.SetField(QStringLiteral("CH_ASSY"), owner.assy);
        rs.SetField(QStringLiteral("CH_DWGNO"), owner.dwgNo);
        rs.SetField(QStringLiteral("CH_USER"), owner.user);
        rs.SetField(QStringLiteral("CH_BUHIN"), owner.kind);
    }
    rs.SetField(QStringLiteral("CH_ZNO"), line.zno);
    rs.SetField(QStringLiteral("CH_HINMEI"), line.hinmei);
    rs.SetField(QStringLiteral("CH_ZAISHITU"), line.zaishitu);
    // Empty number cells are skipped, not cleared: the stored quantity and its unit stay.
    if (given(line.suryo)) {
        rs.SetField(QStringLiteral("INT_SURYO"), line.suryo);
        rs.SetField(QStringLiteral("CH_TANI"), line.tani);
    }
    if (given(line.suryo2)) {
        rs.SetField(QStringLiteral("INT_SURYO2"), line.suryo2);
        rs.SetField(QStringLiteral("CH_TANI2"), line.tani2);
    }
    rs.SetField(QStringLiteral("CH_BIKO"), line.biko);
    if (given(line.tanka))
        rs.SetField(QStringLiteral("INT_TANKA"), line.tanka);
    if (given(line.kingk))
        rs.SetField(QStringLiteral("INT_KINGK"), line.kingk);
    rs.SetField(QStringLiteral("CH_MAKER"), line.maker);
    rs.SetField(QStringLiteral("CH_HAISHI"), line.haishi);
    rs.SetField(QStringLiteral("CH_KAKKO"), line.kakko);
    rs.SetField(QStringLiteral("CH_UPDDATE"), updDate);
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
