#pragma once

#include <QPixmap>
#include <QWidget>

class QTimer;

// The program's emblem, drawn rather than shipped as a file: a drawing sheet with its title block,
// a gear and a dimension line.
QPixmap DrawLogo(int height);

// The main menu's picture frame: the emblem and the program's name glide from side to side,
// moved by a timer. It has no other effect.
class LogoStrip : public QWidget
{
    Q_OBJECT
public:
    explicit LogoStrip(QWidget* parent = nullptr);

    int logoX() const { return m_x; }
    QTimer* timer() const { return m_timer; }
    void step();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_logo;
    QTimer* m_timer = nullptr;
    int m_x = 0;
    int m_dx = 2;
};
