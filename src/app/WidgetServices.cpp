#include "WidgetServices.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QWidget>

MsgAnswer WidgetMessageService::show(MsgIcon icon, MsgButtons buttons, const QString& title,
                                     const QString& text, const QString& detail)
{
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(title);
    box.setText(text);
    if (!detail.isEmpty())
        box.setDetailedText(detail);
    switch (icon) {
    case MsgIcon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    case MsgIcon::Stop:
        box.setIcon(QMessageBox::Critical);
        break;
    case MsgIcon::Exclamation:
        box.setIcon(QMessageBox::Warning);
        break;
    case MsgIcon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case MsgIcon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    }
    switch (buttons) {
    case MsgButtons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case MsgButtons::OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case MsgButtons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    }
    box.setFont(screenFont());
    switch (box.exec()) {
    case QMessageBox::Yes:
        return MsgAnswer::Yes;
    case QMessageBox::No:
        return MsgAnswer::No;
    case QMessageBox::Cancel:
        return MsgAnswer::Cancel;
    default:
        return buttons == MsgButtons::YesNo ? MsgAnswer::No : MsgAnswer::Ok;
    }
}

void WidgetMessageService::beep()
{
    QApplication::beep();
}

QString WidgetFileDialogService::getOpenFileName(const QString& title, const QStringList& filters)
{
    return QFileDialog::getOpenFileName(QApplication::activeWindow(), title, QString(), filters.join(u";;"));
}

QFont screenFont(int pointSize)
{
    QFont f(QStringLiteral("ＭＳ ゴシック"), pointSize);
    f.setFamilies({QStringLiteral("ＭＳ ゴシック"), QStringLiteral("MS Gothic"), QStringLiteral("IPAGothic"),
                   QStringLiteral("IPAゴシック")});
    f.setStyleHint(QFont::TypeWriter);
    return f;
}

void applyScreenFont(QWidget* window, int pointSize)
{
    window->setFont(screenFont(pointSize));
}
