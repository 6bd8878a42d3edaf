#pragma once

class QCoreApplication;

// Qt's own texts (the buttons of every box, the file, print and page set-up dialogs) in Japanese,
// whatever the locale of the session: the users know the program only in Japanese. The catalogue
// is Qt's own translation (Debian qt6-translations-l10n). False when it is not installed; the
// program then goes on with Qt's English texts.
bool LoadQtJapanese(QCoreApplication& app);
