#include "platform/common/services/CurrentExceptionText.h"

#include "platform/common/services/PtException.h"

namespace Pt {

namespace {

std::string toldText()
{
    try {
        throw;
    } catch (const Exception& exception) {
        return toUtf8(exception.reasons().front().text());
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace

std::string currentExceptionText() noexcept
{
    try {
        return toldText();
    } catch (...) {
        return "unknown failure"; // short enough to lie in the string itself
    }
}

} // namespace Pt
