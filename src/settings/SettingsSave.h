#pragma once

#include "SettingsRecord.h"

#include <QString>
#include <functional>
#include <optional>

class Database;
class IniAccess;

// Where the focus goes when the form check refuses a save.
enum class FormFocus { Customer, PageRows, TemplateButton };

struct FormProblem {
    QString code;  // message code
    QString extra; // text appended to the message
    FormFocus focus;
};

// The form check before a save, first failure wins: customer (E117), page rows (E118), template path
// empty (E115), template file missing (E114 + path + "を設定し直して下さい。"). The import workbook,
// sheets, cells and headings are not looked at here.
std::optional<FormProblem> CheckSettingsForm(const QString& customer, const QString& pageRows,
                                             const QString& templatePath,
                                             const std::function<bool(const QString&)>& fileExists);

// The kind of list from the kind option: "製作ﾘｽﾄ" ticked gives "1", otherwise "2".
inline QString KindFromOption(bool manufacturedTicked)
{
    return manufacturedTicked ? QStringLiteral("1") : QStringLiteral("2");
}

// Writes the record into its SETTEI row (customer and kind as the record holds them, untrimmed).
// An existing row is overwritten only after "Q105" is answered with anything but "NO"; a new row
// is appended with the keys. Shows "I100" when written. Returns whether it wrote.
bool WriteSettings(Database& db, IniAccess& ini, const SettingsRecord& record);

// Reads the row of a customer and kind; nullopt when there is none.
std::optional<SettingsRecord> ReadSettings(Database& db, const QString& user, const QString& kind);
