// What became of a copy, for people in their language. Free functions without state; any thread.
#pragma once

#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FileSystemFacts.h"

#include <optional>
#include <string>
#include <system_error>

namespace mfx {

// Ends with the system's own words where there are any.
std::string copyText(const Pt::CopyResult& result);

// The same, and which letter of the name it is that the folder's file system does not take.
std::string copyText(
    const Pt::CopyResult& result, const std::string& folder, const std::string& name);

// The system's own words, with a way out where there is one.
std::string systemReason(const std::error_code& error);

// Which letter of a name a folder's file system does not take, if it is that.
std::optional<std::string> letterText(const std::string& folder,
    const std::string& name,
    const std::error_code& error,
    Pt::LetterTest test);

} // namespace mfx
