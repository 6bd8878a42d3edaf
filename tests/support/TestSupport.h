#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

// Writes a text file in Shift-JIS (CP932), the encoding of the program's settings file.
void writeCp932File(const QString& path, const QString& text);
QByteArray readFileBytes(const QString& path);
// The folder of the repository's sources (set by CTest), for the shipped files under data/.
QString sourceDir();
// The shipped settings file, data/PARA.ini.
QString shippedIniPath();
