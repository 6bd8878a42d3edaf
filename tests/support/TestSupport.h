#pragma once

#include "MessageService.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

// Writes a text file in Shift-JIS (CP932), the encoding of the program's settings file.
void writeCp932File(const QString& path, const QString& text);
QByteArray readFileBytes(const QString& path);
// The folder of the repository's sources (set by CTest), for the shipped files under data/.
QString sourceDir();
// The shipped settings file, data/PARA.ini.
QString shippedIniPath();

// A settings file in a temporary folder and the message boxes shown meanwhile. reset() (from a
// test's init()) removes the file and forgets the boxes.
struct SettingsFileFixture {
    QTemporaryDir dir;
    QString path = dir.filePath(QStringLiteral("PARA.ini"));
    ScriptedMessageService msgs;
    void reset()
    {
        QFile::remove(path);
        msgs.clear();
    }
};
