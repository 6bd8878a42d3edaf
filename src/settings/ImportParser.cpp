#include "ImportParser.h"

#include "ColumnLetters.h"
#include "JapaneseEra.h"
#include "RuntimeError.h"

#include <QHash>
#include <QRegularExpression>
#include <algorithm>

int ImportPlan::lineCount() const
{
    int n = 0;
    for (const ImportTable& t : tables)
        n += int(t.lines.size());
    return n;
}

namespace
{
// Full-width digits and signs as their ASCII forms; blanks (of either width) left out.
QString halfWidthDate(const QString& text)
{
    QString out;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= u'０' && u <= u'９')
            out += QChar(u'0' + (u - u'０'));
        else if (u >= u'Ａ' && u <= u'Ｚ')
            out += QChar(u'A' + (u - u'Ａ'));
        else if (u == u'．' || u == u'／' || u == u'－')
            out += QChar(u - 0xFEE0);
        else if (!c.isSpace())
            out += c;
    }
    return out;
}

} // namespace

QString ReadDateText(const QString& text)
{
    const QString t = halfWidthDate(text);
    if (t.isEmpty())
        return {};
    // As a Japanese office writes a date: "2025年3月1日", "令和7年3月1日" (元年 for the first year),
    // "R7.3.1", "R7/3/1", "H31-4-30".
    static const QRegularExpression kanji(QStringLiteral("^([0-9]{4})年([0-9]{1,2})月([0-9]{1,2})日$"));
    static const QRegularExpression era(QStringLiteral(
        "^(令和|平成|昭和|大正|明治|[RHSTMrhstm])([0-9]{1,2}|元)(?:年([0-9]{1,2})月([0-9]{1,2})日|"
        "[/.\\-]([0-9]{1,2})[/.\\-]([0-9]{1,2}))$"));
    if (auto k = kanji.match(t); k.hasMatch()) {
        const QDate d(k.captured(1).toInt(), k.captured(2).toInt(), k.captured(3).toInt());
        return d.isValid() ? d.toString(QStringLiteral("yyyy/MM/dd")) : QString();
    }
    if (auto e = era.match(t); e.hasMatch()) {
        const int first = EraFirstYear(e.captured(1));
        const int year = e.captured(2) == u"元" ? 1 : e.captured(2).toInt();
        const int month = (e.captured(3).isEmpty() ? e.captured(5) : e.captured(3)).toInt();
        const int day = (e.captured(4).isEmpty() ? e.captured(6) : e.captured(4)).toInt();
        const QDate d(first + year - 1, month, day);
        return year > 0 && d.isValid() ? d.toString(QStringLiteral("yyyy/MM/dd")) : QString();
    }
    static const QRegularExpression sep(QStringLiteral("^([0-9]{4})[/.\\-]([0-9]{1,2})[/.\\-]([0-9]{1,2})$"));
    static const QRegularExpression compact(QStringLiteral("^([0-9]{4})([0-9]{2})([0-9]{2})$"));
    static const QRegularExpression serial(QStringLiteral("^[0-9]{1,6}(\\.[0-9]+)?$"));
    QDate d;
    if (auto m = sep.match(t); m.hasMatch())
        d = QDate(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    else if (auto c = compact.match(t); c.hasMatch())
        d = QDate(c.captured(1).toInt(), c.captured(2).toInt(), c.captured(3).toInt());
    else if (serial.match(t).hasMatch())
        d = QDate(1899, 12, 30).addDays(qint64(t.toDouble()));
    if (!d.isValid())
        return {};
    return d.toString(QStringLiteral("yyyy/MM/dd"));
}

QString ReadNumberText(const QString& text)
{
    QString t = text.trimmed();
    t.remove(u',');
    t.remove(u'¥');
    t.remove(u'\\');
    if (t.isEmpty())
        return {};
    bool ok = false;
    t.toDouble(&ok);
    return ok ? t : QString();
}

namespace
{
int rowOf(const QString& rowText, int pageTop)
{
    bool ok = false;
    const int r = rowText.trimmed().toInt(&ok);
    if (!ok || r <= 0)
        return 0;
    return r + pageTop - 1;
}

struct ItemRange {
    int col = 0;
    int first = 0; // row within the page
    int step = 1;
    int count = 0;
};
} // namespace

ImportPlan ParseImportSheet(const SettingsRecord& s, const SheetCells& cells, const QDate& today)
{
    ImportPlan plan;
    const int stride = PageMaxValue(s.pageMax);
    if (stride <= 0)
        throw RuntimeError::typeMismatch();
    plan.pageStride = stride;
    plan.pageCount = (cells.lastRow() + stride - 1) / stride;

    std::array<ItemRange, kDetailItemCount> ranges{};
    int lineSlots = 0;
    for (int i = 0; i < kDetailItemCount; ++i) {
        const DetailColumn& d = s.detail[size_t(i)];
        if (!d.on)
            continue;
        ItemRange& r = ranges[size_t(i)];
        r.col = ColumnNumberOfName(d.startCol.trimmed());
        const int sr = rowOf(d.startRow, 1);
        const int er = rowOf(d.endRow, 1);
        if (r.col == 0 || sr == 0 || er == 0) {
            r.col = 0;
            continue;
        }
        r.first = sr;
        r.step = sr <= er ? 1 : -1;
        r.count = std::abs(er - sr) + 1;
        lineSlots = std::max(lineSlots, r.count);
    }
    if (ranges[MZuban].col == 0 && ranges[MHinmei].col == 0)
        plan.notes << QStringLiteral("図番№と品名の印刷列がどちらも設定されていないため、明細を読めません。");

    auto headerText = [&](HeaderIndex item, int top) -> QString {
        const HeaderCell& h = s.header[item];
        if (!h.on)
            return {};
        const int row = rowOf(h.row, top);
        const int col = ColumnNumberOfName(h.col.trimmed());
        if (row == 0 || col == 0)
            return {};
        return cells.text(row, col).trimmed();
    };

    QHash<QString, qsizetype> tableOf;
    for (int page = 1; page <= plan.pageCount; ++page) {
        const int top = (page - 1) * stride + 1;
        const QString dwgNo = headerText(HDwgNo, top);
        if (dwgNo.isEmpty()) {
            plan.notes << QStringLiteral("%1頁目：DWG.№が無いため読み飛ばしました。").arg(page);
            continue;
        }
        const QString assy = headerText(HAssy, top);
        const QString key = dwgNo + QChar(u'\x1f') + assy;
        qsizetype index = tableOf.value(key, -1);
        if (index < 0) {
            ImportTable t;
            t.dwgNo = dwgNo;
            t.assy = assy;
            t.name = headerText(HName, top);
            t.designer = headerText(HDesigner, top);
            const QString dateCell = headerText(HDate, top);
            t.date = ReadDateText(dateCell);
            if (t.date.isEmpty()) {
                t.date = today.toString(QStringLiteral("yyyy/MM/dd"));
                if (s.header[HDate].on)
                    plan.notes
                        << QStringLiteral("%1頁目：DATEが読めないため本日の日付にしました。").arg(page);
            }
            index = plan.tables.size();
            plan.tables.append(t);
            tableOf.insert(key, index);
        }
        ImportTable& table = plan.tables[index];
        table.pages << page;

        for (int k = 0; k < lineSlots; ++k) {
            std::array<QString, kDetailItemCount> v;
            bool any = false;
            bool struck = false;
            int lineRow = 0;
            for (int i = 0; i < kDetailItemCount; ++i) {
                const ItemRange& r = ranges[size_t(i)];
                if (r.col == 0 || k >= r.count)
                    continue;
                const int row = top - 1 + r.first + r.step * k;
                if (lineRow == 0)
                    lineRow = row;
                v[size_t(i)] = cells.text(row, r.col);
                if (!v[size_t(i)].trimmed().isEmpty()) {
                    any = true;
                    struck = struck || cells.struck(row, r.col);
                }
            }
            if (!any)
                continue;
            ImportLine line;
            line.sheetRow = lineRow;
            QString zno = v[MZuban].trimmed();
            if (zno.size() >= 2 && zno.startsWith(u'(') && zno.endsWith(u')')) {
                zno = zno.mid(1, zno.size() - 2);
                line.kakko = true;
            }
            line.zno = zno;
            line.hinmei = v[MHinmei];
            line.zaishitu = v[MZaishitu];
            line.biko = v[MBiko];
            if (!ParseQuantityText(v[MSuryo].trimmed(), line.quantity))
                plan.notes << QStringLiteral("%1行目：数量「%2」を読めないため備考に残しました。")
                                  .arg(lineRow)
                                  .arg(v[MSuryo]);
            if (line.quantity == QuantityPair{} && !v[MSuryo].trimmed().isEmpty())
                line.biko =
                    line.biko.isEmpty() ? v[MSuryo].trimmed() : line.biko + u' ' + v[MSuryo].trimmed();
            line.tanka = ReadNumberText(v[MTanka]);
            line.kingk = ReadNumberText(v[MKing]);
            line.maker = v[MMaker];
            line.haishi = struck;
            table.lines.append(line);
        }
    }
    return plan;
}
