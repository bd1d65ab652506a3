// Where a store lies, and whether what stands there can be trusted. Free functions; any thread.
//
// The user's store counts only if nobody else can have written it, the machine's only if root alone
// can: what they name is started as programs. A store that a person names on a command line is that
// person's own affair.
#pragma once

#include "velmo_caps/StoreProblem.h"

#include <cstdint>
#include <string>

namespace velmo_caps {

enum class StoreKind { kUser, kMachine, kNamed };

struct StorePlace {
    StoreKind kind = StoreKind::kUser;
    std::string path; // absolute; empty where there is no such place

    friend bool operator==(const StorePlace&, const StorePlace&) = default;
};

// Below the user's application data, that of no single run.
StorePlace userStore();
// The first folder of the machine's application data that holds one, else the first of all.
StorePlace machineStore();

// What stands at a place: which file it is, or why it does not count.
struct StoreCondition {
    StoreProblem problem = StoreProblem::kMissing;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const StoreCondition&, const StoreCondition&) = default;
};

StoreCondition conditionOf(const StorePlace& place);

// Whether nobody but the store's owner and root decides what its path leads to: looks at all
// folders above the store's own. Throws StoreError. For when a store is opened: it takes a call for
// each folder, and as long as it holds nobody else can exchange the file between a look and the
// opening.
void requireTrustedFolders(const StorePlace& place);

// Makes the folders of the user's or machine's store and an empty file with the rights that it
// needs, if they are missing. Throws StoreError, also when the place is not to be trusted or is the
// machine's and this process not root's.
void prepareToWrite(const StorePlace& place);

} // namespace velmo_caps
