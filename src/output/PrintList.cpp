#include "PrintList.h"

#include "Common.h"
#include "Database.h"
#include "Int16.h"
#include "ListQuery.h"
#include "RuntimeError.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

QString NumberText(const QVariant& value)
{
    if (value.isNull() || !value.isValid())
        return {};
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return DecimalText(value.toDouble());
    QString text = value.toString();
    // SQLite hands back "2.0" for a whole number kept in a REAL column.
    if (text.endsWith(QStringLiteral(".0")))
        text.chop(2);
    return text;
}

namespace
{

// Yes/no values as every database hands them back: booleans, 0/1, or text.
bool YesNo(const QVariant& value)
{
    if (value.isNull())
        return false;
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    bool number = false;
    const double d = value.toDouble(&number);
    if (number)
        return d != 0;
    return TextIsTrue(value.toString().trimmed());
}

} // namespace

ListTable FillListFromDatabase(Database& db, const ListRequest& request)
{
    const ListMode mode = ListMode::parse(request.modeString);
    const bool sum = mode.list == u"LIST SUM";
    const QString filterWord = request.makerFilterOn ? QStringLiteral("MAKER") : QString();
    const QString maker = request.makerFilterOn ? request.makerFilterText : QString();
    const QString sql =
        BuildListQuery(request.modeString, filterWord, request.dwgNo, request.assy, request.kind, maker);

    // A print run reads each record once, in order: the query is read forward instead of through a
    // record set's snapshot, which for a long list doubled the run's time and memory.
    QSqlQuery q(db.sql());
    q.setForwardOnly(true);
    if (!q.exec(TranslateJetSql(sql)))
        throw DatabaseError(q.lastError(), sql);
    const QSqlRecord record = q.record();
    auto column = [&](const char* name) {
        const int index = record.indexOf(QString::fromLatin1(name));
        if (index < 0)
            throw RuntimeError(
                3265,
                QStringLiteral("要求された名前、または序数に対応する項目がコレクションで見つかりません。") +
                    QStringLiteral(" (") + QString::fromLatin1(name) + u')');
        return index;
    };
    auto text = [&](int index) {
        const QVariant v = q.value(index);
        return v.isNull() ? QString() : v.toString();
    };
    const int hinmei = column("CH_HINMEI"), zaishitu = column("CH_ZAISHITU"), tani = column("CH_TANI"),
              biko = column("CH_BIKO"), makerColumn = column("CH_MAKER"), tani2 = column("CH_TANI2");
    int suryo, kingk, zno = -1, kakko = -1, tanka = -1, number = -1, haishi = -1, suryo2 = -1;
    if (sum) {
        suryo = column("SUM_SURYO");
        kingk = column("SUM_KINGK");
    } else {
        suryo = column("INT_SURYO");
        kingk = column("INT_KINGK");
        zno = column("CH_ZNO");
        kakko = column("CH_KAKKO");
        tanka = column("INT_TANKA");
        number = column("INT_NUMBER");
        haishi = column("CH_HAISHI");
        suryo2 = column("INT_SURYO2");
    }

    ListTable table;
    // The row counter is 16-bit: a list longer than 32,767 records stops with the overflow error.
    Int16 count;
    ListRow row;
    while (q.next()) {
        ++count;
        row.at(LcHinmei) = text(hinmei);
        row.at(LcZaishitu) = text(zaishitu);
        row.at(LcTani) = text(tani);
        row.at(LcBiko) = text(biko);
        row.at(LcMaker) = text(makerColumn);
        row.at(LcTani2) = text(tani2);
        row.at(LcSuryo) = NumberText(q.value(suryo));
        row.at(LcKingk) = NumberText(q.value(kingk));
        if (!sum) {
            const QString itemNumber = text(zno);
            row.at(LcZno) = YesNo(q.value(kakko)) ? u'(' + itemNumber + u')' : itemNumber;
            row.at(LcTanka) = NumberText(q.value(tanka));
            row.at(LcNumber) = NumberText(q.value(number));
            row.at(LcHaishi) = YesNo(q.value(haishi)) ? QStringLiteral("True") : QStringLiteral("False");
            row.at(LcSuryo2) = NumberText(q.value(suryo2));
        }
        table.push_back(row);
    }
    if (q.lastError().isValid())
        throw DatabaseError(q.lastError(), sql);
    return table;
}

ListTable FillSampleData()
{
    ListTable table;
    for (int n = 1; n <= 10; ++n) {
        ListRow row;
        const QString number = QString::number(n);
        row.at(LcZno) = number;
        row.at(LcHinmei) = QStringLiteral("HINMEI品名");
        row.at(LcZaishitu) = QStringLiteral("ZAISHITU材質");
        row.at(LcSuryo) = number;
        row.at(LcBiko) = QStringLiteral("BIKOU備考");
        row.at(LcTanka) = number;
        row.at(LcKingk) = number;
        row.at(LcNumber) = number;
        row.at(LcMaker) = QStringLiteral("会社名");
        // The fifth sample line carries a unit.
        if (n == 5)
            row.at(LcTani) = QStringLiteral("SET");
        table.push_back(row);
    }
    return table;
}
