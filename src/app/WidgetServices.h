#pragma once

#include "FileDialogService.h"
#include "MessageService.h"

#include <QFont>

class QWidget;

// Message boxes with QMessageBox and the system beep.
class WidgetMessageService : public MessageService
{
public:
    MsgAnswer show(MsgIcon icon, MsgButtons buttons, const QString& title, const QString& text,
                   const QString& detail = QString()) override;
    void beep() override;
};

// The file-open dialog with QFileDialog.
class WidgetFileDialogService : public FileDialogService
{
public:
    QString getOpenFileName(const QString& title, const QStringList& filters) override;
};

// The screens' font: "ＭＳ ゴシック", which fontconfig falls back to IPAGothic for.
QFont screenFont(int pointSize = 10);
// Applies the screen font to a window and all its children.
void applyScreenFont(QWidget* window, int pointSize = 10);
