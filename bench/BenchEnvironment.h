#pragma once

#include <QByteArray>
#include <QtGlobal>

// A benchmark that shows screens runs offscreen unless the session says otherwise, and finds the
// shipped files in the source tree it was built from (BUHINHYO_SOURCE_DIR_DEFAULT, set by its
// target). Called before the application object is made.
inline void UseBenchEnvironment()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("BUHINHYO_SOURCE_DIR"))
        qputenv("BUHINHYO_SOURCE_DIR", BUHINHYO_SOURCE_DIR_DEFAULT);
}
