#include "Logo.h"

#include "WidgetServices.h"

#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <QtMath>

namespace
{

// A gear of n teeth around a centre, as one path.
QPainterPath gearPath(QPointF c, double outer, double inner, int teeth)
{
    QPainterPath path;
    const int points = teeth * 4;
    for (int i = 0; i < points; ++i) {
        const double a = 2.0 * M_PI * i / points;
        const double r = (i % 4 < 2) ? outer : inner;
        const QPointF p(c.x() + r * std::cos(a), c.y() + r * std::sin(a));
        if (i == 0)
            path.moveTo(p);
        else
            path.lineTo(p);
    }
    path.closeSubpath();
    path.addEllipse(c, inner * 0.4, inner * 0.4);
    path.setFillRule(Qt::OddEvenFill);
    return path;
}

} // namespace

QPixmap DrawLogo(int height)
{
    const double u = height / 48.0; // the drawing is designed 48 units high
    const int width = int(std::ceil(52 * u));
    QPixmap pm(width, height);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(u, u);

    // The sheet, with its border and title block.
    const QColor ink(20, 50, 110);
    p.setPen(QPen(ink, 1.6));
    p.setBrush(QColor(235, 243, 255));
    p.drawRect(QRectF(2, 2, 48, 44));
    p.setPen(QPen(ink, 0.8));
    p.setBrush(Qt::NoBrush);
    p.drawRect(QRectF(5, 5, 42, 38));
    p.drawRect(QRectF(27, 33, 20, 10));
    p.drawLine(QPointF(27, 38), QPointF(47, 38));
    p.drawLine(QPointF(35, 33), QPointF(35, 43));

    // The part: a gear.
    p.setPen(QPen(ink, 0.8));
    p.setBrush(QColor(230, 120, 30));
    p.drawPath(gearPath(QPointF(17, 20), 11, 8.5, 10));

    // A dimension line over the gear.
    p.setPen(QPen(QColor(200, 30, 30), 0.8));
    p.drawLine(QPointF(6, 36), QPointF(28, 36));
    p.drawLine(QPointF(6, 34), QPointF(6, 38));
    p.drawLine(QPointF(28, 34), QPointF(28, 38));
    p.drawLine(QPointF(33, 12), QPointF(44, 12));
    p.drawLine(QPointF(33, 16), QPointF(44, 16));
    p.drawLine(QPointF(33, 20), QPointF(41, 20));
    p.drawLine(QPointF(33, 24), QPointF(44, 24));
    return pm;
}

LogoStrip::LogoStrip(QWidget* parent) : QWidget(parent), m_logo(DrawLogo(40)), m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("picLogo"));
    setFixedHeight(52);
    setMinimumWidth(300);
    m_timer->setInterval(40);
    connect(m_timer, &QTimer::timeout, this, &LogoStrip::step);
    m_timer->start();
}

void LogoStrip::step()
{
    const QFontMetrics fm(screenFont(14));
    const int itemWidth = m_logo.width() + 10 + fm.horizontalAdvance(QStringLiteral("部品表システム"));
    const int room = std::max(0, width() - itemWidth - 8);
    m_x += m_dx;
    if (m_x >= room) {
        m_x = room;
        m_dx = -std::abs(m_dx);
    } else if (m_x <= 0) {
        m_x = 0;
        m_dx = std::abs(m_dx);
    }
    update();
}

void LogoStrip::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(palette().color(QPalette::Mid), 1));
    p.setBrush(QColor(250, 250, 250));
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    const int x = 4 + m_x;
    p.drawPixmap(x, (height() - m_logo.height()) / 2, m_logo);
    p.setFont(screenFont(14));
    p.setPen(QColor(20, 50, 110));
    p.drawText(QRect(x + m_logo.width() + 10, 0, width(), height()), Qt::AlignVCenter | Qt::AlignLeft,
               QStringLiteral("部品表システム"));
}
