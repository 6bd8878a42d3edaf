#pragma once

#include <QDialog>
#include <QPrinter>
#include <QProcess>

class MessageService;
class QComboBox;
class QLabel;
class QPdfDocument;
class QPdfView;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class WarmRenderer;

// The print preview of a filled work copy: LibreOffice renders it to PDF in the background (the
// window stays responsive and shows progress): the program's renderer kept warm when it is ready
// (page 1 first, the others following), else a LibreOffice started for it. Then the pages are shown with
// zoom, page navigation, printing, page set-up, and a button that opens the workbook in the desktop's
// spreadsheet program. Without LibreOffice the window says so and offers that button only.
// The zoom a step in or out from the scale shown (1.0 = 100%): the next of the preset percentages.
int NextZoomPercent(double shownScale, bool in);

class PreviewWindow : public QDialog
{
    Q_OBJECT
public:
    // workFolder holds the private LibreOffice profile and the rendered PDF. The pages shown and
    // printed are those of printPath (the workbook itself when empty); the workbook is what the
    // spreadsheet program opens.
    PreviewWindow(const QString& workbookPath, const QString& workFolder, QWidget* parent = nullptr,
                  const QString& printPath = QString());
    ~PreviewWindow() override;

    // The program's renderer kept warm; without one, or while it is not ready, LibreOffice is
    // started for the preview.
    void setRenderer(WarmRenderer* renderer) { m_renderer = renderer; }
    // Starts the rendering; called by exec()/show() through showEvent, or directly by tests.
    void startRendering();
    bool renderingFinished() const { return m_finished; }
    // Page 1 is shown and the others are still coming.
    bool pagesComing() const { return m_coming; }
    // How the pages were rendered: by the renderer kept warm, or by a LibreOffice started for them
    // (with why the warm one was not used, when it failed).
    bool renderedWarm() const { return m_warm; }
    QString warmProblem() const { return m_warmProblem; }
    int pageCount() const;
    int currentPage() const;
    void goToPage(int page);
    QString pdfPath() const { return m_pdfPath; }
    QString problem() const { return m_problem; }
    // Prints the pages first..last (1-based) of the rendered document on the printer.
    bool printPages(QPrinter& printer, int first, int last);
    // Where "表計算ソフトで開く" says that no program could open the workbook.
    void setMessageService(MessageService* messages) { m_messages = messages; }
    // What of the template did not come through to every page, and what of the list the print run
    // left out or cut, shown below the pages.
    void setNotes(const QStringList& notes, const QStringList& runNotes = {});
    // The scale the pages are shown at (1.0 = 100%), also in the fitted zoom modes.
    double shownScale() const;

Q_SIGNALS:
    // Page 1 is shown (before renderingDone when the renderer kept warm sends it first).
    void firstPageShown();
    void renderingDone(bool ok);

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void startColdRendering();
    void warmStep(int step, const QString& problem);
    void renderFinished(int exitCode, QProcess::ExitStatus status);
    // Shows the pages of pdf; complete false: page 1 alone, the others still coming.
    QString showPages(const QString& pdf, bool complete);
    void showProblem(const QString& text);
    void updatePageLabel();
    void applyZoom(int index);
    void stepZoom(bool in);
    void print();
    void pageSetup();
    void openWorkbook();

    QString m_workbookPath;
    QString m_printPath;
    QString m_workFolder;
    QString m_pdfPath;
    QString m_problem;
    bool m_started = false;
    bool m_finished = false;
    bool m_coming = false;
    bool m_warm = false;
    QString m_warmProblem;
    QString m_firstPagePath;
    WarmRenderer* m_renderer = nullptr;
    QProcess* m_process = nullptr;
    QPdfDocument* m_document = nullptr;
    QPdfView* m_view = nullptr;
    QStackedWidget* m_stack = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_message = nullptr;
    QLabel* m_pageLabel = nullptr;
    QLabel* m_notes = nullptr;
    QProgressBar* m_progress = nullptr;
    QComboBox* m_zoom = nullptr;
    QPushButton* m_prev = nullptr;
    QPushButton* m_next = nullptr;
    MessageService* m_messages = nullptr;
    QList<QWidget*> m_pageControls;
    QPrinter m_printer;
};
