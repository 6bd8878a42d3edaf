#include "WidgetServices.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QIdentityProxyModel>
#include <QLabel>
#include <QLayout>
#include <QListView>
#include <QLocale>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QScreen>
#include <QSplitter>
#include <QTreeView>
#include <QWidget>

namespace
{

// The file dialog's type and date columns in Japanese whatever the session's locale: the date as
// "2026/11/25 14:03", a folder as "フォルダー", a file by the Japanese name of its type (else
// "XLSX ファイル" and the like).
class JapaneseFileColumns : public QIdentityProxyModel
{
public:
    using QIdentityProxyModel::QIdentityProxyModel;
    QVariant data(const QModelIndex& index, int role) const override
    {
        auto* files = qobject_cast<QFileSystemModel*>(sourceModel());
        if (role != Qt::DisplayRole || !files || index.column() < 1 || index.column() > 3)
            return QIdentityProxyModel::data(index, role);
        const QModelIndex source = mapToSource(index);
        const QFileInfo info = files->fileInfo(source);
        // Sizes in whole kilobytes, rounded up, as the desks' file windows show them ("2 KB").
        if (index.column() == 1)
            return info.isDir()
                       ? QString()
                       : QLocale(QLocale::Japanese, QLocale::Japan).toString((info.size() + 1023) / 1024) +
                             QStringLiteral(" KB");
        if (index.column() == 3)
            return QLocale(QLocale::Japanese, QLocale::Japan)
                .toString(info.lastModified(), QStringLiteral("yyyy/MM/dd HH:mm"));
        if (info.isDir())
            return QStringLiteral("フォルダー");
        const QString comment = QMimeDatabase().mimeTypeForFile(info).comment();
        const bool japanese =
            std::any_of(comment.begin(), comment.end(), [](QChar c) { return c.unicode() > 0x2E80; });
        if (japanese)
            return comment;
        return info.suffix().isEmpty() ? QStringLiteral("ファイル")
                                       : info.suffix().toUpper() + QStringLiteral(" ファイル");
    }
};

// A box as wide as its title and its longest line, so that the window manager does not cut the
// title and a line of Japanese is not broken in the middle of a word; only a line wider than the
// screen still wraps.
class FittedMessageBox : public QMessageBox
{
public:
    using QMessageBox::QMessageBox;

protected:
    bool event(QEvent* e) override
    {
        const bool done = QMessageBox::event(e);
        if (e->type() == QEvent::Show || e->type() == QEvent::LayoutRequest)
            fit();
        return done;
    }

private:
    void fit()
    {
        auto* label = findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
        if (m_fitting || !label || !layout())
            return;
        m_fitting = true;
        // The title bar also holds the window's icon and buttons.
        constexpr int kTitleBarChrome = 160;
        const int titleWidth = QFontMetrics(font()).horizontalAdvance(windowTitle()) + kTitleBarChrome;
        const int maxWidth = screen() ? screen()->availableGeometry().width() * 9 / 10 : 1200;
        label->setWordWrap(false);
        layout()->activate();
        int width = std::max(layout()->totalMinimumSize().width(), titleWidth);
        if (width > maxWidth) {
            label->setWordWrap(true);
            width = maxWidth;
        }
        layout()->activate();
        const int height = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width)
                                                         : layout()->totalMinimumSize().height();
        setFixedSize(width, height);
        m_fitting = false;
    }

    bool m_fitting = false;
};

} // namespace

MsgAnswer WidgetMessageService::show(MsgIcon icon, MsgButtons buttons, const QString& title,
                                     const QString& text, const QString& detail)
{
    FittedMessageBox box(QApplication::activeWindow());
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
    // The words the users know from their boxes, whatever Qt's translations say; Y and N still
    // answer from the keyboard.
    const struct {
        QMessageBox::StandardButton button;
        const char16_t* text;
        Qt::Key key;
    } words[] = {{QMessageBox::Yes, u"はい", Qt::Key_Y},
                 {QMessageBox::No, u"いいえ", Qt::Key_N},
                 {QMessageBox::Ok, u"OK", Qt::Key_unknown},
                 {QMessageBox::Cancel, u"キャンセル", Qt::Key_unknown}};
    for (const auto& w : words) {
        if (QAbstractButton* b = box.button(w.button)) {
            b->setText(QString::fromUtf16(w.text));
            if (w.key != Qt::Key_unknown)
                b->setShortcut(QKeySequence(w.key));
        }
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
    QFileDialog dialog(QApplication::activeWindow(), title, QString(), filters.join(u";;"));
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setProxyModel(new JapaneseFileColumns(&dialog));
    // The side pane wide enough for its longest place name.
    auto* side = dialog.findChild<QListView*>(QStringLiteral("sidebar"));
    auto* splitter = dialog.findChild<QSplitter*>(QStringLiteral("splitter"));
    if (side && splitter && side->model()) {
        int wide = 0;
        for (int row = 0; row < side->model()->rowCount(); ++row)
            wide = std::max(
                wide, side->fontMetrics().horizontalAdvance(side->model()->index(row, 0).data().toString()));
        const int paneWidth = wide + side->iconSize().width() + 40;
        side->setMinimumWidth(paneWidth);
        splitter->setSizes({paneWidth, 860 - paneWidth});
    }
    // Wide enough for template names and dates in full, the name column taking what is left.
    dialog.resize(std::max(dialog.sizeHint().width(), 860), std::max(dialog.sizeHint().height(), 520));
    if (auto* list = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        list->header()->setStretchLastSection(false);
        for (int column = 1; column < list->header()->count(); ++column)
            list->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
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
