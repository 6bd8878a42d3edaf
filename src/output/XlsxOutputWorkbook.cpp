#include "XlsxOutputWorkbook.h"

#include "RuntimeError.h"

#include <Workbook.h>

#include <QStringEncoder>

#include <algorithm>
#include <optional>

namespace
{

RuntimeError engineError(const xlsx::Error& e)
{
    return RuntimeError(1004, QString::fromUtf8(e.what()));
}

class XlsxTarget : public LayoutTarget
{
public:
    xlsx::Worksheet* sheet = nullptr;
    xlsx::PageForm form;
    int pageTop = 1; // the top row of the page being filled

    void pastePageForm(int top, int /*rows*/) override
    {
        if (form.empty())
            throw RuntimeError(1004, QStringLiteral("ページの雛形がありません。"));
        try {
            // The pages above the one just filled are done with: the engine writes them out now, so a
            // long list needs memory for two pages rather than all of them. The page just filled
            // stays, for header or line rows that a setting puts above a page's top.
            sheet->writeOutRowsAbove(std::min(pageTop, top));
            pageTop = top;
            sheet->pasteForm(form, top);
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    void pageBreakAbove(int row) override
    {
        try {
            sheet->addRowBreakAbove(row);
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    void write(const CellWrite& w) override
    {
        try {
            const int r = w.row;
            const int c = w.column;
            xlsx::Worksheet::FormatChange change;
            change.strike = w.strike;
            switch (w.align) {
            case HAlign::Left:
                change.align = xlsx::HAlign::Left;
                break;
            case HAlign::Center:
                change.align = xlsx::HAlign::Center;
                break;
            case HAlign::Right:
                change.align = xlsx::HAlign::Right;
                break;
            case HAlign::Keep:
                break;
            }
            if (!w.numberFormat.isEmpty()) {
                // Only two or three formats occur in a run: each is converted once, not once a cell.
                if (w.numberFormat != lastFormat) {
                    lastFormat = w.numberFormat;
                    lastFormatUtf8 = w.numberFormat.toStdString();
                }
                change.numberFormat = lastFormatUtf8;
            }
            sheet->setFormat(r, c, change);
            if (w.number)
                sheet->setNumber(r, c, w.numberValue);
            else if (w.value.isEmpty())
                sheet->clearValue(r, c);
            else
                sheet->setText(r, c, utf8(w.value));
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    void fillGrey(int row, int column) override
    {
        try {
            sheet->setFill(row, column, 0x808080);
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }

private:
    // The text in UTF-8, in a buffer used again for every cell.
    std::string_view utf8(const QString& text)
    {
        m_utf8.resize(static_cast<size_t>(text.size()) * 3);
        char* end = m_encoder.appendToBuffer(m_utf8.data(), text);
        return {m_utf8.data(), static_cast<size_t>(end - m_utf8.data())};
    }

    QString lastFormat;
    std::string lastFormatUtf8;
    std::string m_utf8;
    QStringEncoder m_encoder{QStringEncoder::Utf8, QStringEncoder::Flag::Stateless};
};

class XlsxOutputWorkbook : public OutputWorkbook
{
public:
    explicit XlsxOutputWorkbook(xlsx::Workbook book) : m_book(std::move(book)) {}

    void selectOutputSheet(const QString& name, int formRows) override
    {
        const auto index = m_book.findSheet(name.toStdString());
        if (!index) {
            QStringList names;
            for (const std::string& n : m_book.sheetNames())
                names << QString::fromStdString(n);
            throw RuntimeError::outOfRange().withCause(
                QStringLiteral("ブックにシート「%1」がありません（あるシート：%2）。")
                    .arg(name, names.join(u'、')));
        }
        try {
            m_target.sheet = &m_book.sheet(*index);
            if (formRows > 0)
                m_target.form = m_target.sheet->snapshotRows(1, formRows);
            m_originalArea = m_target.sheet->printArea();
            m_lastUsedRow = m_target.sheet->lastUsedRow();
            // The columns the page form uses, for a print area of its own when it has none (its rows
            // are written out before the print area is set).
            const int formLast =
                std::min(formRows > 0 ? formRows : m_lastUsedRow, std::max(m_lastUsedRow, 1));
            m_formLastCol = std::max(1, m_target.sheet->usedWidth(1, formLast));
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    LayoutTarget& target() override { return m_target; }

    void extendPrintArea(int pages, int pageRows) override
    {
        // One page too gets a print area when the template has none: the same form prints the same.
        if (pages < 1 || pageRows < 1 || !m_target.sheet || (pages == 1 && m_originalArea))
            return;
        try {
            xlsx::CellRange area;
            if (m_originalArea) {
                area = *m_originalArea;
                area.lastRow += (pages - 1) * pageRows;
            } else {
                // No print area of its own: every page over the columns the page form uses.
                area = {1, 1, std::max(m_lastUsedRow, pageRows) + (pages - 1) * pageRows, m_formLastCol};
            }
            m_target.sheet->setPrintArea(area);
            if (pages > 1) {
                // Each page prints as the form does: at its scale, under its own headings alone.
                m_target.sheet->fitEachCopyOfForm(m_target.form, area.firstCol, area.lastCol);
                m_target.sheet->dropTitleRowsWithin(pageRows);
            }
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    void renameOutputSheet(const QString& name) override
    {
        try {
            if (m_target.sheet)
                m_target.sheet->rename(name.toStdString());
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    void save() override
    {
        try {
            m_book.save();
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }

    QString savePrintCopy(const QString& path) override
    {
        const QString saved = QString::fromStdString(m_book.path().string());
        if (m_book.sheetCount() <= 1)
            return saved;
        try {
            // Written beside its place and put there when complete, as every save of the engine.
            xlsx::Workbook copy = xlsx::Workbook::open(saved.toStdString());
            if (m_target.sheet)
                copy.showOnlySheet(m_target.sheet->index());
            copy.saveAs(path.toStdString());
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
        return path;
    }

    QStringList notes() const override
    {
        QStringList out;
        for (const std::string& w : m_book.warnings())
            out << QString::fromStdString(w);
        return out;
    }

private:
    xlsx::Workbook m_book;
    XlsxTarget m_target;
    std::optional<xlsx::CellRange> m_originalArea;
    int m_lastUsedRow = 0;
    int m_formLastCol = 1;
};

} // namespace

std::unique_ptr<OutputWorkbook> OpenXlsxOutputWorkbook(const QString& path)
{
    try {
        return std::make_unique<XlsxOutputWorkbook>(xlsx::Workbook::open(path.toStdString()));
    } catch (const xlsx::Error& e) {
        throw engineError(e);
    }
}
