#pragma once

#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <deque>
#include <functional>

class QLocalServer;
class QTimer;

// The preview's renderer kept warm: one LibreOffice per program, started in the background and
// kept running in its own process with its own profile (WORK/lo-profile-renderer), driven through
// the helper buhinhyo-render.py over a private pipe. A workbook becomes a PDF in a fraction of the
// time a LibreOffice started for it takes.
//
// Both processes end with the program, also when it is killed: each is started with a parent-death
// signal, and the helper ends at the end of its standard input. A LibreOffice left on the profile by
// an earlier crash is ended before a new one starts, never used. When LibreOffice or the helper dies
// or does not answer within the time limit, the job fails (its caller renders the cold way) and both
// are started again in the background.
//
// While it runs it also serves buhinhyo-print run on the same program folder (a local socket only
// the user can open): renderThroughProgram.
class WarmRenderer : public QObject
{
    Q_OBJECT
public:
    // What a job reports: page 1 alone written (when asked for), the whole PDF written, or failed
    // with the reason.
    enum class Step { FirstPage, Done, Failed };
    using Report = std::function<void(Step step, const QString& problem)>;

    explicit WarmRenderer(const QString& workFolder, QObject* parent = nullptr);
    ~WarmRenderer() override;

    // Starts LibreOffice and the helper; returns at once. Does nothing when they run or start.
    void start();
    // Connected and waiting for work.
    bool ready() const { return m_ready; }
    // Gave up: LibreOffice, python3-uno or the helper is missing, or starting failed again and
    // again. Every preview then renders the cold way.
    bool unavailable() const { return !m_unavailable.isEmpty(); }
    QString unavailableReason() const { return m_unavailable; }

    // Renders workbook to pdf (and page 1 alone to firstPage when it is not empty). report is called
    // as the steps come, on the event loop, while owner lives. Jobs run one after the other.
    // Returns false (and calls nothing) when the renderer is not ready.
    bool render(const QString& workbook, const QString& pdf, const QString& firstPage, QObject* owner,
                Report report);

    qint64 officePid() const;
    qint64 helperPid() const;
    QString profileFolder() const { return m_profile; }
    // How long one job may take before LibreOffice counts as hung: base plus per megabyte of workbook.
    void setTimeLimit(int baseMs, int perMbMs);

    // The program that runs the helper, and the helper itself (beside the program, else the build's).
    static QString python();
    static QString helperScript();
    // Ends every LibreOffice running on the profile folder (left by a program that crashed);
    // returns their process ids.
    static QList<qint64> endStaleOffices(const QString& profileFolder);
    // Renders workbook to pdf through the renderer of the program running on workFolder; returns
    // "" when it did, otherwise why not (no program running there, its renderer not ready, failed):
    // the caller then converts the cold way. Blocks for at most timeoutMs.
    static QString renderThroughProgram(const QString& workFolder, const QString& workbook,
                                        const QString& pdf, int timeoutMs = 120000);

Q_SIGNALS:
    void readyChanged(bool ready);

private:
    struct Job {
        QString workbook, pdf, firstPage;
        QPointer<QObject> owner;
        Report report;
    };
    static QString serverName(const QString& workFolder);
    void listen();
    void startHelper();
    void readHelper();
    void sendNext();
    void finishJob(Step step, const QString& problem);
    void fault(const QString& problem);
    void stopProcesses();
    void setReady(bool ready);

    QString m_workFolder;
    QString m_profile;
    QString m_pipe;
    QProcess* m_office = nullptr;
    QProcess* m_helper = nullptr;
    QTimer* m_timer = nullptr;
    QLocalServer* m_server = nullptr;
    std::deque<Job> m_jobs;
    bool m_busy = false;
    bool m_ready = false;
    bool m_stopping = false;
    int m_failedStarts = 0;
    int m_baseMs = 20000, m_perMbMs = 10000;
    QString m_unavailable;
};
