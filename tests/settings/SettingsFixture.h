#pragma once

#include "AppContext.h"
#include "Clock.h"
#include "FileDialogService.h"
#include "MessageService.h"

#include <QTemporaryDir>
#include <memory>

// A program folder for one test: PARA.ini with the messages and customers, a SQLite database made
// from data/schema.sql, services the test answers, and a clock fixed at 令和8年11月21日 09:30:05.
struct SettingsFixture {
    QTemporaryDir dir;
    ScriptedMessageService messages;
    ScriptedFileDialogService files;
    FixedClock clock{QDateTime(QDate(2026, 11, 21), QTime(9, 30, 5))};
    AppContext ctx;

    SettingsFixture();
    // The codes of the boxes shown so far (each catalogue text starts with its code).
    QStringList codes() const;
    // A workbook of the test data folder.
    static QString workbook(const QString& name);
};
