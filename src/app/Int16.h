#pragma once

#include "RuntimeError.h"

#include <cstdint>
#include <limits>

// A 16-bit signed integer whose arithmetic is checked: leaving -32768..32767 raises the overflow
// error (number 6). Row and page arithmetic of the program is done in this type on purpose, so a
// list or a page number that grows too far stops the operation instead of wrapping around.
class Int16
{
public:
    constexpr Int16() = default;
    // Checked conversion from any integer.
    static Int16 from(long long v)
    {
        if (v < std::numeric_limits<int16_t>::min() || v > std::numeric_limits<int16_t>::max())
            throw RuntimeError::overflow();
        Int16 r;
        r.m_v = static_cast<int16_t>(v);
        return r;
    }
    constexpr int value() const { return m_v; }
    constexpr operator int() const { return m_v; }

    friend Int16 operator+(Int16 a, Int16 b) { return from(static_cast<long long>(a.m_v) + b.m_v); }
    friend Int16 operator-(Int16 a, Int16 b) { return from(static_cast<long long>(a.m_v) - b.m_v); }
    friend Int16 operator*(Int16 a, Int16 b) { return from(static_cast<long long>(a.m_v) * b.m_v); }
    Int16& operator+=(Int16 o) { return *this = *this + o; }
    Int16& operator-=(Int16 o) { return *this = *this - o; }
    Int16& operator++() { return *this = *this + Int16::from(1); }
    Int16& operator--() { return *this = *this - Int16::from(1); }

private:
    int16_t m_v = 0;
};
