#include "platform/common/FileCopy.h"

namespace Pt {

namespace {

std::string withReason(const char* what, const std::error_code& error)
{
    return error ? std::string(what) + ": " + error.message() : std::string(what);
}

} // namespace

std::string describe(const CopyResult& result)
{
    switch (result.problem) {
    case CopyProblem::kNone:
        return "copied and proven";
    case CopyProblem::kCancelled:
        return "interrupted";
    case CopyProblem::kSourceMissing:
        return "it is no longer there";
    case CopyProblem::kSourceUnreadable:
        return withReason("it cannot be read", result.error);
    case CopyProblem::kSourceChanged:
        return "it changed while it was read";
    case CopyProblem::kTargetTaken:
        return "the name is taken";
    case CopyProblem::kTargetFull:
        return withReason("no space is left", result.error);
    case CopyProblem::kTargetUnusable:
        return withReason("it cannot be written", result.error);
    case CopyProblem::kNotProven:
        return "the copy on the disk differs from what was written";
    }
    return "unknown";
}

} // namespace Pt
