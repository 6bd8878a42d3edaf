#pragma once

#include "AppContext.h"
#include "Clock.h"
#include "MessageService.h"

#include <QString>
#include <QTemporaryDir>

// A program folder of its own for each test: a settings file with the lists the aids read, and a
// real SQLite database made from data/schema.sql, connected the way the program connects.
class AidsTestEnv
{
public:
    AidsTestEnv();
    ~AidsTestEnv();

    bool ok() const { return m_ok; }
    AppContext ctx;
    ScriptedMessageService messages;
    Database& db();

    // Rows written straight into the tables.
    void addHeader(const QString& dwgNo, const QString& assy, const QString& kind, const QString& user,
                   const QString& name, const QString& designer,
                   const QString& date = QStringLiteral("2026/01/15"));
    void addLine(const QString& dwgNo, const QString& assy, const QString& kind, const QString& user,
                 const QString& zno, const QString& hinmei, const QString& zaishitu, const QString& suryo,
                 const QString& maker);
    int count(const QString& sql);

    // The settings file's text the environment was made with, and a rewrite of the file.
    static QString iniText();
    void writeIni(const QString& text);

private:
    QTemporaryDir m_dir;
    bool m_ok = false;
};

// Makes an empty database file from the shipped schema.
bool MakeDatabaseFile(const QString& path, QString* error = nullptr);
