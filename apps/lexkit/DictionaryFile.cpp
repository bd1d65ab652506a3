#include "lexkit/DictionaryFile.h"

#include "commandline/Output.h"
#include "lexkit/CommandLine.h"
#include "lexkit/private/BinaryFormId.h"
#include "platform/common/files/AtomicFile.h"

#include <limits>
#include <string_view>

namespace lexkit_cli {

namespace {

// Reading a block takes its size as an int.
constexpr std::size_t kMaxBlock = std::numeric_limits<int>::max(); // of a block

[[noreturn]] void fail(const std::string& path, const Pt::FileContent& content)
{
    using State = Pt::FileContent::State;
    switch (content.state) {
    case State::kMissing:
        throw CommandError(ExitCode::kNotThere, path + ": there is no such file");
    case State::kNotAFile:
        throw CommandError(ExitCode::kPlaceUnusable, path + ": this is no file");
    case State::kTooLarge:
        throw CommandError(ExitCode::kPlaceUnusable, path + ": the file is above 2 GB");
    default:
        throw CommandError(ExitCode::kPlaceUnusable,
            path + ": the file cannot be read: " + content.error.message());
    }
}

} // namespace

DictionaryFile::DictionaryFile(const std::string& path)
    : m_path(path)
{
    Pt::FileContent content = Pt::readFile(path, kMaxBlock);
    if (content.state != Pt::FileContent::State::kRead)
        fail(path, content);
    m_bytes = std::move(content.bytes);
}

bool DictionaryFile::isBinary() const
{
    return std::string_view(m_bytes).starts_with(lexkit_private::zbfidstr);
}

// An empty file, which as a block would be none, has nothing to read.
void DictionaryFile::readInto(lexkit_private::Dictionary& dictionary) const
{
    // One byte is a line to a stream, and no block.
    const std::string block = m_bytes.size() == 1 ? m_bytes + '\n' : std::string();
    const std::string& bytes = block.empty() ? m_bytes : block;
    if (!bytes.empty())
        dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
}

bool DictionaryFile::readTelling(lexkit_private::Dictionary& dictionary) const
{
    readInto(dictionary);
    if (!dictionary.IsValid())
        commandline::printMessage(kProgram,
            m_path + (isBinary() ? ": the file is damaged; " : ": the file has bad lines; ")
                + std::to_string(dictionary.NumKeys())
                + " entries were read ('lexkit check' tells more)");
    return dictionary.IsValid();
}

void forEachEntry(lexkit_private::Dictionary& dictionary,
    const std::function<void(const lexkit_private::DictionaryEntry&)>& visit)
{
    while (dictionary.HasMoreItem())
        visit(static_cast<const lexkit_private::DictionaryEntry&>(*dictionary.NextItem()));
}

} // namespace lexkit_cli
