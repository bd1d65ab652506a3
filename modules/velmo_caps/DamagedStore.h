// What becomes of a store that is damaged: it is kept aside, whole, under a name of its own.
#pragma once

#include "velmo_caps/StorePlace.h"

#include <functional>
#include <string>

namespace velmo_caps {

// Moves the file and its journals to PATH.damaged-N, with the first N that is free, and returns
// that path; empty when `isDamaged`, asked while no other process does the same, says no. Nothing
// is overwritten or deleted. Throws StoreError; also for a file that a person has named and that
// does not say that it is a store. Requires: this process has no connection to it.
std::string keepDamagedStoreAside(const StorePlace& place, const std::function<bool()>& isDamaged);

} // namespace velmo_caps
