#include "SettingsRecord.h"

#include "Database.h"

namespace
{
QString headerCol(int i, QStringView suffix)
{
    return QStringLiteral("CH_H") + kHeaderItems[size_t(i)] + suffix;
}
QString headerFlag(int i)
{
    return QStringLiteral("YN_H") + kHeaderItems[size_t(i)];
}
QString detailCol(int i, QStringView suffix)
{
    return QStringLiteral("CH_M") + kDetailItems[size_t(i)] + suffix;
}
QString detailFlag(int i)
{
    return QStringLiteral("YN_M") + kDetailItems[size_t(i)];
}
QString detailHeading(int i)
{
    return QStringLiteral("CH_MM") + kDetailItems[size_t(i)];
}
} // namespace

SettingsRecord SettingsRecord::FromRecordset(const Recordset& rs)
{
    SettingsRecord r;
    r.user = rs.Field(QStringLiteral("CH_USER"));
    r.kind = rs.Field(QStringLiteral("CH_BUHIN"));
    r.orgPath = rs.Field(QStringLiteral("CH_ORGPATH"));
    r.orgSheet = rs.Field(QStringLiteral("CH_ORGSHEET"));
    r.cpyPath = rs.Field(QStringLiteral("CH_CPYPATH"));
    r.cpySheet = rs.Field(QStringLiteral("CH_CPYSHEET"));
    r.pageMax = rs.Field(QStringLiteral("INT_PAGEMAX"));
    r.midashiRow = rs.Field(QStringLiteral("CH_HMIDASHI_R"));
    r.midashiCol = rs.Field(QStringLiteral("CH_HMIDASHI_C"));
    r.midashi = rs.Field(QStringLiteral("CH_HMIDASHI"));
    for (int i = 0; i < kHeaderItemCount; ++i) {
        HeaderCell& h = r.header[size_t(i)];
        h.row = rs.Field(headerCol(i, u"_R"));
        h.col = rs.Field(headerCol(i, u"_C"));
        h.on = rs.Bool(headerFlag(i));
    }
    for (int i = 0; i < kDetailItemCount; ++i) {
        DetailColumn& d = r.detail[size_t(i)];
        d.startRow = rs.Field(detailCol(i, u"_SR"));
        d.startCol = rs.Field(detailCol(i, u"_SC"));
        d.endRow = rs.Field(detailCol(i, u"_ER"));
        d.endCol = rs.Field(detailCol(i, u"_EC"));
        d.on = rs.Bool(detailFlag(i));
        d.heading = rs.Field(detailHeading(i));
    }
    return r;
}

void SettingsRecord::AssignTo(Recordset& rs) const
{
    rs.SetField(QStringLiteral("CH_ORGPATH"), orgPath);
    rs.SetField(QStringLiteral("CH_ORGSHEET"), orgSheet);
    rs.SetField(QStringLiteral("CH_CPYPATH"), cpyPath);
    rs.SetField(QStringLiteral("CH_CPYSHEET"), cpySheet);
    rs.SetField(QStringLiteral("INT_PAGEMAX"), PageMaxValue(pageMax));
    rs.SetField(QStringLiteral("CH_HMIDASHI_R"), midashiRow);
    rs.SetField(QStringLiteral("CH_HMIDASHI_C"), midashiCol);
    rs.SetField(QStringLiteral("CH_HMIDASHI"), midashi);
    for (int i = 0; i < kHeaderItemCount; ++i) {
        const HeaderCell& h = header[size_t(i)];
        rs.SetField(headerCol(i, u"_R"), h.row);
        rs.SetField(headerCol(i, u"_C"), h.col);
        rs.SetField(headerFlag(i), h.on);
    }
    for (int i = 0; i < kDetailItemCount; ++i) {
        const DetailColumn& d = detail[size_t(i)];
        rs.SetField(detailCol(i, u"_SR"), d.startRow);
        rs.SetField(detailCol(i, u"_SC"), d.startCol);
        rs.SetField(detailCol(i, u"_ER"), d.endRow);
        rs.SetField(detailCol(i, u"_EC"), d.endCol);
        rs.SetField(detailFlag(i), d.on);
        rs.SetField(detailHeading(i), d.heading);
    }
}
