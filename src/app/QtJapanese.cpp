#include "QtJapanese.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

bool LoadQtJapanese(QCoreApplication& app)
{
    auto* translator = new QTranslator(&app);
    if (!translator->load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    return QCoreApplication::installTranslator(translator);
}
