// The one place where the contract's text units (unsigned short) meet those of Qt (char16_t).
#pragma once

#include <QString>

#include <string>

// Text of the contract, held by value.
using FxString = std::basic_string<unsigned short>;

inline QString toQString(const unsigned short* text)
{
    return text ? QString::fromUtf16(reinterpret_cast<const char16_t*>(text)) : QString();
}

inline FxString toFxString(const QString& text)
{
    return {reinterpret_cast<const unsigned short*>(text.utf16()),
        static_cast<std::size_t>(text.size())};
}

// Zero-terminated units of `text`; valid as long as it lives unchanged.
inline const unsigned short* fxUnits(const QString& text)
{
    return reinterpret_cast<const unsigned short*>(text.utf16());
}

// Bounded wide copy: up to `capacity` units, with the terminator only where it fits. A null buffer
// or a capacity below 1 copies nothing.
void copyBounded(const QString& text, unsigned short* buffer, long capacity);
