#pragma once

#include <QDateTime>

// Today's date is written into saved rows and headers; tests fix it through this interface.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};

class SystemClock : public Clock
{
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

class FixedClock : public Clock
{
public:
    explicit FixedClock(QDateTime t) : m_t(std::move(t)) {}
    QDateTime now() const override { return m_t; }
    void set(QDateTime t) { m_t = std::move(t); }

private:
    QDateTime m_t;
};
