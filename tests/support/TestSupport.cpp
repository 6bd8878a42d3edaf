#include "TestSupport.h"

#include "IniFile.h"

#include <QFile>
#include <QtTest>

void writeCp932File(const QString& path, const QString& text)
{
    auto bytes = IniFile::encodeCp932(text);
    QVERIFY2(bytes.has_value(), "test text not encodable in CP932");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(*bytes);
}

QByteArray readFileBytes(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

QString sourceDir()
{
    const QByteArray env = qgetenv("BUHINHYO_SOURCE_DIR");
    return env.isEmpty() ? QStringLiteral(".") : QString::fromLocal8Bit(env);
}

QString shippedIniPath()
{
    return sourceDir() + QStringLiteral("/data/PARA.ini");
}
