#include "platform/common/CurrentExceptionText.h"

#include "platform/common/PtException.h"

namespace Pt {

std::string currentExceptionText()
{
    try {
        throw;
    } catch (Exception const& exception) {
        return toUtf8(exception.reasons().front().text());
    } catch (std::exception const& exception) {
        return exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace Pt
