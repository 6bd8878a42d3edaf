#include "InstallPrintRun.h"

#include "AppContext.h"
#include "PreviewWindow.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "Spreadsheet.h"
#include "XlsxOutputWorkbook.h"

#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QPointer>
#include <QProgressDialog>

namespace
{

// Long lists show their page loop; short ones only the busy pointer.
constexpr int kProgressFromPages = 10;

class WindowPresenter : public PrintPresenter
{
public:
    WindowPresenter(QWidget* parent, QString workFolder, MessageService& messages, WarmRenderer* renderer)
        : m_parent(parent), m_workFolder(std::move(workFolder)), m_messages(messages), m_renderer(renderer)
    {
    }
    ~WindowPresenter() override
    {
        busy(false);
        delete m_progress;
    }

    void busy(bool on) override
    {
        if (on && !m_busy)
            QApplication::setOverrideCursor(Qt::WaitCursor);
        else if (!on && m_busy)
            QApplication::restoreOverrideCursor();
        m_busy = on;
        if (!on && m_progress)
            m_progress->hide();
    }

    void progress(int page, int totalPages) override
    {
        if (totalPages < kProgressFromPages)
            return;
        if (!m_progress) {
            m_progress = new QProgressDialog(QStringLiteral("頁を作成しています..."), QString(), 0,
                                             totalPages, m_parent);
            m_progress->setObjectName(QStringLiteral("pageProgress"));
            m_progress->setWindowTitle(QStringLiteral("印刷ﾌﾟﾚﾋﾞｭｰ"));
            m_progress->setWindowModality(Qt::WindowModal);
            m_progress->setMinimumDuration(300);
            m_progress->setCancelButton(nullptr);
        }
        m_progress->setLabelText(QStringLiteral("頁を作成しています... %1 / %2").arg(page).arg(totalPages));
        m_progress->setValue(std::min(page, totalPages));
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }

    void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes,
                 const QStringList& runNotes) override
    {
        PreviewWindow window(workbookPath, m_workFolder, m_parent, printPath);
        window.setMessageService(&m_messages);
        window.setRenderer(m_renderer);
        window.setNotes(notes, runNotes);
        window.exec();
    }

    void keepWorkbook(const QString& workbookPath) override { HandOverWorkbook(m_messages, workbookPath); }

    void clearClipboard() override { QGuiApplication::clipboard()->clear(); }

private:
    QWidget* m_parent;
    QString m_workFolder;
    MessageService& m_messages;
    WarmRenderer* m_renderer;
    QPointer<QProgressDialog> m_progress;
    bool m_busy = false;
};

} // namespace

void installPrintRun(AppContext& ctx, WarmRenderer* renderer)
{
    ctx.printRun = [&ctx, renderer](const PrintRequest& request) {
        WindowPresenter presenter(request.caller, QFileInfo(ctx.WorkbookPath).absolutePath(), *ctx.messages,
                                  renderer);
        RunPrint(ctx, request, OpenXlsxOutputWorkbook, presenter);
    };
}
