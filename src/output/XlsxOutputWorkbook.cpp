#include "XlsxOutputWorkbook.h"

#include "RuntimeError.h"

#include <Workbook.h>

#include <QFile>

#include <optional>
#include <unordered_set>

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
    bool templateHasStrike = true;
    QString lastFormat;
    std::string lastFormatUtf8;
    std::unordered_set<long long> struck;

    static long long cellKey(int row, int column) { return static_cast<long long>(row) * 16384 + column; }

    void pastePageForm(int top, int /*rows*/) override
    {
        if (form.empty())
            throw RuntimeError(1004, QStringLiteral("ページの雛形がありません。"));
        try {
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
            // Setting "not struck" matters only where a strike-through can be: in a template that has
            // one, or in a cell this run struck before.
            if (w.strike) {
                sheet->setStrike(r, c, true);
                struck.insert(cellKey(r, c));
            } else if ((templateHasStrike || struck.count(cellKey(r, c))) && sheet->strike(r, c)) {
                sheet->setStrike(r, c, false);
            }
            switch (w.align) {
            case HAlign::Left:
                sheet->setHorizontalAlignment(r, c, xlsx::HAlign::Left);
                break;
            case HAlign::Center:
                sheet->setHorizontalAlignment(r, c, xlsx::HAlign::Center);
                break;
            case HAlign::Right:
                sheet->setHorizontalAlignment(r, c, xlsx::HAlign::Right);
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
                sheet->setNumberFormat(r, c, lastFormatUtf8);
            }
            if (w.number)
                sheet->setNumber(r, c, w.value.trimmed().toDouble());
            else if (w.value.isEmpty())
                sheet->clearValue(r, c);
            else
                sheet->setText(r, c, w.value.toStdString());
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
            // Page copies come from these rows, so what they hold is all the sheet can hold.
            m_target.templateHasStrike = false;
            for (int r = 1; r <= m_lastUsedRow && !m_target.templateHasStrike; ++r)
                for (int c = 1; c <= 26 && !m_target.templateHasStrike; ++c)
                    m_target.templateHasStrike =
                        m_target.sheet->hasCell(r, c) && m_target.sheet->strike(r, c);
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }
    LayoutTarget& target() override { return m_target; }

    void extendPrintArea(int pages, int pageRows) override
    {
        if (pages <= 1 || pageRows < 1 || !m_target.sheet)
            return;
        try {
            xlsx::CellRange area;
            if (m_originalArea) {
                area = *m_originalArea;
                area.lastRow += (pages - 1) * pageRows;
            } else {
                // No print area of its own: every page over the columns the page form uses.
                int lastCol = 1;
                for (int r = 1; r <= std::min(pageRows, std::max(m_lastUsedRow, 1)); ++r)
                    for (int c = 26; c > lastCol; --c)
                        if (m_target.sheet->hasCell(r, c)) {
                            lastCol = c;
                            break;
                        }
                area = {1, 1, std::max(m_lastUsedRow, pageRows) + (pages - 1) * pageRows, lastCol};
            }
            m_target.sheet->setPrintArea(area);
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

    void savePrintCopy(const QString& path) override
    {
        const QString saved = QString::fromStdString(m_book.path().string());
        QFile::remove(path);
        if (!QFile::copy(saved, path))
            throw RuntimeError(75, QStringLiteral("パス名が無効です。"));
        try {
            xlsx::Workbook copy = xlsx::Workbook::open(path.toStdString());
            if (m_target.sheet)
                copy.showOnlySheet(m_target.sheet->index());
            copy.save();
        } catch (const xlsx::Error& e) {
            throw engineError(e);
        }
    }

private:
    xlsx::Workbook m_book;
    XlsxTarget m_target;
    std::optional<xlsx::CellRange> m_originalArea;
    int m_lastUsedRow = 0;
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
