#include "SettingsSave.h"

#include "Database.h"
#include "IniAccess.h"

std::optional<FormProblem> CheckSettingsForm(const QString& customer, const QString& pageRows,
                                             const QString& templatePath,
                                             const std::function<bool(const QString&)>& fileExists)
{
    if (customer.trimmed().isEmpty())
        return FormProblem{QStringLiteral("E117"), QString(), FormFocus::Customer};
    if (pageRows.trimmed().isEmpty())
        return FormProblem{QStringLiteral("E118"), QString(), FormFocus::PageRows};
    if (templatePath.trimmed().isEmpty())
        return FormProblem{QStringLiteral("E115"), QString(), FormFocus::TemplateButton};
    if (!fileExists(templatePath))
        return FormProblem{QStringLiteral("E114"), templatePath + QStringLiteral("を設定し直して下さい。"),
                           FormFocus::TemplateButton};
    return std::nullopt;
}

bool WriteSettings(Database& db, IniAccess& ini, const SettingsRecord& record)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, SettingsRecord::LookupSql(record.user, record.kind));
    if (rs->RecordCount() > 0) {
        if (ini.ShowMessage(QStringLiteral("Q105"), QString()) == u"NO") {
            rs->Close();
            return false;
        }
        rs->MoveFirst();
    } else {
        rs->AddNew();
        rs->SetField(QStringLiteral("CH_USER"), record.user);
        rs->SetField(QStringLiteral("CH_BUHIN"), record.kind);
    }
    record.AssignTo(*rs);
    rs->Update();
    rs->Close();
    ini.ShowMessage(QStringLiteral("I100"), QString());
    return true;
}

std::optional<SettingsRecord> ReadSettings(Database& db, const QString& user, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, SettingsRecord::LookupSql(user, kind));
    if (rs->RecordCount() == 0) {
        rs->Close();
        return std::nullopt;
    }
    rs->MoveFirst();
    SettingsRecord r = SettingsRecord::FromRecordset(*rs);
    rs->Close();
    return r;
}
