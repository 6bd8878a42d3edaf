#include "SettingsWorkbooks.h"

#include "AppContext.h"
#include "Common.h"
#include "LibreOffice.h"
#include "RuntimeError.h"
#include "Workbook.h"
#include "WorkbookControl.h"

#include <QFileInfo>

#include <optional>

namespace
{
// Workbook engine failures as the run-time error the user sees (number 1004, as a spreadsheet
// application reports a failed workbook operation).
constexpr int kWorkbookErrorNumber = 1004;

RuntimeError workbookError(const std::exception& e)
{
    return RuntimeError(kWorkbookErrorNumber, QString::fromUtf8(e.what()));
}

class EngineSheet : public SheetCells
{
public:
    EngineSheet(xlsx::Workbook book, std::size_t index) : m_book(std::move(book)), m_index(index) {}
    QString text(int row, int col) const override
    {
        // A number cell reads as plain decimal text, whatever form the saving program stored it in.
        std::string text = sheet().cellText(row, col);
        if (text != "TRUE" && text != "FALSE")
            if (const auto number = sheet().cellNumber(row, col))
                return DecimalText(*number);
        return QString::fromStdString(text);
    }
    bool struck(int row, int col) const override { return sheet().strike(row, col); }
    int lastRow() const override { return sheet().lastUsedRow(); }

private:
    xlsx::Worksheet& sheet() const { return const_cast<xlsx::Workbook&>(m_book).sheet(m_index); }
    xlsx::Workbook m_book;
    std::size_t m_index;
};

class EngineWorkbooks : public SettingsWorkbooks
{
public:
    explicit EngineWorkbooks(AppContext& ctx) : m_ctx(ctx), m_control(ctx) {}

    QString OpenTemplate(const QString& path) override
    {
        Close();
        // Releasing a run drops the opener, so it is handed over for every opening.
        m_control.setOpener([this](const QString& workCopy) {
            try {
                m_book.emplace(xlsx::Workbook::open(workCopy.toStdString()));
            } catch (const xlsx::Error& e) {
                throw workbookError(e);
            }
        });
        return m_control.OpenTemplate(path);
    }

    QStringList SheetNames() const override
    {
        QStringList names;
        if (m_book)
            for (const std::string& n : m_book->sheetNames())
                names << QString::fromStdString(n);
        return names;
    }

    void Close() override
    {
        m_book.reset();
        m_control.ReleaseExcel();
    }

    std::unique_ptr<SheetCells> OpenSheet(const QString& path, const QString& sheet) override
    {
        // An old .xls workbook is read through its .xlsx conversion, as templates are.
        QString file = path;
        if (QFileInfo(path).suffix().compare(u"xls", Qt::CaseInsensitive) == 0)
            file = ConvertedXlsTemplate(path, QFileInfo(m_ctx.WorkbookPath).absolutePath());
        try {
            xlsx::Workbook book = xlsx::Workbook::open(file.toStdString());
            std::size_t index = 0;
            if (!sheet.isEmpty()) {
                const auto found = book.findSheet(sheet.toStdString());
                if (!found)
                    throw RuntimeError(9, QStringLiteral("シート「") + sheet +
                                              QStringLiteral("」が見つかりません。"));
                index = *found;
            } else if (book.sheetCount() == 0) {
                throw RuntimeError(9, QStringLiteral("ブックにシートがありません。"));
            }
            return std::make_unique<EngineSheet>(std::move(book), index);
        } catch (const xlsx::Error& e) {
            throw workbookError(e);
        }
    }

private:
    AppContext& m_ctx;
    WorkbookControl m_control;
    std::optional<xlsx::Workbook> m_book;
};
} // namespace

std::unique_ptr<SettingsWorkbooks> MakeEngineWorkbooks(AppContext& ctx)
{
    return std::make_unique<EngineWorkbooks>(ctx);
}
