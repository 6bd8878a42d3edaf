#include "SettingsFixture.h"

#include "DbTestSupport.h"
#include "TestSupport.h"

#include <QDir>
#include <QtTest>

SettingsFixture::SettingsFixture()
{
    QDir(dir.path()).mkpath(QStringLiteral("DB"));
    makeSqliteDatabase(dir.path() + QStringLiteral("/DB"));
    QString ini = QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB/CADDB.sqlite\r\n"
                                 "[USER]\r\nMAX=2\r\n1=客先A\r\n2=客先B\r\n[MSGCD]\r\n");
    for (const char* code :
         {"E102", "E108", "E109", "E111", "E114", "E115", "E117", "E118", "E120", "E150", "I100", "Q105"})
        ini += QLatin1StringView(code) + u'=' + QLatin1StringView(code) + QStringLiteral("：メッセージ\r\n");
    writeCp932File(dir.path() + QStringLiteral("/PARA.ini"), ini);
    ctx.setPaths(dir.path());
    ctx.messages = &messages;
    ctx.fileDialogs = &files;
    ctx.clock = &clock;
    ctx.makeIni();
}

QStringList SettingsFixture::codes() const
{
    QStringList out;
    for (const auto& s : messages.shown)
        out << s.text.left(4);
    return out;
}

QString SettingsFixture::workbook(const QString& name)
{
    return sourceDir() + QStringLiteral("/tests/settings/data/") + name;
}
