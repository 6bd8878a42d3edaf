#include "SettingsRecord.h"

#include "RuntimeError.h"

const std::array<QStringView, kHeaderItemCount> kHeaderItems{u"DWGNO", u"NAME",    u"ASSY",
                                                             u"DATE",  u"DESINED", u"SHEET"};
const std::array<QStringView, kHeaderItemCount> kHeaderCaptions{u"DWG.№", u"NAME",    u"ASSY",
                                                                u"DATE",  u"DESINED", u"SHEET"};
const std::array<QStringView, kDetailItemCount> kDetailItems{u"ZUBAN", u"HINMEI", u"ZAISHITU", u"BIKO",
                                                             u"SURYO", u"TANKA",  u"KING",     u"MAKER"};
const std::array<QStringView, kDetailItemCount> kDetailCaptions{u"図番№", u"品名", u"材質", u"備考",
                                                                u"数量",  u"単価", u"金額", u"ﾒｰｶｰ"};

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

QString SettingsRecord::LookupSql(const QString& user, const QString& kind)
{
    return QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER  = '") + user + QStringLiteral("'") +
           QStringLiteral(" AND CH_BUHIN = '") + kind + QStringLiteral("'");
}

QStringList SettingsRecord::ColumnNames()
{
    QStringList c{QStringLiteral("CH_USER"),       QStringLiteral("CH_BUHIN"),
                  QStringLiteral("CH_ORGPATH"),    QStringLiteral("CH_ORGSHEET"),
                  QStringLiteral("CH_CPYPATH"),    QStringLiteral("CH_CPYSHEET"),
                  QStringLiteral("INT_PAGEMAX"),   QStringLiteral("CH_HMIDASHI_R"),
                  QStringLiteral("CH_HMIDASHI_C"), QStringLiteral("CH_HMIDASHI")};
    for (int i = 0; i < kHeaderItemCount; ++i)
        c << headerCol(i, u"_R") << headerCol(i, u"_C") << headerFlag(i);
    for (int i = 0; i < kDetailItemCount; ++i)
        c << detailCol(i, u"_SR") << detailCol(i, u"_SC") << detailCol(i, u"_ER") << detailCol(i, u"_EC")
          << detailFlag(i) << detailHeading(i);
    return c;
}

int PageMaxValue(const QString& text)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    if (!ok)
        throw RuntimeError::typeMismatch();
    return value;
}
