#include "SettingsWorkbooks.h"

#include "AppContext.h"
#include "RuntimeError.h"
#include "Workbook.h"

#include <QDir>
#include <QFile>
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
        return QString::fromStdString(sheet().cellText(row, col));
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
    explicit EngineWorkbooks(AppContext& ctx) : m_ctx(ctx) {}

    QString OpenTemplate(const QString& given) override
    {
        Close();
        QString path = given;
        if (path == u"SHINKI" || path.isEmpty()) {
            path = m_ctx.fileDialogs->getOpenFileName(
                QStringLiteral("EXCELﾌｧｲﾙ指定"),
                {QStringLiteral("EXCELファイル (*.xlsx *.XLSX *.xls *.XLS)")});
            if (path.isEmpty())
                return QStringLiteral("NO");
        }
        if (!QFileInfo(path).isFile()) {
            m_ctx.ini->ShowMessage(QStringLiteral("E114"), path + QStringLiteral("を設定し直して下さい。"));
            return QStringLiteral("ERROR");
        }
        // The chosen file goes over the work copy, which is opened read-only from there.
        QDir().mkpath(QFileInfo(m_ctx.WorkbookPath).absolutePath());
        QFile::remove(m_ctx.WorkbookPath);
        if (!QFile::copy(path, m_ctx.WorkbookPath)) {
            m_ctx.ini->ShowMessage(QStringLiteral("E109"),
                                   QStringLiteral("エラーＣＤ：") + QString::number(75));
            return QStringLiteral("NO");
        }
        try {
            m_book.emplace(xlsx::Workbook::open(m_ctx.WorkbookPath.toStdString()));
        } catch (const std::exception&) {
            m_ctx.ini->ShowMessage(QStringLiteral("E111"),
                                   QStringLiteral("エラーＣＤ：") + QString::number(kWorkbookErrorNumber));
            return QStringLiteral("NO");
        }
        return path;
    }

    QStringList SheetNames() const override
    {
        QStringList names;
        if (m_book)
            for (const std::string& n : m_book->sheetNames())
                names << QString::fromStdString(n);
        return names;
    }

    void Close() override { m_book.reset(); }

    std::unique_ptr<SheetCells> OpenSheet(const QString& path, const QString& sheet) override
    {
        try {
            xlsx::Workbook book = xlsx::Workbook::open(path.toStdString());
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
    std::optional<xlsx::Workbook> m_book;
};
} // namespace

std::unique_ptr<SettingsWorkbooks> MakeEngineWorkbooks(AppContext& ctx)
{
    return std::make_unique<EngineWorkbooks>(ctx);
}
