#pragma once

#include <QWidget>

class QTimer;

// The information screen KVRInfo: the program's emblem and the maker's mark on a fixed window,
// shown over the main menu at start. When its timer first fires it closes itself.
class KVRInfo : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kShowMilliseconds = 3000;

    explicit KVRInfo(QWidget* over = nullptr, int milliseconds = kShowMilliseconds);

    QTimer* timer() const { return m_timer; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QTimer* m_timer = nullptr;
    QPixmap m_logo;
};
