#include "DataSearch.h"

#include "Common.h"
#include "Database.h"

#include <memory>

namespace
{

void addPrefix(QString& sql, const QString& column, const QString& value)
{
    const QString v = value.trimmed();
    if (!v.isEmpty())
        sql += QStringLiteral(" AND H.") + column + QStringLiteral(" LIKE '") + v + QStringLiteral("%'");
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
