#include "SearchQueries.h"

#include "Database.h"

QString BuildNameListQuery(const QString& dwgNo, const QString& exactDwgNo)
{
    QString sql = QStringLiteral("SELECT ") + QStringLiteral("CH_NAME") + QStringLiteral(" FROM BUHINHYO") +
                  QStringLiteral(" WHERE CH_DWGNO LIKE '") + dwgNo.trimmed() + QStringLiteral("%'");
    if (!exactDwgNo.isEmpty())
        sql += QStringLiteral(" AND CH_DWGNO = '") + exactDwgNo + u'\'';
    sql += QStringLiteral(" GROUP BY ") + QStringLiteral("CH_NAME") + QStringLiteral(" ORDER BY ") +
           QStringLiteral("CH_NAME");
    return sql;
}

QString TableCondition(const QString& assy, const QString& dwgNo, const QString& kind)
{
    return QStringLiteral(" WHERE CH_ASSY  = '") + assy + u'\'' + QStringLiteral(" AND CH_DWGNO = '") +
           dwgNo + u'\'' + QStringLiteral(" AND CH_BUHIN = '") + kind + u'\'';
}

QString BuildHeaderSelect(const QString& assy, const QString& dwgNo, const QString& kind)
{
    return QStringLiteral("SELECT * FROM BUHINHYO") + TableCondition(assy, dwgNo, kind);
}

QString BuildHeaderDelete(const QString& assy, const QString& dwgNo, const QString& kind)
{
    return QStringLiteral("DELETE * FROM BUHINHYO") + TableCondition(assy, dwgNo, kind);
}

QString BuildDetailDelete(const QString& assy, const QString& dwgNo, const QString& kind)
{
    return QStringLiteral("DELETE * FROM BUHINHYO_M") + TableCondition(assy, dwgNo, kind);
}

QStringList ReadNameList(Database& db, const QString& dwgNo, const QString& exactDwgNo)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, BuildNameListQuery(dwgNo, exactDwgNo));
    QStringList names;
    if (rs->RecordCount() > 0)
        rs->MoveFirst();
    while (!rs->Eof()) {
        const QString name = rs->Field(QStringLiteral("CH_NAME")).trimmed();
        if (!name.isEmpty())
            names << name;
        rs->MoveNext();
    }
    rs->Close();
    return names;
}

bool TableExists(Database& db, const QString& assy, const QString& dwgNo, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, BuildHeaderSelect(assy, dwgNo, kind));
    const bool found = rs->RecordCount() > 0;
    rs->Close();
    return found;
}

void DeleteTable(Database& db, const QString& assy, const QString& dwgNo, const QString& kind)
{
    db.BeginTrans();
    try {
        db.Execute(BuildHeaderDelete(assy, dwgNo, kind));
        db.Execute(BuildDetailDelete(assy, dwgNo, kind));
        db.CommitTrans();
    } catch (...) {
        // The error ends the delete; nothing of it stays.
        db.RollbackTrans();
        throw;
    }
}
