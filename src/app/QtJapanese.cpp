#include "QtJapanese.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool LoadQtJapanese(QCoreApplication& app)
{
    // Dates, file types and numbers as a Japanese desktop shows them, whatever the session says.
    QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
    auto* translator = new QTranslator(&app);
    if (!translator->load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    return QCoreApplication::installTranslator(translator);
}
