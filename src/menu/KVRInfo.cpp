#include "KVRInfo.h"

#include "Logo.h"
#include "WidgetServices.h"

#include <QCoreApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>

KVRInfo::KVRInfo(QWidget* over, int milliseconds)
    : QWidget(over, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      m_timer(new QTimer(this)), m_logo(DrawLogo(120))
{
    setObjectName(QStringLiteral("KVRInfo"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFixedSize(520, 240);
    setWindowTitle(QStringLiteral("情報"));
    // Centred over the window it is shown for, or on the screen.
    const QRect area = over ? over->frameGeometry() : (screen() ? screen()->availableGeometry() : QRect());
    if (area.isValid())
        move(area.center() - rect().center());
    m_timer->setSingleShot(true);
    m_timer->setInterval(milliseconds);
    connect(m_timer, &QTimer::timeout, this, &QWidget::close);
    m_timer->start();
}

void KVRInfo::mousePressEvent(QMouseEvent*)
{
    // A click does not close it: the screen goes on its timer alone.
}

void KVRInfo::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(rect(), QColor(250, 251, 253));
    p.setPen(QPen(QColor(20, 50, 110), 2));
    p.drawRect(rect().adjusted(1, 1, -2, -2));
    p.fillRect(QRect(2, 2, width() - 4, 8), QColor(20, 50, 110));

    p.drawPixmap(28, 50, m_logo);

    const int textX = 28 + m_logo.width() + 24;
    const QRect textArea(textX, 44, width() - textX - 20, 150);
    p.setPen(QColor(20, 50, 110));
    p.setFont(screenFont(22));
    p.drawText(QRect(textArea.left(), textArea.top(), textArea.width(), 44), Qt::AlignLeft | Qt::AlignVCenter,
               QStringLiteral("部品表システム"));
    QString version = QCoreApplication::applicationVersion();
    if (version.isEmpty())
        version = QStringLiteral(BUHINHYO_VERSION);
    p.setPen(QColor(60, 60, 60));
    p.setFont(screenFont(11));
    p.drawText(QRect(textArea.left(), textArea.top() + 50, textArea.width(), 24), Qt::AlignLeft,
               QStringLiteral("製作部品表・購入部品表の作成と印刷"));
    p.drawText(QRect(textArea.left(), textArea.top() + 78, textArea.width(), 24), Qt::AlignLeft,
               QStringLiteral("バージョン %1").arg(version));
    p.setFont(screenFont(9));
    p.drawText(QRect(20, height() - 34, width() - 40, 20), Qt::AlignRight | Qt::AlignVCenter,
               QStringLiteral("Copyright (C) 2026 buhinhyo 開発チーム　設計部門向けツール"));
}
