// Texts of the dictionaries as the toolkit takes them; see mfx/texts/Texts.h.
#pragma once

#include "mfx/texts/Texts.h"

#include <QString>

namespace tevoro {

inline QString words(const char* literal)
{
    return QString::fromStdString(mfx::text(literal));
}

template <typename... Arguments>
QString words(const char* literal, const Arguments&... arguments)
{
    return QString::fromStdString(mfx::text(literal, {arguments.toStdString()...}));
}

} // namespace tevoro
