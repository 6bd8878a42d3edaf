#include "SettingsRecord.h"

#include "Database.h"
#include "RuntimeError.h"

#include <cmath>

const std::array<QStringView, kHeaderItemCount> kHeaderItems{u"DWGNO", u"NAME",    u"ASSY",
                                                             u"DATE",  u"DESINED", u"SHEET"};
const std::array<QStringView, kHeaderItemCount> kHeaderCaptions{u"DWG.№", u"NAME",    u"ASSY",
                                                                u"DATE",  u"DESINED", u"SHEET"};
const std::array<QStringView, kDetailItemCount> kDetailItems{u"ZUBAN", u"HINMEI", u"ZAISHITU", u"BIKO",
                                                             u"SURYO", u"TANKA",  u"KING",     u"MAKER"};
const std::array<QStringView, kDetailItemCount> kDetailCaptions{u"図番№", u"品名", u"材質", u"備考",
                                                                u"数量",  u"単価", u"金額", u"ﾒｰｶｰ"};

QString HeaderColumn(int item, QStringView suffix)
{
    return QStringLiteral("CH_H") + kHeaderItems[size_t(item)] + suffix;
}
QString HeaderFlag(int item)
{
    return QStringLiteral("YN_H") + kHeaderItems[size_t(item)];
}
QString DetailColumnName(int item, QStringView suffix)
{
    return QStringLiteral("CH_M") + kDetailItems[size_t(item)] + suffix;
}
QString DetailFlag(int item)
{
    return QStringLiteral("YN_M") + kDetailItems[size_t(item)];
}
QString DetailHeading(int item)
{
    return QStringLiteral("CH_MM") + kDetailItems[size_t(item)];
}

QString SettingsRecord::LookupSql(const QString& user, const QString& kind)
{
    return QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER  = '") + user + QStringLiteral("'") +
           QStringLiteral(" AND CH_BUHIN = '") + kind + QStringLiteral("'");
}

QString SettingsRecord::PrintLookupSql(const QString& user, const QString& kind)
{
    return QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER = '") + user + QStringLiteral("'") +
           QStringLiteral(" and CH_BUHIN = '") + kind + QStringLiteral("'");
}

QStringList SettingsRecord::ColumnNames()
{
    QStringList c{QStringLiteral("CH_USER"),       QStringLiteral("CH_BUHIN"),
                  QStringLiteral("CH_ORGPATH"),    QStringLiteral("CH_ORGSHEET"),
                  QStringLiteral("CH_CPYPATH"),    QStringLiteral("CH_CPYSHEET"),
                  QStringLiteral("INT_PAGEMAX"),   QStringLiteral("CH_HMIDASHI_R"),
                  QStringLiteral("CH_HMIDASHI_C"), QStringLiteral("CH_HMIDASHI")};
    for (int i = 0; i < kHeaderItemCount; ++i)
        c << HeaderColumn(i, u"_R") << HeaderColumn(i, u"_C") << HeaderFlag(i);
    for (int i = 0; i < kDetailItemCount; ++i)
        c << DetailColumnName(i, u"_SR") << DetailColumnName(i, u"_SC") << DetailColumnName(i, u"_ER")
          << DetailColumnName(i, u"_EC") << DetailFlag(i) << DetailHeading(i);
    return c;
}

int PageMaxValue(const QString& text)
{
    // As the database takes a typed number into its integer column: a decimal rounds half to even
    // (1.5 and 2.5 give 2); a text that is no number is a type mismatch, a value past 32 bits an
    // overflow.
    bool ok = false;
    const double value = std::nearbyint(text.trimmed().toDouble(&ok));
    if (!ok || !std::isfinite(value))
        throw RuntimeError::typeMismatch();
    if (value < -2147483648.0 || value > 2147483647.0)
        throw RuntimeError::overflow();
    return static_cast<int>(value);
}

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
        h.row = rs.Field(HeaderColumn(i, u"_R"));
        h.col = rs.Field(HeaderColumn(i, u"_C"));
        h.on = rs.Bool(HeaderFlag(i));
    }
    for (int i = 0; i < kDetailItemCount; ++i) {
        DetailColumn& d = r.detail[size_t(i)];
        d.startRow = rs.Field(DetailColumnName(i, u"_SR"));
        d.startCol = rs.Field(DetailColumnName(i, u"_SC"));
        d.endRow = rs.Field(DetailColumnName(i, u"_ER"));
        d.endCol = rs.Field(DetailColumnName(i, u"_EC"));
        d.on = rs.Bool(DetailFlag(i));
        d.heading = rs.Field(DetailHeading(i));
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
        rs.SetField(HeaderColumn(i, u"_R"), h.row);
        rs.SetField(HeaderColumn(i, u"_C"), h.col);
        rs.SetField(HeaderFlag(i), h.on);
    }
    for (int i = 0; i < kDetailItemCount; ++i) {
        const DetailColumn& d = detail[size_t(i)];
        rs.SetField(DetailColumnName(i, u"_SR"), d.startRow);
        rs.SetField(DetailColumnName(i, u"_SC"), d.startCol);
        rs.SetField(DetailColumnName(i, u"_ER"), d.endRow);
        rs.SetField(DetailColumnName(i, u"_EC"), d.endCol);
        rs.SetField(DetailFlag(i), d.on);
        rs.SetField(DetailHeading(i), d.heading);
    }
}

QStringList WorkbookPathsOfAllSettings(Database& db)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, QStringLiteral("SELECT CH_ORGPATH, CH_CPYPATH FROM SETTEI"));
    QStringList paths;
    for (rs->MoveFirst(); !rs->Eof(); rs->MoveNext())
        for (const QString& column : {QStringLiteral("CH_ORGPATH"), QStringLiteral("CH_CPYPATH")})
            if (const QString path = rs->Field(column); !path.trimmed().isEmpty())
                paths << path;
    rs->Close();
    return paths;
}
