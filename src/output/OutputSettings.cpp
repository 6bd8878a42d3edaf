#include "OutputSettings.h"

const QStringList& DetailItemNames()
{
    static const QStringList names = {QStringLiteral("ZUBAN"),    QStringLiteral("HINMEI"),
                                      QStringLiteral("ZAISHITU"), QStringLiteral("BIKO"),
                                      QStringLiteral("SURYO"),    QStringLiteral("TANKA"),
                                      QStringLiteral("KING"),     QStringLiteral("MAKER")};
    return names;
}

const QStringList& OutputSettings::columns()
{
    static const QStringList list = [] {
        QStringList c = {QStringLiteral("CH_USER"),       QStringLiteral("CH_BUHIN"),
                         QStringLiteral("CH_ORGPATH"),    QStringLiteral("CH_ORGSHEET"),
                         QStringLiteral("CH_CPYPATH"),    QStringLiteral("CH_CPYSHEET"),
                         QStringLiteral("INT_PAGEMAX"),   QStringLiteral("CH_HMIDASHI_R"),
                         QStringLiteral("CH_HMIDASHI_C"), QStringLiteral("CH_HMIDASHI")};
        for (const char* item : {"DWGNO", "NAME", "ASSY", "DATE", "DESINED", "SHEET"}) {
            const QString i = QString::fromLatin1(item);
            c << QStringLiteral("CH_H") + i + QStringLiteral("_R")
              << QStringLiteral("CH_H") + i + QStringLiteral("_C") << QStringLiteral("YN_H") + i;
        }
        for (const QString& i : DetailItemNames()) {
            const QString m = QStringLiteral("CH_M") + i;
            c << m + QStringLiteral("_SR") << m + QStringLiteral("_SC") << m + QStringLiteral("_ER")
              << m + QStringLiteral("_EC") << QStringLiteral("YN_M") + i << QStringLiteral("CH_MM") + i;
        }
        return c;
    }();
    return list;
}

QString PrintSettingsQuery(const QString& customer, const QString& kind)
{
    return QStringLiteral("SELECT * FROM SETTEI WHERE CH_USER = '") + customer + u'\'' +
           QStringLiteral(" and CH_BUHIN = '") + kind + u'\'';
}
