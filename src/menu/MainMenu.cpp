#include "MainMenu.h"

#include "AppContext.h"
#include "CommandGuard.h"
#include "Common.h"
#include "CommonWidgets.h"
#include "Logo.h"
#include "WidgetServices.h"

#include <QApplication>
#include <QButtonGroup>
#include <QClipboard>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPageSetupDialog>
#include <QPrinter>
#include <QPushButton>
#include <QVBoxLayout>

namespace
{

QColor fromBgr(quint32 bgr)
{
    return QColor(int(bgr & 0xFF), int((bgr >> 8) & 0xFF), int((bgr >> 16) & 0xFF));
}

} // namespace

MainMenu::MainMenu(AppContext& ctx, QWidget* parent) : QWidget(parent), m_ctx(ctx)
{
    setObjectName(QStringLiteral("KVRCAD0000"));
    setWindowTitle(QStringLiteral("メインメニュー"));
    applyScreenFont(this, 11);
    m_state.MenuPalette = MakeMenuPalette();

    m_title = new QLabel(QStringLiteral("メインメニュー"), this);
    m_title->setObjectName(QStringLiteral("lblTitle"));
    m_title->setFont(screenFont(20));
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setMinimumHeight(44);

    m_logo = new LogoStrip(this);

    auto* leftBox = new QGridLayout;
    leftBox->setSpacing(6);
    for (int k = 0; k < kMenuSlots; ++k) {
        auto* b = new QPushButton(this);
        b->setObjectName(QStringLiteral("cmdLeft_%1").arg(k));
        b->setMinimumSize(280, 34);
        b->setAutoDefault(false);
        b->setFocusPolicy(Qt::TabFocus);
        // A hidden slot keeps its place, so every button stays where the settings file puts it.
        QSizePolicy policy = b->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        b->setSizePolicy(policy);
        connect(b, &QPushButton::clicked, this, [this, k] { leftClicked(k); });
        // Two columns of twelve, read top to bottom.
        leftBox->addWidget(b, k % 12, k / 12);
        m_left[k] = b;
    }

    auto* rightBox = new QVBoxLayout;
    rightBox->setSpacing(6);
    m_groupButtons = new QButtonGroup(this);
    m_groupButtons->setExclusive(true);
    m_designedCaptions.fill(QString());
    m_designedCaptions[10] = QStringLiteral("プリンタ設定(F9)");
    m_designedCaptions[11] = QStringLiteral("終了(ESC)");
    for (int i = 0; i < 12; ++i) {
        auto* b = new QPushButton(m_designedCaptions[i], this);
        b->setObjectName(QStringLiteral("cmdRight_%1").arg(i));
        b->setMinimumSize(200, 34);
        b->setAutoDefault(false);
        b->setFocusPolicy(Qt::TabFocus);
        if (i < kRightGroupButtons) {
            b->setCheckable(true);
            m_groupButtons->addButton(b, i);
        }
        if (i == kRightGroupButtons)
            rightBox->addStretch(1);
        connect(b, &QPushButton::clicked, this, [this, i] { rightClicked(i); });
        rightBox->addWidget(b);
        m_right[i] = b;
    }
    m_right[0]->setChecked(true);

    auto* body = new QHBoxLayout;
    body->addLayout(leftBox, 1);
    body->addSpacing(16);
    body->addLayout(rightBox);

    auto* top = new QVBoxLayout(this);
    top->setContentsMargins(16, 12, 16, 16);
    top->addWidget(m_title);
    top->addWidget(m_logo);
    top->addSpacing(8);
    top->addLayout(body, 1);

    resize(860, 680);

    printerSetup = [this] { showPrinterSetup(); };
    endProgram = [] { QCoreApplication::exit(0); };

    QPointer<MainMenu> self(this);
    m_ctx.enableMenuButtons = [self](bool enabled) {
        if (self)
            self->EnableMenuButtons(enabled);
    };
}

MainMenu::~MainMenu()
{
    // The work screens are children of the menu and go with it; they must not call back into a menu
    // that is being taken down.
    for (auto& [slot, screen] : m_screens)
        if (screen)
            disconnect(screen, nullptr, this, nullptr);
    m_ctx.enableMenuButtons = nullptr;
}

void MainMenu::registerScreen(int slot, ScreenFactory factory)
{
    m_factories[slot] = std::move(factory);
}

QWidget* MainMenu::openedScreen(int slot) const
{
    auto it = m_screens.find(slot);
    return it == m_screens.end() ? nullptr : it->second.data();
}

void MainMenu::EnableMenuButtons(bool enabled)
{
    for (QPushButton* b : m_left)
        b->setEnabled(enabled);
    for (QPushButton* b : m_right)
        b->setEnabled(enabled);
}

void MainMenu::setMenuTitle(const QString& title)
{
    setWindowTitle(title);
    m_title->setText(title);
}

void MainMenu::setMenuColor(quint32 bgr)
{
    const QColor c = fromBgr(bgr);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, c);
    // Dark backgrounds get a light title, so the title stays readable on every colour of the table.
    pal.setColor(QPalette::WindowText, c.lightness() < 110 ? Qt::white : Qt::black);
    setPalette(pal);
    setAutoFillBackground(true);
}

void MainMenu::setRightButton(int index, bool visible, const QString& words)
{
    QPushButton* b = m_right.at(index);
    b->setText(words + m_designedCaptions.at(index));
    b->setHidden(!visible);
}

void MainMenu::setLeftButton(int slot, bool visible, const QString& caption)
{
    QPushButton* b = m_left.at(slot);
    b->setText(caption);
    b->setToolTip(caption);
    b->setHidden(!visible);
}

void MainMenu::selectGroup(int group)
{
    rightClicked(group);
}

void MainMenu::keyPressEvent(QKeyEvent* event)
{
    // Only F9 and Esc, and each only while its button can be pressed.
    const int index = event->key() == Qt::Key_F9 ? 10 : event->key() == Qt::Key_Escape ? 11 : -1;
    if (index < 0 || event->modifiers() != Qt::NoModifier) {
        QWidget::keyPressEvent(event);
        return;
    }
    QPushButton* b = m_right[index];
    if (!b->isHidden() && b->isEnabled())
        b->click();
    event->accept();
}

void MainMenu::closeEvent(QCloseEvent* event)
{
    // Closed from its title bar: each open work screen is asked once (the editor asks its own
    // question); a screen that stays keeps the menu and everything else open. "終了(ESC)" asks
    // nothing.
    if (!m_ending) {
        for (auto& [slot, screen] : m_screens) {
            if (screen && screen->isVisible() && !screen->close()) {
                event->ignore();
                return;
            }
        }
    }
    QWidget::closeEvent(event);
}

void MainMenu::rightClicked(int index)
{
    guardCommand(*m_ctx.messages, [&] {
        m_ctx.messages->beep();
        if (index == 10) {
            if (printerSetup)
                printerSetup();
            return;
        }
        if (index == 11) {
            endNow();
            return;
        }
        if (index == m_state.CurrentButtonGroup) {
            m_right[index]->setChecked(true);
            return;
        }
        m_state.CurrentButtonGroup = Int16::from(index);
        ShowButtonGroup(m_state, m_state.CurrentButtonGroup, *this);
        m_right[index]->setChecked(true);
    });
}

void MainMenu::leftClicked(int slot)
{
    guardCommand(*m_ctx.messages, [&] {
        m_ctx.messages->beep();
        const MenuButtonEntry& entry = m_state.ButtonTable.at(m_state.CurrentButtonGroup.value()).at(slot);
        if (entry.Target.isEmpty())
            return;
        if (!entry.Extra.isEmpty()) {
            m_ctx.ini->ShowMessage(QStringLiteral("E001"), QString());
            return;
        }
        // The menu stays disabled while the work screen is open; the screen enables it when it closes.
        ::EnableMenuButtons(m_ctx, false);
        try {
            openScreen(slot);
        } catch (...) {
            // A screen that fails while it is made never opened: the menu must not stay locked.
            ::EnableMenuButtons(m_ctx, true);
            throw;
        }
    });
}

void MainMenu::openScreen(int slot)
{
    // What a slot opens depends on its position only, whatever the group.
    QPointer<QWidget>& screen = m_screens[slot];
    if (!screen) {
        auto factory = m_factories.find(slot);
        QWidget* made = factory == m_factories.end() || !factory->second ? nullptr : factory->second(this);
        if (!made) {
            sayNoScreen(slot);
            return;
        }
        screen = made;
        // A screen that is gone can no longer re-enable the menu; the menu does it itself.
        connect(made, &QObject::destroyed, this, [this] { EnableMenuButtons(true); });
    }
    ShowScreen(screen, this);
}

void MainMenu::sayNoScreen(int slot)
{
    const MenuButtonEntry& entry = m_state.ButtonTable.at(m_state.CurrentButtonGroup.value()).at(slot);
    m_ctx.messages->show(MsgIcon::Information, MsgButtons::Ok, QStringLiteral("インフォメーション"),
                         QStringLiteral("「%1」で開く画面は、このシステムには組み込まれていません。\n"
                                        "（グループ %2 の %3 番目のボタン）\n\n"
                                        "PARA.ini の [BOTTANL%4] キー %3 の設定を確認して下さい。")
                             .arg(entry.Caption)
                             .arg(m_state.CurrentButtonGroup.value() + 1)
                             .arg(slot + 1)
                             .arg(m_state.CurrentButtonGroup.value() + 1));
    ::EnableMenuButtons(m_ctx, true);
}

void MainMenu::showPrinterSetup()
{
    if (!m_printer)
        m_printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    QPageSetupDialog dialog(m_printer.get(), this);
    dialog.setWindowTitle(QStringLiteral("プリンタ設定"));
    dialog.exec();
}

void MainMenu::endNow()
{
    // Nothing is saved or asked: the database is let go, the menu closes, the clipboard is
    // cleared and the program ends with every screen.
    m_ctx.DbConnection.reset();
    m_ending = true;
    close();
    if (QClipboard* clip = QGuiApplication::clipboard())
        clip->clear();
    if (endProgram)
        endProgram();
}
