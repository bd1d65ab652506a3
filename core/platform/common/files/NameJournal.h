// Names that a process tries by making an empty file for a moment. Each is noted before it is
// tried, so that, if the process is killed at that moment, the next one can tell the empty file
// that was left from an empty file of somebody else's, which is never touched.
//
// The journal lies in a folder of the run's own and need not outlast a loss of power: it is not
// flushed. It is kept only where somebody has laid an empty one. Plain functions; any thread may
// call.
#pragma once

#include <string>

namespace Pt {

// The journal of this process's names: "<workFolder>/<process id>-1/probes".
std::string nameJournalPath(const std::string& workFolder);

// Notes the one name that is tried next; nothing happens where no journal lies. An empty name says
// that the last one was given up or taken.
void noteTriedName(const std::string& path, const std::string& name);

// Removes the empty file in `folder` that was tried last by the process that left the journal in
// `runFolder`. What is not empty, has the permissions of a copy, was not made when the journal was
// written, or is in somebody's hands stays.
void removeTriedName(const std::string& runFolder, const std::string& folder);

} // namespace Pt
