#pragma once

#include <QString>
#include <QStringList>

// The file-open dialog behind one interface, so that tests can choose the file.
class FileDialogService
{
public:
    virtual ~FileDialogService() = default;
    // Returns the chosen file, or an empty text when the user cancelled.
    virtual QString getOpenFileName(const QString& title, const QStringList& filters) = 0;
};

class ScriptedFileDialogService : public FileDialogService
{
public:
    QString getOpenFileName(const QString& title, const QStringList& filters) override
    {
        lastTitle = title;
        lastFilters = filters;
        ++calls;
        if (next.isEmpty())
            return {};
        return next.takeFirst();
    }
    QStringList next;
    QString lastTitle;
    QStringList lastFilters;
    int calls = 0;
};
