#include "HistorySearch.h"

#include "Database.h"
#include "PartsRecords.h"

#include <memory>

QString NameColumn()
{
    return QStringLiteral("CH_HINMEI");
}

QString MaterialColumn()
{
    return QStringLiteral("CH_ZAISHITU");
}

QList<HistoryEntry> RunHistorySearch(Database& db, const HistoryFilter& filter)
{
    const QString sql =
        BuildHistoryQuery(filter.column, filter.kind, filter.customer, filter.maker, filter.typed);
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, sql);
    QList<HistoryEntry> entries;
    if (rs->RecordCount() > 0)
        rs->MoveFirst();
    while (!rs->Eof()) {
        const QString value = rs->Field(filter.column);
        // A line stored without a name (or material) is of no help as a choice.
        if (!value.trimmed().isEmpty())
            entries.append({value, rs->Field(QStringLiteral("SUM_SURYO"))});
        rs->MoveNext();
    }
    rs->Close();
    return entries;
}
