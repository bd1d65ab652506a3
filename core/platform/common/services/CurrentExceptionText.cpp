#include "platform/common/services/CurrentExceptionText.h"

#include "platform/common/services/PtException.h"

namespace Pt {

namespace {

std::string toldText()
{
    try {
        // The only way to look at an exception of unknown type is to throw it once more.
        throw;
    } catch (const Exception& exception) {
        // Its what() is empty; see PtException.h.
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
