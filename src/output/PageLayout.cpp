#include "PageLayout.h"

#include "Common.h"
#include "RuntimeError.h"
#include "WorkbookControl.h"

#include <cmath>
#include <cstdlib>

HAlign AlignmentFromWord(const QString& word)
{
    if (word == u"左")
        return HAlign::Left;
    if (word == u"中")
        return HAlign::Center;
    if (word == u"右")
        return HAlign::Right;
    return HAlign::Keep;
}

Int16 SettingInt(const QString& text)
{
    bool ok = false;
    const double d = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(d))
        throw RuntimeError::typeMismatch();
    if (d < -32768.5 || d > 32767.5)
        throw RuntimeError::overflow();
    return Int16::from(static_cast<long long>(std::nearbyint(d)));
}

namespace
{

QString quantityHalf(const QString& quantity, const QString& unit)
{
    if (LenientInt(quantity) <= 0)
        return {};
    if (unit == u"R" || unit == u"L")
        return unit + u'=' + quantity;
    if (unit == u"R/L×" || unit == u"L/R×" || unit == u"計")
        return unit + quantity;
    return quantity + unit;
}

RuntimeError cellError()
{
    return RuntimeError(1004, QStringLiteral("アプリケーション定義またはオブジェクト定義のエラーです。"));
}

bool looksLikeNumber(const QString& text, double* value)
{
    bool ok = false;
    const double d = text.trimmed().toDouble(&ok);
    if (ok && std::isfinite(d)) {
        *value = d;
        return true;
    }
    return false;
}

// One run of the page loop. Each step catches its own failure, counts it and lets the loop go on.
class Layout
{
public:
    Layout(const OutputSettings& s, const ListTable& list, const HeaderValues& header, LayoutTarget& target)
        : m_s(s), m_list(list), m_header(header), m_target(target)
    {
    }

    template <class F> void step(F&& f)
    {
        try {
            f();
        } catch (const std::exception&) {
            ++m_ignored;
        }
    }

    // A text cell: strike-through as given, number format "@", the text as its value.
    void writeTextCell(int row, const QString& letter, const QString& text, bool strike)
    {
        const int column = ColumnNumber(letter);
        if (column < 1 || row < 1)
            throw cellError();
        CellWrite w;
        w.row = row;
        w.column = column;
        w.value = text;
        w.numberFormat = QStringLiteral("@");
        w.strike = strike;
        m_target.write(w);
    }

    void writeFormattedCell(int row, const QString& letter, const QString& value, const QString& format,
                            const QString& alignWord, bool strike)
    {
        const int column = ColumnNumber(letter);
        if (column < 1 || row < 1)
            throw cellError();
        CellWrite w;
        w.row = row;
        w.column = column;
        w.value = value;
        w.numberFormat = format;
        w.align = AlignmentFromWord(alignWord);
        w.strike = strike;
        // A value put into a cell that is not formatted as text is stored as a number when it reads as
        // one: a unit price of 4500 shows as 4,500 through the cell's format.
        double d = 0;
        if (format != u"@" && looksLikeNumber(value, &d))
            w.number = true;
        m_target.write(w);
    }

    // A row setting counted from the page's top row: setting 1 is the first row of every page.
    Int16 pageRow(Int16 top, const QString& setting) { return SettingInt(setting) + top - Int16::from(1); }

    void writeHeader(Int16 top, const QString& label)
    {
        step([&] {
            if (!m_s.text(QStringLiteral("CH_HMIDASHI_R")).isEmpty())
                writeTextCell(pageRow(top, m_s.text(QStringLiteral("CH_HMIDASHI_R"))),
                              m_s.text(QStringLiteral("CH_HMIDASHI_C")),
                              m_s.text(QStringLiteral("CH_HMIDASHI")), false);
        });
        const std::pair<const char*, const QString*> items[] = {
            {"DWGNO", &m_header.dwgNo}, {"NAME", &m_header.name},        {"ASSY", &m_header.assy},
            {"DATE", &m_header.date},   {"DESINED", &m_header.designer}, {"SHEET", &label}};
        for (const auto& [name, value] : items) {
            const QString item = QString::fromLatin1(name);
            step([&] {
                if (m_s.flag(QStringLiteral("YN_H") + item))
                    writeTextCell(
                        pageRow(top, m_s.text(QStringLiteral("CH_H") + item + QStringLiteral("_R"))),
                        m_s.text(QStringLiteral("CH_H") + item + QStringLiteral("_C")), *value, false);
            });
        }
    }

    void writeHeadings(int row)
    {
        for (const QString& item : DetailItemNames()) {
            step([&] {
                if (m_s.flag(QStringLiteral("YN_M") + item))
                    writeTextCell(row, m_s.text(QStringLiteral("CH_M") + item + QStringLiteral("_SC")),
                                  m_s.text(QStringLiteral("CH_MM") + item), false);
            });
        }
    }

    void writeDetail(const ListRow& line, int row)
    {
        const bool abolished = TextIsTrue(line.at(LcHaishi));
        // The grey item cell marks an abolished line even when the item column itself is not printed.
        if (abolished) {
            step([&] {
                const int column = ColumnNumber(m_s.text(QStringLiteral("CH_MZUBAN_SC")));
                if (column < 1 || row < 1)
                    throw cellError();
                m_target.fillGrey(row, column);
            });
        }
        auto column = [&](const char* item) {
            return m_s.text(QStringLiteral("CH_M") + QString::fromLatin1(item) + QStringLiteral("_SC"));
        };
        auto on = [&](const char* item) {
            return m_s.flag(QStringLiteral("YN_M") + QString::fromLatin1(item));
        };
        step([&] {
            if (on("ZUBAN"))
                writeFormattedCell(row, column("ZUBAN"), line.at(LcZno), QStringLiteral("@"),
                                   QStringLiteral("右"), abolished);
        });
        step([&] {
            if (on("HINMEI"))
                writeTextCell(row, column("HINMEI"), line.at(LcHinmei), abolished);
        });
        step([&] {
            if (on("ZAISHITU"))
                writeTextCell(row, column("ZAISHITU"), line.at(LcZaishitu), abolished);
        });
        step([&] {
            if (on("SURYO"))
                writeTextCell(
                    row, column("SURYO"),
                    QuantityText(line.at(LcSuryo), line.at(LcSuryo2), line.at(LcTani), line.at(LcTani2)),
                    abolished);
        });
        step([&] {
            if (on("BIKO"))
                writeTextCell(row, column("BIKO"), line.at(LcBiko), abolished);
        });
        step([&] {
            if (on("TANKA"))
                writeFormattedCell(row, column("TANKA"), line.at(LcTanka), QStringLiteral("#,##0"), QString(),
                                   abolished);
        });
        step([&] {
            if (on("KING"))
                writeFormattedCell(row, column("KING"), line.at(LcKingk), QStringLiteral("#,##0"), QString(),
                                   abolished);
        });
        step([&] {
            if (on("MAKER"))
                writeTextCell(row, column("MAKER"), line.at(LcMaker), abolished);
        });
    }

    LayoutResult run(bool pagePerMaker, const std::function<void(int, int)>& progress)
    {
        Int16 firstRow, lastRow, pageMax, rowsPerPage, listRows, totalPages;
        step([&] { firstRow = SettingInt(m_s.text(QStringLiteral("CH_MZUBAN_SR"))); });
        step([&] { lastRow = SettingInt(m_s.text(QStringLiteral("CH_MZUBAN_ER"))); });
        step([&] { pageMax = SettingInt(m_s.text(QStringLiteral("INT_PAGEMAX"))); });
        step([&] { rowsPerPage = Int16::from(std::abs((lastRow - firstRow).value())) + Int16::from(1); });
        step([&] { listRows = Int16::from(static_cast<long long>(m_list.size())); });
        step([&] {
            if (rowsPerPage == 0)
                throw RuntimeError(11, QStringLiteral("0 で除算しました。"));
            totalPages = Int16::from((listRows + rowsPerPage - 1) / rowsPerPage);
        });

        QString previousMaker, currentMaker, label;
        Int16 page, lineCounter = Int16::from(999), top, first, last, headingRow, lineRow;
        for (int r = 1; r <= listRows; ++r) {
            const ListRow line = m_list[static_cast<size_t>(r - 1)];
            if (pagePerMaker)
                currentMaker = line.at(LcMaker);
            if (!(currentMaker == previousMaker && lineCounter <= rowsPerPage)) {
                step([&] { ++page; });
                // The total counts only rows per page; with breaks per maker a page can read 4 / 3.
                label = QString::number(page) + QStringLiteral(" / ") + QString::number(totalPages);
                lineCounter = Int16::from(1);
                step([&] { top = (page - Int16::from(1)) * pageMax + Int16::from(1); });
                step([&] { first = top + firstRow - Int16::from(1); });
                step([&] { last = top + lastRow - Int16::from(1); });
                if (page > 1) {
                    step([&] {
                        if (pageMax < 1 || top < 1)
                            throw cellError();
                        m_target.pastePageForm(top, pageMax);
                    });
                    step([&] { m_target.pageBreakAbove(top); });
                }
                writeHeader(top, label);
                step([&] { headingRow = first >= last ? first + Int16::from(1) : first - Int16::from(1); });
                writeHeadings(headingRow);
                previousMaker = currentMaker;
                lineRow = first;
                if (progress)
                    progress(page, totalPages);
            }
            writeDetail(line, lineRow);
            // With the first line row below the last one the lines fill the page upward.
            step([&] { lineRow = first >= last ? lineRow - Int16::from(1) : lineRow + Int16::from(1); });
            step([&] { ++lineCounter; });
        }
        return {page.value(), pageMax.value(), m_ignored};
    }

private:
    const OutputSettings& m_s;
    const ListTable& m_list;
    const HeaderValues& m_header;
    LayoutTarget& m_target;
    int m_ignored = 0;
};

} // namespace

QString QuantityText(const QString& quantity1, const QString& quantity2, const QString& unit1,
                     const QString& unit2)
{
    const QString firstHalf = quantityHalf(quantity1, unit1);
    const QString secondHalf = quantityHalf(quantity2, unit2);
    if (!secondHalf.isEmpty())
        return firstHalf + u' ' + secondHalf;
    return firstHalf;
}

LayoutResult LayOutPages(const OutputSettings& settings, const ListTable& list, const HeaderValues& header,
                         bool pagePerMaker, LayoutTarget& target,
                         const std::function<void(int, int)>& progress)
{
    Layout layout(settings, list, header, target);
    return layout.run(pagePerMaker, progress);
}
