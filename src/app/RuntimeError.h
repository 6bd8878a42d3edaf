#pragma once

#include <QString>
#include <exception>

// A run-time error of the program: a number and a description, as the user sees them in the error box.
// It is thrown inside an operation and caught at the screen's command boundary (see CommandGuard.h).
class RuntimeError : public std::exception
{
public:
    RuntimeError(int number, QString description) : m_number(number), m_description(std::move(description))
    {
        m_what = m_description.toStdString();
    }
    int number() const noexcept { return m_number; }
    const QString& description() const noexcept { return m_description; }
    // What lies behind the error beyond its description (the file, the step, the sheet), for the
    // detail text of the error box; empty when the description says it all.
    const QString& cause() const noexcept { return m_cause; }
    RuntimeError withCause(const QString& cause) const
    {
        RuntimeError e = *this;
        e.m_cause = m_cause.isEmpty() ? cause : cause + u'\n' + m_cause;
        return e;
    }
    // The description and the cause: the detail text of a box that shows only the number.
    QString detailText() const { return m_cause.isEmpty() ? m_description : m_description + u'\n' + m_cause; }
    const char* what() const noexcept override { return m_what.c_str(); }

    // Well-known errors of the program.
    static RuntimeError overflow();     // 6
    static RuntimeError typeMismatch(); // 13: a text that must be a number is not one
    static RuntimeError outOfRange();   // 9: an index outside its table

private:
    int m_number;
    QString m_description;
    QString m_cause;
    std::string m_what;
};

inline RuntimeError RuntimeError::overflow()
{
    return RuntimeError(6, QStringLiteral("オーバーフローしました。"));
}
inline RuntimeError RuntimeError::typeMismatch()
{
    return RuntimeError(13, QStringLiteral("型が一致しません。"));
}
inline RuntimeError RuntimeError::outOfRange()
{
    return RuntimeError(9, QStringLiteral("インデックスが有効範囲にありません。"));
}
