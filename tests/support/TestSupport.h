#pragma once

#include "AppContext.h"
#include "Clock.h"
#include "FileDialogService.h"
#include "MessageService.h"
#include "RuntimeError.h"

#include <QSqlDatabase>
#include <QStringList>
#include <QTemporaryDir>
#include <functional>
#include <optional>

// Writes a text file in Shift-JIS (CP932), the encoding of the program's settings file.
void writeCp932File(const QString& path, const QString& text);
QByteArray readFileBytes(const QString& path);
// The folder of the repository's sources (set by CTest), for the shipped files under data/.
QString sourceDir();
QString shippedIniPath();
// The RuntimeError that f throws (none when it throws none), and its number (0 when none).
std::optional<RuntimeError> thrown(const std::function<void()>& f);
int errorNumber(const std::function<void()>& f);
// A new SQLite file made from data/schema.sql (the program never makes one itself).
QString makeSqliteDatabase(const QString& folder, const QString& name = QStringLiteral("CADDB.sqlite"),
                           const QString& schema = QString());

// Team mode of the test run (BUHINHYO_TEST_TEAM=1 beside the PostgreSQL fixture's variables): the
// program folders below work on the fixture's server through [ODBC] SHARED=1 instead of their file.
bool teamMode();
// Another desk in team mode: a session of its own on the fixture's server.
std::shared_ptr<Database> openOtherDesk();

// The program folder of one test: PARA.ini with the catalogue and lists of kIni, an empty
// DB/CADDB.sqlite made from the shipped schema, WORK/, and a context with scripted message boxes and
// file dialogs and a clock fixed at 2026-11-21 09:30:05. connect() connects it the way the screens do.
class AppFolder
{
public:
    static const QString kIni;
    // In team mode a new folder starts with the server's tables empty; another desk of the same test
    // (a child process) joins them as they are.
    enum class Server { Emptied, Joined };
    explicit AppFolder(const QString& iniText = kIni, Server server = Server::Emptied);
    ~AppFolder();

    QTemporaryDir dir;
    AppContext ctx;
    ScriptedMessageService messages;
    ScriptedFileDialogService dialogs;
    FixedClock clock{QDateTime(QDate(2026, 11, 21), QTime(9, 30, 5))};

    QString path(const QString& name) const { return dir.filePath(name); }
    bool connect();
    void writeIni(const QString& text);
    QString iniText() const;

    // Statements and queries on a connection of the test's own (each field as text).
    QSqlDatabase& sql() { return m_peek; }
    void exec(const QString& sql);
    QList<QStringList> rows(const QString& sql);
    int count(const QString& sql) { return rows(sql).value(0).value(0).toInt(); }
    // The rows of a query, each as its fields joined with "|".
    QStringList lines(const QString& sql);
    // A stored header, and lines given as (CH_ZNO, CH_HINMEI, CH_HAISHI, CH_KAKKO, INT_SURYO, CH_ZAISHITU,
    // CH_MAKER); missing fields are "0", "0", "1", "", "" (an empty quantity is stored as null).
    void storeTable(const QString& dwgNo, const QString& assy, const QString& kind, const QString& name,
                    const QString& user, const QList<QStringList>& lines,
                    const QString& designer = QStringLiteral("山田"));
    // Boxes shown so far as "title|text", and as catalogue codes (other texts by their first four
    // characters).
    QStringList shownBoxes() const;
    QStringList codes() const;

private:
    QString m_peekName;
    QSqlDatabase m_peek;
};
