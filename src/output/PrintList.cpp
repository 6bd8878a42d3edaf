#include "PrintList.h"

#include "Common.h"
#include "Database.h"
#include "Int16.h"
#include "ListQuery.h"
#include "OutputSettings.h"

#include <QVariant>
#include <cmath>

QString NumberText(const QVariant& value)
{
    if (value.isNull() || !value.isValid())
        return {};
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float) {
        const double d = value.toDouble();
        if (std::isfinite(d) && d == std::floor(d) && std::fabs(d) < 1e15)
            return QString::number(static_cast<long long>(d));
        return QString::number(d, 'g', 15);
    }
    QString text = value.toString();
    // SQLite hands back "2.0" for a whole number kept in a REAL column.
    if (text.endsWith(QStringLiteral(".0")))
        text.chop(2);
    return text;
}

ListTable FillListFromDatabase(Database& db, const ListRequest& request)
{
    const ListMode mode = ListMode::parse(request.modeString);
    const bool sum = mode.list == u"LIST SUM";
    const QString filterWord = request.makerFilterOn ? QStringLiteral("MAKER") : QString();
    const QString maker = request.makerFilterOn ? request.makerFilterText : QString();
    std::unique_ptr<Recordset> rs;
    OpenRecordset(
        db, rs,
        BuildListQuery(request.modeString, filterWord, request.dwgNo, request.assy, request.kind, maker));
    const int count = rs->RecordCount();
    if (count > 0)
        rs->MoveFirst();
    ListTable table;
    table.reserve(static_cast<size_t>(count));
    // The row counter is 16-bit: a list longer than 32,767 records stops here with the overflow error.
    const Int16 last = Int16::from(count);
    for (int n = 1; n <= last; ++n) {
        ListRow row;
        row.at(LcHinmei) = rs->Field(QStringLiteral("CH_HINMEI"));
        row.at(LcZaishitu) = rs->Field(QStringLiteral("CH_ZAISHITU"));
        row.at(LcTani) = rs->Field(QStringLiteral("CH_TANI"));
        row.at(LcBiko) = rs->Field(QStringLiteral("CH_BIKO"));
        row.at(LcMaker) = rs->Field(QStringLiteral("CH_MAKER"));
        row.at(LcTani2) = rs->Field(QStringLiteral("CH_TANI2"));
        if (sum) {
            row.at(LcSuryo) = NumberText(rs->Value(QStringLiteral("SUM_SURYO")));
            row.at(LcKingk) = NumberText(rs->Value(QStringLiteral("SUM_KINGK")));
        } else {
            const QString zno = rs->Field(QStringLiteral("CH_ZNO"));
            row.at(LcZno) = rs->Bool(QStringLiteral("CH_KAKKO")) ? u'(' + zno + u')' : zno;
            row.at(LcSuryo) = NumberText(rs->Value(QStringLiteral("INT_SURYO")));
            row.at(LcTanka) = NumberText(rs->Value(QStringLiteral("INT_TANKA")));
            row.at(LcKingk) = NumberText(rs->Value(QStringLiteral("INT_KINGK")));
            row.at(LcNumber) = NumberText(rs->Value(QStringLiteral("INT_NUMBER")));
            row.at(LcHaishi) = rs->Field(QStringLiteral("CH_HAISHI"));
            row.at(LcSuryo2) = NumberText(rs->Value(QStringLiteral("INT_SURYO2")));
        }
        table.push_back(row);
        rs->MoveNext();
    }
    rs->Close();
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

OutputSettings ReadOutputSettings(const Recordset& rs)
{
    OutputSettings s;
    for (const QString& column : OutputSettings::columns()) {
        if (OutputSettings::isFlagColumn(column))
            s.setFlag(column, rs.Bool(column));
        else
            s.set(column, rs.Field(column));
    }
    return s;
}
