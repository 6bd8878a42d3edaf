#pragma once

#include "AppContext.h"
#include "Clock.h"
#include "MessageService.h"

#include <QSqlDatabase>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// A program folder of its own for one test: a settings file with the messages and lists the editor
// and the search screen read, an empty database made from the shipped schema, and a context with
// scripted message boxes and a fixed clock (2024-03-05).
class EditorTestEnv
{
public:
    EditorTestEnv();
    ~EditorTestEnv();

    AppContext ctx;
    ScriptedMessageService messages;
    FixedClock clock{QDateTime(QDate(2024, 3, 5), QTime(10, 0))};
    QTemporaryDir dir;

    QString dbPath() const;
    // Connects the context to the database through the program's own connect routine.
    void connect();
    // A second connection of the test's own, for looking at and preparing rows.
    QSqlDatabase& peek();
    // Runs statements on the test's own connection.
    void exec(const QString& sql);
    // The rows of a query, each as its fields' texts in the order selected.
    QList<QStringList> rows(const QString& sql);
    // A stored table: a header and lines given as (CH_ZNO, CH_HINMEI, CH_HAISHI, CH_KAKKO).
    void storeTable(const QString& dwgNo, const QString& assy, const QString& kind, const QString& name,
                    const QString& user, const QList<QStringList>& lines);
    // Rewrites the settings file with a text of the test's own.
    void writeIni(const QString& text);
    // The first field of a query's first row as a number.
    int count(const QString& sql);
    // The text of the settings file, read back.
    QString iniText() const;
    // Message texts shown since the last clear, with their titles: "title|text".
    QStringList shownBoxes() const;

private:
    QString m_peekName;
    QSqlDatabase m_peek;
};
