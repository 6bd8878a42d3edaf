#pragma once

class QCoreApplication;

// Qt's own texts (the buttons of every box, the file, print and page set-up dialogs, the batch
// command's help) and the default locale (dates, file types) in Japanese, whatever the locale of
// the session: the users know the program only in Japanese. The catalogue
// is Qt's own translation (Debian qt6-translations-l10n). False when it is not installed; the
// program then goes on with Qt's English texts.
bool LoadQtJapanese(QCoreApplication& app);
