#include "ImportWriter.h"

#include "Database.h"
#include "PartsRecords.h"

namespace
{
QString linesWhere(const QString& dwgNo, const QString& assy, const QString& kind)
{
    return QStringLiteral(" WHERE CH_ASSY = '") + assy + QStringLiteral("' AND CH_DWGNO = '") + dwgNo +
           QStringLiteral("' AND CH_BUHIN = '") + kind + QStringLiteral("'");
}

PartsLine partsLine(const ImportLine& l)
{
    PartsLine p;
    p.zno = l.zno;
    p.hinmei = l.hinmei;
    p.zaishitu = l.zaishitu;
    p.suryo = l.quantity.qty1;
    p.tani = l.quantity.unit1;
    p.suryo2 = l.quantity.qty2;
    p.tani2 = l.quantity.unit2;
    p.biko = l.biko;
    p.tanka = l.tanka;
    p.kingk = l.kingk;
    p.maker = l.maker;
    p.haishi = l.haishi;
    p.kakko = l.kakko;
    return p;
}
} // namespace

bool PartsTableExists(Database& db, const QString& dwgNo, const QString& assy, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, HeaderQuery(assy, dwgNo, kind));
    const bool found = rs->RecordCount() > 0;
    rs->Close();
    return found;
}

int StoredLineCount(Database& db, const QString& dwgNo, const QString& assy, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs,
                  QStringLiteral("SELECT INT_NUMBER FROM BUHINHYO_M") + linesWhere(dwgNo, assy, kind));
    const int n = rs->RecordCount();
    rs->Close();
    return n;
}

void WriteImportedTable(Database& db, const ImportTable& table, const QString& customer, const QString& kind,
                        ImportAction action, const QDate& today)
{
    if (action == ImportAction::Skip)
        return;
    if (action == ImportAction::Replace)
        db.Execute(QStringLiteral("DELETE FROM BUHINHYO_M") + linesWhere(table.dwgNo, table.assy, kind));
    PartsHeader header;
    header.user = customer;
    header.assy = table.assy;
    header.dwgNo = table.dwgNo;
    header.kind = kind;
    header.name = table.name;
    header.date = table.date;
    header.designer = table.designer;
    // Adding lines keeps the stored header as it is.
    if (action != ImportAction::Add)
        SaveHeader(db, header);
    const QString updDate = today.toString(QStringLiteral("yyyyMMdd"));
    for (const ImportLine& line : table.lines)
        SaveDetailLine(db, header, partsLine(line), updDate);
}
