#include "DataSearch.h"

#include "Common.h"
#include "Database.h"
#include "ListQuery.h"

#include <memory>

namespace
{

void addPrefix(QString& sql, const QString& column, const QString& value)
{
    const QString v = value.trimmed();
    if (!v.isEmpty())
        sql += QStringLiteral(" AND H.") + column + QStringLiteral(" LIKE '") + v + QStringLiteral("%'");
}

QString flagText(bool on)
{
    return on ? QStringLiteral("1") : QStringLiteral("0");
}

} // namespace

QString BuildDataSearchQuery(const DataSearchFilter& filter)
{
    QString sql = QStringLiteral("SELECT H.CH_DWGNO,H.CH_ASSY,H.CH_BUHIN,H.CH_NAME,H.CH_HDATE,H.CH_DESINED,"
                                 "H.CH_USER,(SELECT COUNT(*) FROM BUHINHYO_M M WHERE M.CH_DWGNO = H.CH_DWGNO"
                                 " AND M.CH_ASSY = H.CH_ASSY AND M.CH_BUHIN = H.CH_BUHIN) AS LINE_COUNT"
                                 " FROM BUHINHYO H WHERE H.CH_BUHIN = '") +
                  filter.kind + u'\'';
    addPrefix(sql, QStringLiteral("CH_DWGNO"), filter.dwgNo);
    addPrefix(sql, QStringLiteral("CH_ASSY"), filter.assy);
    addPrefix(sql, QStringLiteral("CH_NAME"), filter.name);
    addPrefix(sql, QStringLiteral("CH_DESINED"), filter.designer);
    const QString customer = filter.customer.trimmed();
    if (!customer.isEmpty())
        sql += QStringLiteral(" AND H.CH_USER = '") + customer + u'\'';
    sql += QStringLiteral(" ORDER BY H.CH_DWGNO,H.CH_ASSY");
    return sql;
}

QList<StoredTable> FindStoredTables(Database& db, const DataSearchFilter& filter)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, BuildDataSearchQuery(filter));
    QList<StoredTable> tables;
    if (rs->RecordCount() > 0)
        rs->MoveFirst();
    while (!rs->Eof()) {
        StoredTable t;
        t.dwgNo = rs->Field(QStringLiteral("CH_DWGNO"));
        t.assy = rs->Field(QStringLiteral("CH_ASSY"));
        t.kind = rs->Field(QStringLiteral("CH_BUHIN"));
        t.name = rs->Field(QStringLiteral("CH_NAME"));
        t.date = rs->Field(QStringLiteral("CH_HDATE"));
        t.designer = rs->Field(QStringLiteral("CH_DESINED"));
        t.customer = rs->Field(QStringLiteral("CH_USER"));
        t.lines = rs->Field(QStringLiteral("LINE_COUNT")).toInt();
        tables.append(t);
        rs->MoveNext();
    }
    rs->Close();
    return tables;
}

QList<QStringList> ReadCopySourceLines(Database& db, const QString& dwgNo, const QString& assy,
                                       const QString& kind)
{
    // The same query the editor loads a table with.
    const QString sql = BuildListQuery(QStringLiteral("FORM LOAD"), QString(), dwgNo, assy, kind, QString());
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, sql);
    QList<QStringList> lines;
    if (rs->RecordCount() > 0)
        rs->MoveFirst();
    while (!rs->Eof()) {
        QStringList line;
        line.reserve(kGridColumns);
        // A new line carries one blank in its first cell until it is numbered.
        line << QStringLiteral(" ");
        const bool kakko = rs->Bool(QStringLiteral("CH_KAKKO"));
        const QString zno = DigitsOnly(rs->Field(QStringLiteral("CH_ZNO")));
        line << (kakko ? u'(' + zno + u')' : zno);
        line << rs->Field(QStringLiteral("CH_HINMEI")) << rs->Field(QStringLiteral("CH_ZAISHITU"))
             << rs->Field(QStringLiteral("INT_SURYO")) << rs->Field(QStringLiteral("CH_TANI"))
             << rs->Field(QStringLiteral("INT_SURYO2")) << rs->Field(QStringLiteral("CH_TANI2"))
             << rs->Field(QStringLiteral("CH_BIKO")) << rs->Field(QStringLiteral("INT_TANKA"))
             << rs->Field(QStringLiteral("INT_KINGK")) << rs->Field(QStringLiteral("CH_MAKER"));
        line << QString(); // no stored number: the next save inserts the line as a new row
        line << flagText(rs->Bool(QStringLiteral("CH_HAISHI"))) << flagText(kakko);
        lines.append(line);
        rs->MoveNext();
    }
    rs->Close();
    return lines;
}

bool IsBlankGridLine(const QStringList& line)
{
    // Column 1 is left out: renumbering gives even an empty line an item number.
    for (int c = 2; c <= kColNumber && c < line.size(); ++c)
        if (!line[c].trimmed().isEmpty())
            return false;
    return true;
}

int AppendCopiedLines(QList<QStringList>& grid, const QList<QStringList>& copies)
{
    if (grid.size() == 1 && IsBlankGridLine(grid.front()))
        grid.clear();
    const int first = int(grid.size());
    grid.append(copies);
    return first;
}
