#include "velmo_caps/StoreProblem.h"

namespace velmo_caps {

namespace {

const char* reason(StoreProblem problem)
{
    switch (problem) {
    case StoreProblem::kNone:
        return "is all right";
    case StoreProblem::kMissing:
        return "is not there";
    case StoreProblem::kUntrusted:
        return "is not used: it, its folder or one above belongs to somebody else or can be "
               "written by "
               "others, "
               "or it is no plain file; give both to their owner alone (chown, chmod go-w)";
    case StoreProblem::kNoPermission:
        return "cannot be opened: no permission, or its folder is missing";
    case StoreProblem::kLocked:
        return "is locked by another process; try again later";
    case StoreProblem::kDamaged:
        return "cannot be read: it is damaged, or no configuration store";
    case StoreProblem::kNewerSchema:
        return "was made by a later version of this program, which alone can change it";
    case StoreProblem::kForeign:
        return "is no configuration store; it stays as it is";
    case StoreProblem::kNoTables:
        return "lacks tables that a store has; move it away, and a new one is begun";
    case StoreProblem::kNoVersion:
        return "has data, and no version that there is (user_version); it stays as it is: move it "
               "away, and a new one is begun";
    case StoreProblem::kTooLong:
        return "has a value, or was to take one, of 16 MiB or more, which is too long";
    case StoreProblem::kFull:
        return "cannot be changed: the disk is full";
    case StoreProblem::kFailing:
        return "cannot be read or written: the disk fails";
    }
    return "cannot be used";
}

} // namespace

std::string problemText(StoreProblem problem, const std::string& path)
{
    return "the store " + path + " " + reason(problem);
}

} // namespace velmo_caps
