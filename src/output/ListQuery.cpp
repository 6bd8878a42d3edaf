#include "ListQuery.h"

ListMode ListMode::parse(const QString& modeString)
{
    return ListMode{modeString.left(10).trimmed(), modeString.mid(10, 10).trimmed()};
}

QString ListMode::forPrint(bool summary, bool pagePerMaker)
{
    QString mode = summary ? QStringLiteral("LIST SUM") : QStringLiteral("LIST ALL");
    if (pagePerMaker)
        mode += QStringLiteral("  PAGE");
    return mode;
}

QString BuildListQuery(const QString& modeString, const QString& filterWord, const QString& dwgNo,
                       const QString& assy, const QString& kind, const QString& maker)
{
    const ListMode mode = ListMode::parse(modeString);
    const bool rows = mode.list == u"FORM LOAD" || mode.list == u"LIST ALL";
    const bool sum = mode.list == u"LIST SUM";

    QString select;
    if (rows) {
        select = QStringLiteral("SELECT * FROM BUHINHYO_M");
    } else if (sum) {
        select = QStringLiteral("SELECT CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI,CH_TANI2,CH_BIKO") +
                 QStringLiteral(" ,SUM(INT_SURYO) AS SUM_SURYO ,SUM(INT_KINGK) AS SUM_KINGK") +
                 QStringLiteral(" FROM BUHINHYO_M");
    }

    QString where = QStringLiteral(" WHERE CH_DWGNO = '") + dwgNo + u'\'' +
                    QStringLiteral(" AND CH_ASSY  = '") + assy + u'\'' + QStringLiteral(" AND CH_BUHIN = '") +
                    kind + u'\'';
    if (filterWord == u"MAKER")
        where += QStringLiteral(" AND CH_MAKER = '") + maker + u'\'';

    QString tail;
    if (sum) {
        // Only the summary leaves abolished lines out; it does not look at the paging word.
        tail = QStringLiteral(" AND CH_HAISHI = FALSE") +
               QStringLiteral(" GROUP BY CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI ,CH_TANI2 ,CH_BIKO") +
               QStringLiteral(" ORDER BY CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI ,CH_TANI2 ,CH_BIKO");
    } else if (rows) {
        tail = mode.paging == u"PAGE" ? QStringLiteral(" ORDER BY CH_MAKER ,CH_ZNO")
                                      : QStringLiteral(" ORDER BY CH_ZNO");
    }
    return select + where + tail;
}
