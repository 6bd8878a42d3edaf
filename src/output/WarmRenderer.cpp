#include "WarmRenderer.h"

#include "LibreOffice.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <QUrl>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{
// LibreOffice ends with this code after it made a new profile, asking to be started again.
constexpr int kOfficeRestartCode = 81;
// Starts that end before the renderer is ready, in a row, before it gives up.
constexpr int kMaxFailedStarts = 3;

// The process ends when the program does, also when the program is killed.
void EndWithParent(QProcess& process)
{
    const pid_t parent = getpid();
    process.setChildProcessModifier([parent] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(1);
    });
}

// A process that is gone or only waits to be reaped.
bool ProcessGone(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close < 0 || text.mid(close + 2, 1) == "Z";
}

QString ProfileArgument(const QString& profileFolder)
{
    return QStringLiteral("-env:UserInstallation=") +
           QUrl::fromLocalFile(QDir(profileFolder).absolutePath()).toString();
}
} // namespace

WarmRenderer::WarmRenderer(const QString& workFolder, QObject* parent)
    : QObject(parent), m_workFolder(workFolder),
      m_profile(QDir(workFolder).absoluteFilePath(QStringLiteral("lo-profile-renderer"))),
      m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this,
            [this] { fault(QStringLiteral("LibreOffice が時間内に応答しませんでした。")); });
}

WarmRenderer::~WarmRenderer()
{
    m_stopping = true;
    if (m_helper)
        m_helper->disconnect(this);
    if (m_office) {
        m_office->disconnect(this);
        // Asked first, so that the profile is left in order; killed when it does not end.
        m_office->terminate();
        if (!m_office->waitForFinished(3000)) {
            m_office->kill();
            m_office->waitForFinished(3000);
        }
    }
    if (m_helper) {
        m_helper->kill();
        m_helper->waitForFinished(3000);
    }
}

QString WarmRenderer::python()
{
    // Debian's own interpreter carries the uno module; another python3 first on PATH may not.
    const QString debian = QStringLiteral("/usr/bin/python3");
    return QFileInfo(debian).isExecutable() ? debian
                                            : QStandardPaths::findExecutable(QStringLiteral("python3"));
}

QString WarmRenderer::helperScript()
{
    const QString beside =
        QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("buhinhyo-render.py"));
    if (QFileInfo(beside).isFile())
        return beside;
    const QString built = QStringLiteral(BUHINHYO_RENDER_HELPER);
    return QFileInfo(built).isFile() ? built : QString();
}

QList<qint64> WarmRenderer::endStaleOffices(const QString& profileFolder)
{
    const QByteArray wanted = ProfileArgument(profileFolder).toLocal8Bit();
    QList<qint64> ended;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool number = false;
        const qint64 pid = entry.toLongLong(&number);
        if (!number || pid == QCoreApplication::applicationPid())
            continue;
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (!cmdline.open(QIODevice::ReadOnly) || !cmdline.readAll().split('\0').contains(wanted))
            continue;
        if (::kill(pid_t(pid), SIGKILL) == 0)
            ended << pid;
    }
    QElapsedTimer waited;
    waited.start();
    for (qint64 pid : ended)
        while (!ProcessGone(pid) && waited.elapsed() < 5000)
            QThread::msleep(20);
    return ended;
}

void WarmRenderer::setTimeLimit(int baseMs, int perMbMs)
{
    m_baseMs = baseMs;
    m_perMbMs = perMbMs;
}

qint64 WarmRenderer::officePid() const
{
    return m_office ? m_office->processId() : 0;
}

qint64 WarmRenderer::helperPid() const
{
    return m_helper ? m_helper->processId() : 0;
}

void WarmRenderer::setReady(bool ready)
{
    if (m_ready == ready)
        return;
    m_ready = ready;
    Q_EMIT readyChanged(ready);
}

void WarmRenderer::start()
{
    if (unavailable() || m_office)
        return;
    const QString soffice = LibreOffice::program();
    if (soffice.isEmpty() || python().isEmpty() || helperScript().isEmpty()) {
        m_unavailable = soffice.isEmpty() ? QStringLiteral("LibreOffice がインストールされていません。")
                        : python().isEmpty() ? QStringLiteral("python3 がインストールされていません。")
                                             : QStringLiteral("buhinhyo-render.py がありません。");
        return;
    }
    // A LibreOffice left on the profile by a program that crashed is ended, never taken over; its
    // lock then says nothing (a second program is refused, so no other renderer uses the profile).
    endStaleOffices(m_profile);
    QFile::remove(m_profile + QStringLiteral("/.lock"));
    QDir().mkpath(m_profile);

    // The program itself rather than its start script, so that the parent-death signal reaches it.
    const QString bin =
        QFileInfo(QFileInfo(soffice).canonicalFilePath()).dir().filePath(QStringLiteral("soffice.bin"));
    const QString office = QFileInfo(bin).isExecutable() ? bin : soffice;
    m_pipe = QStringLiteral("buhinhyo-%1-%2")
                 .arg(QCoreApplication::applicationPid())
                 .arg(QRandomGenerator::global()->generate(), 0, 16);
    m_office = new QProcess(this);
    EndWithParent(*m_office);
    m_office->setStandardOutputFile(QProcess::nullDevice());
    m_office->setStandardErrorFile(QProcess::nullDevice());
    m_office->setProgram(office);
    m_office->setArguments({ProfileArgument(m_profile), QStringLiteral("--headless"),
                            QStringLiteral("--invisible"), QStringLiteral("--norestore"),
                            QStringLiteral("--nologo"), QStringLiteral("--nodefault"),
                            QStringLiteral("--nolockcheck"),
                            QStringLiteral("--accept=pipe,name=") + m_pipe + QStringLiteral(";urp;")});
    connect(m_office, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        if (status == QProcess::NormalExit && code == kOfficeRestartCode && !m_ready) {
            m_office->start(); // the new profile is made; the helper is still waiting for the pipe
            return;
        }
        fault(QStringLiteral("LibreOffice が終了しました（終了コード %1）。").arg(code));
    });
    connect(m_office, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart)
            fault(QStringLiteral("LibreOffice を起動できませんでした: ") + m_office->errorString());
    });
    m_office->start();
    startHelper();
    listen();
}

QString WarmRenderer::serverName(const QString& workFolder)
{
    const QByteArray folder = QFileInfo(workFolder).absoluteFilePath().toUtf8();
    return QStringLiteral("buhinhyo-render-%1-%2")
        .arg(getuid())
        .arg(
            QString::fromLatin1(QCryptographicHash::hash(folder, QCryptographicHash::Sha1).toHex().left(16)));
}

void WarmRenderer::listen()
{
    if (m_server)
        return;
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // A socket left by a program that crashed (a second program on the folder is refused).
    QLocalServer::removeServer(serverName(m_workFolder));
    if (!m_server->listen(serverName(m_workFolder)))
        qWarning("buhinhyo: the preview renderer does not serve buhinhyo-print: %s",
                 qPrintable(m_server->errorString()));
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (!socket->canReadLine())
                    return;
                const QJsonObject asked = QJsonDocument::fromJson(socket->readLine()).object();
                auto answer = [socket](Step step, const QString& problem) {
                    if (step == Step::FirstPage)
                        return;
                    const QJsonObject said = step == Step::Done
                                                 ? QJsonObject{{QStringLiteral("done"), true}}
                                                 : QJsonObject{{QStringLiteral("error"), problem}};
                    socket->write(QJsonDocument(said).toJson(QJsonDocument::Compact) + '\n');
                    socket->flush();
                };
                if (!render(asked.value(u"in").toString(), asked.value(u"out").toString(), QString(), socket,
                            answer))
                    answer(Step::Failed, QStringLiteral("準備中です。"));
            });
        }
    });
}

QString WarmRenderer::renderThroughProgram(const QString& workFolder, const QString& workbook,
                                           const QString& pdf, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(serverName(workFolder));
    if (!socket.waitForConnected(1000))
        return QStringLiteral("プログラムが起動していません。");
    const QJsonObject request{{QStringLiteral("in"), QFileInfo(workbook).absoluteFilePath()},
                              {QStringLiteral("out"), QFileInfo(pdf).absoluteFilePath()}};
    socket.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    QElapsedTimer waited;
    waited.start();
    while (!socket.canReadLine()) {
        if (waited.elapsed() > timeoutMs || !socket.waitForReadyRead(int(timeoutMs - waited.elapsed())))
            return QStringLiteral("プログラムの応答がありません。");
    }
    const QJsonObject said = QJsonDocument::fromJson(socket.readLine()).object();
    return said.contains(u"done") ? QString()
                                  : said.value(u"error").toString(QStringLiteral("応答が不正です。"));
}

void WarmRenderer::startHelper()
{
    m_helper = new QProcess(this);
    EndWithParent(*m_helper);
    m_helper->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(m_helper, &QProcess::readyReadStandardOutput, this, &WarmRenderer::readHelper);
    connect(m_helper, &QProcess::finished, this, [this](int code) {
        fault(QStringLiteral("プレビュー用の変換プログラムが終了しました（終了コード %1）。").arg(code));
    });
    connect(m_helper, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart)
            fault(QStringLiteral("python3 を起動できませんでした: ") + m_helper->errorString());
    });
    m_helper->start(python(), {helperScript(), m_pipe});
}

void WarmRenderer::readHelper()
{
    while (m_helper && m_helper->canReadLine()) {
        const QJsonObject said = QJsonDocument::fromJson(m_helper->readLine()).object();
        if (said.contains(u"ready")) {
            m_failedStarts = 0;
            setReady(true);
            sendNext();
        } else if (said.contains(u"first")) {
            if (m_busy && !m_jobs.empty() && m_jobs.front().owner)
                m_jobs.front().report(Step::FirstPage, QString());
        } else if (said.contains(u"done")) {
            finishJob(Step::Done, QString());
        } else if (said.contains(u"error")) {
            finishJob(Step::Failed, said.value(u"error").toString());
        } else if (said.contains(u"fatal")) {
            m_unavailable = said.value(u"fatal").toString();
            fault(m_unavailable);
        }
    }
}

bool WarmRenderer::render(const QString& workbook, const QString& pdf, const QString& firstPage,
                          QObject* owner, Report report)
{
    if (!m_ready)
        return false;
    m_jobs.push_back({workbook, pdf, firstPage, owner, std::move(report)});
    sendNext();
    return true;
}

void WarmRenderer::sendNext()
{
    // Jobs whose window closed before their turn are dropped.
    while (!m_busy && !m_jobs.empty() && !m_jobs.front().owner)
        m_jobs.pop_front();
    if (m_busy || !m_ready || m_jobs.empty())
        return;
    const Job& job = m_jobs.front();
    QFile::remove(job.pdf);
    if (!job.firstPage.isEmpty())
        QFile::remove(job.firstPage);
    const QJsonObject request{{QStringLiteral("in"), QFileInfo(job.workbook).absoluteFilePath()},
                              {QStringLiteral("out"), QFileInfo(job.pdf).absoluteFilePath()},
                              {QStringLiteral("first"), job.firstPage.isEmpty()
                                                            ? QString()
                                                            : QFileInfo(job.firstPage).absoluteFilePath()}};
    m_busy = true;
    m_timer->start(m_baseMs + int(QFileInfo(job.workbook).size() * m_perMbMs / (1024 * 1024)));
    m_helper->write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
}

void WarmRenderer::finishJob(Step step, const QString& problem)
{
    if (!m_busy || m_jobs.empty())
        return;
    m_busy = false;
    m_timer->stop();
    Job job = std::move(m_jobs.front());
    m_jobs.pop_front();
    if (job.owner)
        job.report(step, problem);
    QTimer::singleShot(0, this, &WarmRenderer::sendNext);
}

void WarmRenderer::fault(const QString& problem)
{
    if (m_stopping)
        return;
    stopProcesses();
    // Every waiting job fails at once: its caller renders the cold way rather than wait for a restart.
    std::deque<Job> jobs;
    jobs.swap(m_jobs);
    m_busy = false;
    m_timer->stop();
    for (Job& job : jobs)
        if (job.owner)
            job.report(Step::Failed, problem);
    if (unavailable())
        return;
    if (++m_failedStarts >= kMaxFailedStarts) {
        m_unavailable = problem;
        return;
    }
    QTimer::singleShot(0, this, &WarmRenderer::start);
}

void WarmRenderer::stopProcesses()
{
    m_stopping = true;
    setReady(false);
    for (QProcess* p : {m_helper, m_office}) {
        if (!p)
            continue;
        p->disconnect(this);
        p->kill();
        p->waitForFinished(3000);
        p->deleteLater();
    }
    m_helper = m_office = nullptr;
    m_stopping = false;
}
