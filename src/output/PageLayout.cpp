#include "PageLayout.h"

#include "Common.h"
#include "RuntimeError.h"
#include "WorkbookControl.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <new>
#include <vector>

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
    // The quantity read as a whole number by its digits: 0.5 and -2 print, 0 and an empty text do not.
    if (DigitsValue(quantity) <= 0)
        return {};
    if (unit == u"R" || unit == u"L")
        return unit + u'=' + quantity;
    if (unit == u"R/L×" || unit == u"L/R×" || unit == u"計")
        return unit + quantity;
    return quantity + unit;
}

// A cell the sheet cannot take; why says which setting, for the notes.
RuntimeError cellError(const QString& why)
{
    return RuntimeError(1004, QStringLiteral("アプリケーション定義またはオブジェクト定義のエラーです。"))
        .withCause(why);
}

QString columnProblem(const QString& letter)
{
    if (letter.isEmpty())
        return QStringLiteral("列が設定されていません");
    return QStringLiteral("列「%1」には出力できません（出力できる列は A〜Z）").arg(letter);
}

// A row or page setting read as a 16-bit number; the failure names the text.
Int16 SettingNumber(const QString& text)
{
    try {
        return SettingInt(text);
    } catch (const RuntimeError& e) {
        if (e.number() == RuntimeError::typeMismatch().number())
            throw e.withCause(QStringLiteral("「%1」が数値ではありません").arg(text));
        throw e.withCause(
            QStringLiteral("「%1」が 16 ビットの範囲（-32768〜32767）を超えています").arg(text));
    }
}

bool looksLikeNumber(const QString& text, double* value)
{
    // The usual form, digits with a point, is read without the locale machinery; anything else
    // goes through the general reading.
    char ascii[24];
    const QString::size_type n = text.size();
    if (n > 0 && n < qsizetype(sizeof ascii)) {
        bool plain = true, digit = false, point = false;
        for (qsizetype i = 0; i < n && plain; ++i) {
            const char16_t ch = text[i].unicode();
            if (ch >= u'0' && ch <= u'9')
                digit = true;
            else if (ch == u'.' && !point && i > 0)
                point = true;
            else if (!(ch == u'-' && i == 0))
                plain = false;
            ascii[i] = static_cast<char>(ch);
        }
        if (plain && digit && ascii[n - 1] != '.') {
            const auto res = std::from_chars(ascii, ascii + n, *value);
            if (res.ec == std::errc() && res.ptr == ascii + n)
                return true;
        }
    }
    bool ok = false;
    const double d = text.trimmed().toDouble(&ok);
    if (ok && std::isfinite(d)) {
        *value = d;
        return true;
    }
    return false;
}

// One run of the page loop. Each step catches its own failure, notes it and lets the loop go on;
// an overflow of the 16-bit arithmetic ends the run.
class Layout
{
public:
    Layout(const SettingsRecord& s, const ListTable& list, const HeaderValues& header, LayoutTarget& target)
        : m_s(s), m_list(list), m_header(header), m_target(target), m_zuban(detail(s, MZuban)),
          m_hinmei(detail(s, MHinmei)), m_zaishitu(detail(s, MZaishitu)), m_suryo(detail(s, MSuryo)),
          m_biko(detail(s, MBiko)), m_tanka(detail(s, MTanka)), m_king(detail(s, MKing)),
          m_maker(detail(s, MMaker))
    {
    }

    // A detail column as the settings give it.
    struct Detail {
        bool on = false;
        QString letter;
        QStringView caption;
    };
    static Detail detail(const SettingsRecord& s, DetailIndex item)
    {
        const DetailColumn& d = s.detail[size_t(item)];
        return {d.on, d.startCol, kDetailCaptions[size_t(item)]};
    }

    // What a step writes or works out, for the notes: an item's caption and which of its parts.
    struct What {
        QStringView item;
        QStringView part = {};
        QString text() const { return item.toString() + part.toString(); }
    };

    template <class F> void step(What what, F&& f)
    {
        m_what = what;
        try {
            f();
        } catch (const RuntimeError& e) {
            if (e.number() == RuntimeError::overflow().number())
                throw overflowed(e);
            note(e.cause().isEmpty() ? e.description() : e.cause(), true);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& e) {
            note(QString::fromUtf8(e.what()), true);
        }
    }

    // The cause of an overflow: the value that left 16 bits, the page and the list row.
    RuntimeError overflowed(const RuntimeError& e) const
    {
        QString where;
        if (m_row > 0)
            where = QStringLiteral("（%1頁目、明細 %2 行目、１頁行数 %3）")
                        .arg(page.value())
                        .arg(m_row)
                        .arg(pageMax.value());
        return e.withCause(m_what.text() + QStringLiteral("が 16 ビットの範囲（32767 まで）を超えました") +
                           where + QStringLiteral("。一覧が長すぎるか、出力設定の行の値が大きすぎます。"));
    }

    // One note per item and cause, with the page it first happened on and how often.
    void note(const QString& why, bool skipped)
    {
        const QString what = m_what.text();
        for (Note& n : m_notes)
            if (n.what == what && n.why == why) {
                ++n.count;
                return;
            }
        m_notes.push_back({what, why, page.value(), 1, skipped});
    }
    QStringList notes() const
    {
        QStringList out;
        for (const Note& n : m_notes) {
            QString line = n.what +
                           (n.skipped ? QStringLiteral("を出力できませんでした: ") : QStringLiteral(": ")) +
                           n.why;
            if (n.page > 0)
                line += n.count == 1 ? QStringLiteral("（%1頁目）").arg(n.page)
                                     : QStringLiteral("（%1頁目から %2 か所）").arg(n.page).arg(n.count);
            out << line;
        }
        return out;
    }

    // A failing reading leaves the value as it was.
    void readSetting(Int16& into, What what, const QString& text)
    {
        step(what, [&] { into = SettingNumber(text); });
    }

    // A text cell: strike-through as given, number format "@", the text as its value.
    void writeTextCell(int row, const QString& letter, const QString& text, bool strike)
    {
        writeFormattedCell(row, letter, text, QStringLiteral("@"), QString(), strike);
    }

    void writeFormattedCell(int row, const QString& letter, const QString& value, const QString& format,
                            const QString& alignWord, bool strike)
    {
        const int column = ColumnNumber(letter);
        if (column < 1)
            throw cellError(columnProblem(letter));
        if (row < 1)
            throw cellError(QStringLiteral("行 %1 はシートの外です").arg(row));
        CellWrite w;
        w.row = row;
        w.column = column;
        w.value = value;
        w.numberFormat = format;
        w.align = AlignmentFromWord(alignWord);
        w.strike = strike;
        if (value.size() > kCellTextMax) {
            // Cut where a cell ends, never between the halves of a character.
            w.value =
                value.left(value.at(kCellTextMax - 1).isHighSurrogate() ? kCellTextMax - 1 : kCellTextMax);
            note(QStringLiteral("セルに入る %1 文字を超える文字列を切って出力しました").arg(kCellTextMax),
                 false);
        }
        // A value put into a cell that is not formatted as text is stored as a number when it reads as
        // one: a unit price of 4500 shows as 4,500 through the cell's format.
        if (format != u"@" && looksLikeNumber(w.value, &w.numberValue))
            w.number = true;
        m_target.write(w);
    }

    // A row setting counted from the page's top row: setting 1 is the first row of every page. Rows are
    // counted from the top so that only a row past 32,767 overflows, never a sum on the way to it.
    Int16 pageRow(Int16 top, const QString& setting)
    {
        return top + (SettingNumber(setting) - Int16::from(1));
    }

    void writeHeader(Int16 top, const QString& label)
    {
        step({u"見出し"}, [&] {
            if (!m_s.midashiRow.isEmpty())
                writeTextCell(pageRow(top, m_s.midashiRow), m_s.midashiCol, m_s.midashi, false);
        });
        // In the order DWGNO, NAME, ASSY, DATE, DESINED, SHEET.
        const std::array<const QString*, kHeaderItemCount> values = {
            &m_header.dwgNo, &m_header.name, &m_header.assy, &m_header.date, &m_header.designer, &label};
        for (int i = 0; i < kHeaderItemCount; ++i) {
            const HeaderCell& h = m_s.header[size_t(i)];
            step({kHeaderCaptions[size_t(i)]}, [&] {
                if (h.on)
                    writeTextCell(pageRow(top, h.row), h.col, *values[size_t(i)], false);
            });
        }
    }

    void writeHeadings(int row)
    {
        for (size_t i = 0; i < m_s.detail.size(); ++i) {
            const DetailColumn& d = m_s.detail[i];
            step({kDetailCaptions[i], u"の列見出し"}, [&] {
                if (d.on)
                    writeTextCell(row, d.startCol, d.heading, false);
            });
        }
    }

    void writeDetail(const ListRow& line, int row)
    {
        const bool abolished = TextIsTrue(line.at(LcHaishi));
        // The grey item cell marks an abolished line even when the item column itself is not printed.
        if (abolished) {
            step({m_zuban.caption, u"の廃止の網掛け"}, [&] {
                const int column = ColumnNumber(m_zuban.letter);
                if (column < 1)
                    throw cellError(columnProblem(m_zuban.letter));
                if (row < 1)
                    throw cellError(QStringLiteral("行 %1 はシートの外です").arg(row));
                m_target.fillGrey(row, column);
            });
        }
        step({m_zuban.caption}, [&] {
            if (m_zuban.on)
                writeFormattedCell(row, m_zuban.letter, line.at(LcZno), QStringLiteral("@"),
                                   QStringLiteral("右"), abolished);
        });
        step({m_hinmei.caption}, [&] {
            if (m_hinmei.on)
                writeTextCell(row, m_hinmei.letter, line.at(LcHinmei), abolished);
        });
        step({m_zaishitu.caption}, [&] {
            if (m_zaishitu.on)
                writeTextCell(row, m_zaishitu.letter, line.at(LcZaishitu), abolished);
        });
        step({m_suryo.caption}, [&] {
            if (m_suryo.on)
                writeTextCell(
                    row, m_suryo.letter,
                    QuantityText(line.at(LcSuryo), line.at(LcSuryo2), line.at(LcTani), line.at(LcTani2)),
                    abolished);
        });
        step({m_biko.caption}, [&] {
            if (m_biko.on)
                writeTextCell(row, m_biko.letter, line.at(LcBiko), abolished);
        });
        step({m_tanka.caption}, [&] {
            if (m_tanka.on)
                writeFormattedCell(row, m_tanka.letter, line.at(LcTanka), QStringLiteral("#,##0"), QString(),
                                   abolished);
        });
        step({m_king.caption}, [&] {
            if (m_king.on)
                writeFormattedCell(row, m_king.letter, line.at(LcKingk), QStringLiteral("#,##0"), QString(),
                                   abolished);
        });
        step({m_maker.caption}, [&] {
            if (m_maker.on)
                writeTextCell(row, m_maker.letter, line.at(LcMaker), abolished);
        });
    }

    LayoutResult run(bool pagePerMaker, const std::function<void(int, int)>& progress)
    {
        // The drawing-number item's rows stand for every detail item.
        readSetting(firstRow, {u"明細印刷行（開始）"}, m_s.detail[MZuban].startRow);
        readSetting(lastRow, {u"明細印刷行（終了）"}, m_s.detail[MZuban].endRow);
        readSetting(pageMax, {u"１頁行数"}, m_s.pageMax);
        step({u"1頁の明細行数"},
             [&] { rowsPerPage = Int16::from(std::abs((lastRow - firstRow).value())) + Int16::from(1); });
        // The list is read up to its last used cell, and a spreadsheet reports A1 as the last used
        // cell of an empty sheet: an empty list still lays out one page with one line of no values.
        step({u"一覧の行数"},
             [&] { listRows = Int16::from(std::max<long long>(1, static_cast<long long>(m_list.size()))); });
        step({u"総頁数"}, [&] {
            if (rowsPerPage == 0)
                throw RuntimeError(11, QStringLiteral("0 で除算しました。"));
            // Rounded up without an intermediate sum that could leave 16 bits for a full list.
            totalPages = Int16::from((listRows.value() + rowsPerPage.value() - 1LL) / rowsPerPage.value());
        });

        QString previousMaker, currentMaker, label;
        Int16 lineCounter = Int16::from(999), top, first, last, headingRow, lineRow;
        for (int r = 1; r <= listRows; ++r) {
            m_row = r;
            const ListRow line = m_list.empty() ? ListRow() : m_list[static_cast<size_t>(r - 1)];
            if (pagePerMaker)
                currentMaker = line.at(LcMaker);
            if (!(currentMaker == previousMaker && lineCounter <= rowsPerPage)) {
                step({u"頁番号"}, [&] { ++page; });
                // The total counts only rows per page; with breaks per maker a page can read 4 / 3.
                label = QString::number(page) + QStringLiteral(" / ") + QString::number(totalPages);
                lineCounter = Int16::from(1);
                step({u"頁の先頭行"}, [&] { top = (page - Int16::from(1)) * pageMax + Int16::from(1); });
                step({u"明細の最初の行"}, [&] { first = top + (firstRow - Int16::from(1)); });
                step({u"明細の最後の行"}, [&] { last = top + (lastRow - Int16::from(1)); });
                if (page > 1) {
                    step({u"頁の複写"}, [&] {
                        if (pageMax < 1)
                            throw cellError(
                                QStringLiteral("１頁行数「%1」では頁を複写できません").arg(m_s.pageMax));
                        m_target.pastePageForm(top, pageMax);
                    });
                    step({u"改ページ"}, [&] { m_target.pageBreakAbove(top); });
                }
                writeHeader(top, label);
                step({u"列見出しの行"},
                     [&] { headingRow = first >= last ? first + Int16::from(1) : first - Int16::from(1); });
                writeHeadings(headingRow);
                // A copy of its own: the row's text is only lent until the next row is read.
                previousMaker = QString(currentMaker.constData(), currentMaker.size());
                lineRow = first;
                if (progress)
                    progress(page, totalPages);
            } else {
                // The next row of the page, worked out only when a line goes there: a list that ends
                // on row 32,767 is whole. With the first line row below the last one the lines fill
                // the page upward.
                step({u"明細の行"},
                     [&] { lineRow = first >= last ? lineRow - Int16::from(1) : lineRow + Int16::from(1); });
            }
            writeDetail(line, lineRow);
            step({u"頁の明細の数"}, [&] { ++lineCounter; });
        }
        return {page.value(), pageMax.value(), notes()};
    }

private:
    struct Note {
        QString what, why;
        int page = 0;
        int count = 0;
        bool skipped = true;
    };

    const SettingsRecord& m_s;
    const ListTable& m_list;
    const HeaderValues& m_header;
    LayoutTarget& m_target;
    const Detail m_zuban, m_hinmei, m_zaishitu, m_suryo, m_biko, m_tanka, m_king, m_maker;
    What m_what;
    std::vector<Note> m_notes;
    int m_row = 0; // the list row being laid out
    // The values of one run, read once before the loop.
    Int16 firstRow, lastRow, pageMax, rowsPerPage, listRows, totalPages, page;
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

LayoutResult LayOutPages(const SettingsRecord& settings, const ListTable& list, const HeaderValues& header,
                         bool pagePerMaker, LayoutTarget& target,
                         const std::function<void(int, int)>& progress)
{
    Layout layout(settings, list, header, target);
    return layout.run(pagePerMaker, progress);
}
