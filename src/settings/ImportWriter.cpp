#include "ImportWriter.h"

#include "Database.h"

namespace
{
QString headerSql(const QString& dwgNo, const QString& assy, const QString& kind)
{
    return QStringLiteral("SELECT * FROM BUHINHYO WHERE CH_ASSY  = '") + assy + QStringLiteral("'") +
           QStringLiteral(" AND CH_DWGNO = '") + dwgNo + QStringLiteral("'") +
           QStringLiteral(" AND CH_BUHIN = '") + kind + QStringLiteral("'");
}

QString linesWhere(const QString& dwgNo, const QString& assy, const QString& kind)
{
    return QStringLiteral(" WHERE CH_ASSY = '") + assy + QStringLiteral("' AND CH_DWGNO = '") + dwgNo +
           QStringLiteral("' AND CH_BUHIN = '") + kind + QStringLiteral("'");
}

QVariant numberValue(const QString& text)
{
    bool ok = false;
    const qlonglong whole = text.toLongLong(&ok);
    if (ok)
        return whole;
    return text.toDouble();
}

void writeHeader(Database& db, const ImportTable& t, const QString& customer, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, headerSql(t.dwgNo, t.assy, kind));
    if (rs->RecordCount() == 0) {
        rs->AddNew();
        rs->SetField(QStringLiteral("CH_USER"), customer);
        rs->SetField(QStringLiteral("CH_ASSY"), t.assy);
        rs->SetField(QStringLiteral("CH_DWGNO"), t.dwgNo);
        rs->SetField(QStringLiteral("CH_BUHIN"), kind);
    } else {
        rs->MoveFirst();
    }
    rs->SetField(QStringLiteral("CH_NAME"), t.name);
    rs->SetField(QStringLiteral("CH_HDATE"), t.date);
    rs->SetField(QStringLiteral("CH_DESINED"), t.designer);
    rs->Update();
    rs->Close();
}

void insertLine(Database& db, const ImportTable& t, const ImportLine& l, const QString& customer,
                const QString& kind, const QString& updDate)
{
    // A line that was never stored is looked up with number 0, which the database never gives.
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs,
                  QStringLiteral("SELECT * FROM BUHINHYO_M WHERE CH_ASSY    = '") + t.assy +
                      QStringLiteral("'") + QStringLiteral(" AND INT_NUMBER = 0 ORDER BY CH_ZNO"));
    rs->AddNew();
    rs->SetField(QStringLiteral("CH_ASSY"), t.assy);
    rs->SetField(QStringLiteral("CH_DWGNO"), t.dwgNo);
    rs->SetField(QStringLiteral("CH_USER"), customer);
    rs->SetField(QStringLiteral("CH_BUHIN"), kind);
    rs->SetField(QStringLiteral("CH_ZNO"), l.zno);
    rs->SetField(QStringLiteral("CH_HINMEI"), l.hinmei);
    rs->SetField(QStringLiteral("CH_ZAISHITU"), l.zaishitu);
    if (!l.quantity.qty1.isEmpty()) {
        rs->SetField(QStringLiteral("INT_SURYO"), numberValue(l.quantity.qty1));
        rs->SetField(QStringLiteral("CH_TANI"), l.quantity.unit1);
    }
    if (!l.quantity.qty2.isEmpty()) {
        rs->SetField(QStringLiteral("INT_SURYO2"), numberValue(l.quantity.qty2));
        rs->SetField(QStringLiteral("CH_TANI2"), l.quantity.unit2);
    }
    rs->SetField(QStringLiteral("CH_BIKO"), l.biko);
    if (!l.tanka.isEmpty())
        rs->SetField(QStringLiteral("INT_TANKA"), numberValue(l.tanka));
    if (!l.kingk.isEmpty())
        rs->SetField(QStringLiteral("INT_KINGK"), numberValue(l.kingk));
    rs->SetField(QStringLiteral("CH_MAKER"), l.maker);
    rs->SetField(QStringLiteral("CH_HAISHI"), l.haishi);
    rs->SetField(QStringLiteral("CH_KAKKO"), l.kakko);
    rs->SetField(QStringLiteral("CH_UPDDATE"), updDate);
    rs->Update();
    rs->Close();
}
} // namespace

bool PartsTableExists(Database& db, const QString& dwgNo, const QString& assy, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, headerSql(dwgNo, assy, kind));
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
    if (action != ImportAction::Add)
        writeHeader(db, table, customer, kind);
    const QString updDate = today.toString(QStringLiteral("yyyyMMdd"));
    for (const ImportLine& line : table.lines)
        insertLine(db, table, line, customer, kind, updDate);
}
