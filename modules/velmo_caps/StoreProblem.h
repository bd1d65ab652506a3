// Why a store cannot be read or written.
#pragma once

#include <stdexcept>
#include <string>

namespace velmo_caps {

enum class StoreProblem {
    kNone,
    kMissing, // no file; for most callers no problem at all
    kUntrusted, // somebody else owns it or can write it, or it is no plain file
    kNoPermission,
    kLocked, // another process keeps it locked
    kDamaged,
    kNewerSchema,
    kForeign, // a file of something else
    kNoTables, // marked as a store, and without what a store has
    kNoVersion, // the same, and without a version though there is something in it
    kTooLong, // a value of more bytes than a store takes
    kFull,
    kFailing, // the disk fails
};

// A text for people: `path`, what is wrong, and what to do.
std::string problemText(StoreProblem problem, const std::string& path);

class StoreError : public std::runtime_error {
public:
    StoreError(StoreProblem problem, const std::string& path)
        : StoreError(problem, problemText(problem, path), 0)
    {
    }
    // With a text of its own, already whole.
    StoreError(StoreProblem problem, const std::string& text, int /*whole*/)
        : std::runtime_error(text)
        , m_problem(problem)
    {
    }

    StoreProblem problem() const { return m_problem; }

private:
    StoreProblem m_problem;
};

} // namespace velmo_caps
