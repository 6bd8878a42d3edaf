#include "AppContext.h"

#include <QDir>

void AppContext::setPaths(const QString& programFolder)
{
    // One separator between the folder and every name, however the folder was given.
    AppPath = QDir::cleanPath(QDir::fromNativeSeparators(programFolder));
    if (!AppPath.endsWith(u'/'))
        AppPath += u'/';
    DataFolder = AppPath;
    DefaultDbPath = AppPath + QStringLiteral("DB/CADDB.sqlite");
    IniPath = AppPath + QStringLiteral("PARA.ini");
    WorkbookPath = AppPath + QStringLiteral("WORK/TEMP.xlsx");
}

void AppContext::makeIni()
{
    ini = std::make_unique<IniAccess>(*messages, IniPath);
}
