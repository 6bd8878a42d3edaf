#include "PreviewWindow.h"

#include "LibreOffice.h"
#include "Spreadsheet.h"
#include "WarmRenderer.h"
#include "WidgetServices.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPageSetupDialog>
#include <QPainter>
#include <QPdfDocument>
#include <QPdfPageNavigator>
#include <QPdfView>
#include <QPrintDialog>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace
{
QPushButton* button(QWidget* parent, const QString& text, const char* name)
{
    auto* b = new QPushButton(text, parent);
    b->setObjectName(QString::fromLatin1(name));
    b->setAutoDefault(false);
    return b;
}

// The preset percentages of the zoom list.
constexpr int kZoomPercents[] = {25, 50, 75, 100, 125, 150, 200, 300, 400};
} // namespace

int NextZoomPercent(double shownScale, bool in)
{
    const double shown = shownScale * 100.0;
    // A scale within half a percent of a preset counts as that preset.
    if (in) {
        for (int p : kZoomPercents)
            if (p > shown + 0.5)
                return p;
        return std::end(kZoomPercents)[-1];
    }
    for (auto it = std::rbegin(kZoomPercents); it != std::rend(kZoomPercents); ++it)
        if (*it < shown - 0.5)
            return *it;
    return kZoomPercents[0];
}

PreviewWindow::PreviewWindow(const QString& workbookPath, const QString& workFolder, QWidget* parent,
                             const QString& printPath)
    : QDialog(parent), m_workbookPath(workbookPath),
      m_printPath(printPath.isEmpty() ? workbookPath : printPath), m_workFolder(workFolder),
      m_printer(QPrinter::HighResolution)
{
    setObjectName(QStringLiteral("PreviewWindow"));
    setWindowTitle(QStringLiteral("印刷プレビュー - ") + QFileInfo(workbookPath).fileName());
    applyScreenFont(this);
    m_printer.setPageSize(QPageSize(QPageSize::A4));

    auto* printButton = button(this, QStringLiteral("印刷(&P)..."), "printButton");
    auto* setupButton = button(this, QStringLiteral("ページ設定(&U)..."), "pageSetupButton");
    auto* prevButton = m_prev = button(this, QStringLiteral("< 前頁"), "prevPageButton");
    auto* nextButton = m_next = button(this, QStringLiteral("次頁 >"), "nextPageButton");
    m_pageLabel = new QLabel(this);
    m_pageLabel->setObjectName(QStringLiteral("pageLabel"));
    m_pageLabel->setMinimumWidth(110);
    m_pageLabel->setAlignment(Qt::AlignCenter);
    auto* zoomOut = button(this, QStringLiteral("縮小"), "zoomOutButton");
    m_zoom = new QComboBox(this);
    m_zoom->setObjectName(QStringLiteral("zoomCombo"));
    m_zoom->addItems({QStringLiteral("ページ全体"), QStringLiteral("幅に合わせる")});
    for (int p : kZoomPercents)
        m_zoom->addItem(QStringLiteral("%1%").arg(p));
    auto* zoomIn = button(this, QStringLiteral("拡大"), "zoomInButton");
    auto* openButton = button(this, QStringLiteral("表計算ソフトで開く(&E)"), "openWorkbookButton");
    auto* closeButton = button(this, QStringLiteral("閉じる(ESC)"), "closeButton");

    auto* bar = new QHBoxLayout;
    for (QWidget* w : std::initializer_list<QWidget*>{printButton, setupButton, prevButton, m_pageLabel,
                                                      nextButton, zoomOut, m_zoom, zoomIn})
        bar->addWidget(w);
    bar->addStretch(1);
    // Below the pages, so that the window can be narrower than both rows of buttons side by side.
    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(openButton);
    bottom->addWidget(closeButton);
    m_pageControls = {printButton, setupButton, prevButton, nextButton, zoomOut, m_zoom, zoomIn};

    m_stack = new QStackedWidget(this);
    // Page 0: rendering in progress.
    auto* busy = new QWidget(m_stack);
    auto* busyLayout = new QVBoxLayout(busy);
    m_status = new QLabel(QStringLiteral("プレビューを作成しています..."), busy);
    m_status->setObjectName(QStringLiteral("statusLabel"));
    m_status->setAlignment(Qt::AlignCenter);
    m_progress = new QProgressBar(busy);
    m_progress->setObjectName(QStringLiteral("progressBar"));
    m_progress->setRange(0, 0);
    m_progress->setFixedWidth(360);
    busyLayout->addStretch(1);
    busyLayout->addWidget(m_status);
    busyLayout->addWidget(m_progress, 0, Qt::AlignHCenter);
    busyLayout->addStretch(1);
    m_stack->addWidget(busy);
    // Page 1: the pages.
    m_document = new QPdfDocument(this);
    m_view = new QPdfView(m_stack);
    m_view->setObjectName(QStringLiteral("previewView"));
    m_view->setDocument(m_document);
    m_view->setPageMode(QPdfView::PageMode::SinglePage);
    m_view->setZoomMode(QPdfView::ZoomMode::FitInView);
    m_view->setBackgroundRole(QPalette::Dark);
    m_stack->addWidget(m_view);
    // Page 2: no preview possible.
    m_message = new QLabel(m_stack);
    m_message->setObjectName(QStringLiteral("problemLabel"));
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setWordWrap(true);
    m_stack->addWidget(m_message);

    // Below the pages: what of the template did not come through to every page (setNotes).
    m_notes = new QLabel(this);
    m_notes->setObjectName(QStringLiteral("notesLabel"));
    m_notes->setWordWrap(true);
    m_notes->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_notes->hide();
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(bar);
    layout->addWidget(m_stack, 1);
    layout->addWidget(m_notes);
    layout->addLayout(bottom);
    // As tall as the screen it opens on allows, title bar included.
    const QScreen* on = parent ? parent->screen() : screen();
    const QRect area = on ? on->availableGeometry() : QRect(0, 0, 1024, 768);
    resize(std::min(900, area.width() - 40), std::min(1000, area.height() - 60));

    // Paging keys and the wheel at the top or bottom of a page turn the pages.
    const std::pair<QKeySequence, std::function<void()>> keys[] = {
        {QKeySequence(Qt::Key_PageUp), [this] { goToPage(currentPage() - 1); }},
        {QKeySequence(Qt::Key_PageDown), [this] { goToPage(currentPage() + 1); }},
        {QKeySequence(Qt::Key_Home), [this] { goToPage(1); }},
        {QKeySequence(Qt::Key_End), [this] { goToPage(pageCount()); }},
    };
    for (const auto& [key, act] : keys)
        connect(new QShortcut(key, this), &QShortcut::activated, this, act);
    m_view->viewport()->installEventFilter(this);

    for (QWidget* w : m_pageControls)
        w->setEnabled(false);
    updatePageLabel();

    connect(printButton, &QPushButton::clicked, this, &PreviewWindow::print);
    connect(setupButton, &QPushButton::clicked, this, &PreviewWindow::pageSetup);
    connect(prevButton, &QPushButton::clicked, this, [this] { goToPage(currentPage() - 1); });
    connect(nextButton, &QPushButton::clicked, this, [this] { goToPage(currentPage() + 1); });
    connect(m_zoom, &QComboBox::currentIndexChanged, this, &PreviewWindow::applyZoom);
    connect(zoomOut, &QPushButton::clicked, this, [this] { stepZoom(false); });
    connect(zoomIn, &QPushButton::clicked, this, [this] { stepZoom(true); });
    connect(openButton, &QPushButton::clicked, this, &PreviewWindow::openWorkbook);
    connect(closeButton, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_view->pageNavigator(), &QPdfPageNavigator::currentPageChanged, this,
            [this] { updatePageLabel(); });
}

void PreviewWindow::setNotes(const QStringList& notes, const QStringList& runNotes)
{
    QStringList text;
    if (!notes.isEmpty())
        text << QStringLiteral("雛形について: ") + notes.join(u'\n');
    if (!runNotes.isEmpty())
        text << QStringLiteral("出力について: ") + runNotes.join(u'\n');
    m_notes->setText(text.join(u'\n'));
    m_notes->setVisible(!text.isEmpty());
}

PreviewWindow::~PreviewWindow()
{
    if (m_process && m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished(5000);
    }
}

void PreviewWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!m_started)
        startRendering();
}

void PreviewWindow::startRendering()
{
    if (m_started)
        return;
    m_started = true;
    if (LibreOffice::program().isEmpty()) {
        showProblem(
            QStringLiteral("LibreOffice がインストールされていないため、印刷プレビューを表示できません。\n"
                           "「表計算ソフトで開く」でブックを開き、表計算ソフトから印刷して下さい。"));
        return;
    }
    const QString outFolder = QDir(m_workFolder).absoluteFilePath(QStringLiteral("preview"));
    QDir().mkpath(outFolder);
    m_pdfPath = LibreOffice::convertedPath(m_printPath, outFolder, QStringLiteral("pdf"));
    m_firstPagePath = QDir(outFolder).absoluteFilePath(QFileInfo(m_printPath).completeBaseName() +
                                                       QStringLiteral("-page1.pdf"));
    QFile::remove(m_pdfPath);
    const bool warm =
        m_renderer && m_renderer->render(m_printPath, m_pdfPath, m_firstPagePath, this,
                                         [this](WarmRenderer::Step step, const QString& problem) {
                                             warmStep(int(step), problem);
                                         });
    if (!warm)
        startColdRendering();
}

void PreviewWindow::warmStep(int step, const QString& problem)
{
    QString failed = problem;
    if (step != int(WarmRenderer::Step::Failed)) {
        const bool complete = step == int(WarmRenderer::Step::Done);
        failed = showPages(complete ? m_pdfPath : m_firstPagePath, complete);
        if (complete && failed.isEmpty()) {
            m_warm = true;
            QFile::remove(m_firstPagePath);
        }
        // Page 1 that cannot be shown is left for the whole document.
        if (!complete || failed.isEmpty())
            return;
    }
    // The pages still come, from a LibreOffice started for them, without a box; the renderer
    // restarts by itself when it was at fault.
    m_warmProblem = failed;
    m_coming = false;
    m_document->close();
    m_stack->setCurrentIndex(0);
    for (QWidget* w : m_pageControls)
        w->setEnabled(false);
    updatePageLabel();
    startColdRendering();
}

void PreviewWindow::startColdRendering()
{
    const QString outFolder = QFileInfo(m_pdfPath).absolutePath();
    QFile::remove(m_pdfPath);
    m_process = new QProcess(this);
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    connect(m_process, &QProcess::finished, this, &PreviewWindow::renderFinished);
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart)
            showProblem(QStringLiteral("LibreOffice を起動できませんでした。"));
    });
    m_process->start(LibreOffice::program(),
                     LibreOffice::convertArguments(
                         QDir(m_workFolder).absoluteFilePath(QStringLiteral("lo-profile-preview")),
                         QStringLiteral("pdf"), outFolder, m_printPath));
}

void PreviewWindow::renderFinished(int exitCode, QProcess::ExitStatus status)
{
    const QByteArray log = m_process->readAll();
    QString problem = LibreOffice::checkConversion(m_pdfPath, log);
    if (problem.isEmpty() && (status != QProcess::NormalExit || exitCode != 0))
        problem = QStringLiteral("LibreOffice が異常終了しました。");
    if (problem.isEmpty())
        problem = showPages(m_pdfPath, true);
    if (!problem.isEmpty())
        showProblem(QStringLiteral("印刷プレビューを作成できませんでした。\n") + problem);
}

QString PreviewWindow::showPages(const QString& pdf, bool complete)
{
    // The page shown and the zoom stay when the whole document replaces page 1.
    const int page = currentPage();
    if (m_document->load(pdf) != QPdfDocument::Error::None)
        return QStringLiteral("作成した PDF を読めませんでした。");
    const bool first = !m_coming;
    m_coming = !complete;
    m_stack->setCurrentIndex(1);
    // While the other pages come, the pages can be zoomed but not yet printed.
    for (QWidget* w : m_pageControls)
        w->setEnabled(complete || w->objectName().startsWith(u"zoom"));
    goToPage(first ? 1 : page);
    updatePageLabel();
    if (first)
        Q_EMIT firstPageShown();
    if (complete) {
        m_finished = true;
        Q_EMIT renderingDone(true);
    }
    return {};
}

void PreviewWindow::showProblem(const QString& text)
{
    m_problem = text;
    m_finished = true;
    m_message->setText(text);
    m_stack->setCurrentIndex(2);
    updatePageLabel();
    Q_EMIT renderingDone(false);
}

int PreviewWindow::pageCount() const
{
    return m_document->status() == QPdfDocument::Status::Ready ? m_document->pageCount() : 0;
}

int PreviewWindow::currentPage() const
{
    return m_view->pageNavigator()->currentPage() + 1;
}

void PreviewWindow::goToPage(int page)
{
    if (pageCount() == 0)
        return;
    page = std::clamp(page, 1, pageCount());
    m_view->pageNavigator()->jump(page - 1, QPointF(), m_view->zoomFactor());
    updatePageLabel();
}

bool PreviewWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Wheel && pageCount() > 0) {
        auto* wheel = static_cast<QWheelEvent*>(event);
        const QScrollBar* bar = m_view->verticalScrollBar();
        const int delta = wheel->angleDelta().y();
        if (!(wheel->modifiers() & Qt::ControlModifier) && delta != 0) {
            if (delta < 0 && bar->value() >= bar->maximum() && currentPage() < pageCount()) {
                goToPage(currentPage() + 1);
                return true;
            }
            if (delta > 0 && bar->value() <= bar->minimum() && currentPage() > 1) {
                goToPage(currentPage() - 1);
                return true;
            }
        }
    }
    return QDialog::eventFilter(watched, event);
}

void PreviewWindow::updatePageLabel()
{
    const int count = pageCount();
    m_prev->setEnabled(count > 0 && currentPage() > 1);
    m_next->setEnabled(count > 0 && currentPage() < count);
    m_pageLabel->setText(count == 0 ? QStringLiteral("- / - 頁")
                         : m_coming ? QStringLiteral("%1 / … 頁").arg(currentPage())
                                    : QStringLiteral("%1 / %2 頁").arg(currentPage()).arg(count));
}

void PreviewWindow::applyZoom(int index)
{
    if (index == 0) {
        m_view->setZoomMode(QPdfView::ZoomMode::FitInView);
    } else if (index == 1) {
        m_view->setZoomMode(QPdfView::ZoomMode::FitToWidth);
    } else {
        m_view->setZoomMode(QPdfView::ZoomMode::Custom);
        m_view->setZoomFactor(m_zoom->itemText(index).chopped(1).toDouble() / 100.0);
    }
}

double PreviewWindow::shownScale() const
{
    if (m_view->zoomMode() == QPdfView::ZoomMode::Custom || pageCount() == 0)
        return m_view->zoomFactor();
    // The view fits the page itself: work out the scale it chose, as it does.
    const QSizeF page = m_document->pagePointSize(currentPage() - 1) * logicalDpiY() / 72.0;
    const QMargins margins = m_view->documentMargins();
    const QSize room =
        m_view->viewport()->size() - QSize(margins.left() + margins.right(), m_view->pageSpacing());
    if (page.isEmpty())
        return 1.0;
    const double toWidth = room.width() / page.width();
    return m_view->zoomMode() == QPdfView::ZoomMode::FitToWidth
               ? toWidth
               : std::min(toWidth, room.height() / page.height());
}

void PreviewWindow::stepZoom(bool in)
{
    const int index = m_zoom->findText(QStringLiteral("%1%").arg(NextZoomPercent(shownScale(), in)));
    m_zoom->setCurrentIndex(index);
}

bool PreviewWindow::printPages(QPrinter& printer, int first, int last)
{
    first = std::max(first, 1);
    last = std::min(last, pageCount());
    if (first > last)
        return false;
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    for (int page = first; page <= last; ++page) {
        if (page > first)
            printer.newPage();
        const QRect target = painter.viewport();
        const QSizeF pagePoints = m_document->pagePointSize(page - 1);
        // The page fitted into the printable area, centred; the image itself is rendered at no more
        // than 300 dpi (a 1200 dpi A4 page would take half a gigabyte) and scaled by the painter.
        QSize placed = pagePoints.toSize();
        placed.scale(target.size(), Qt::KeepAspectRatio);
        const double dpi = std::min(printer.resolution(), 300);
        const QImage image = m_document->render(page - 1, (pagePoints * dpi / 72.0).toSize());
        const QPoint origin((target.width() - placed.width()) / 2, (target.height() - placed.height()) / 2);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRect(origin, placed), image);
    }
    return painter.end();
}

void PreviewWindow::print()
{
    QPrintDialog dialog(&m_printer, this);
    dialog.setWindowTitle(QStringLiteral("印刷"));
    dialog.setMinMax(1, pageCount());
    dialog.setOption(QAbstractPrintDialog::PrintCurrentPage);
    if (dialog.exec() != QDialog::Accepted)
        return;
    int first = 1, last = pageCount();
    if (m_printer.printRange() == QPrinter::PageRange) {
        first = m_printer.fromPage();
        last = m_printer.toPage();
    } else if (m_printer.printRange() == QPrinter::CurrentPage) {
        first = last = currentPage();
    }
    printPages(m_printer, first, last);
}

void PreviewWindow::pageSetup()
{
    QPageSetupDialog dialog(&m_printer, this);
    dialog.setWindowTitle(QStringLiteral("ページ設定"));
    dialog.exec();
}

void PreviewWindow::openWorkbook()
{
    if (m_messages)
        HandOverWorkbook(*m_messages, m_workbookPath);
    else
        OpenInSpreadsheet(m_workbookPath);
}
