#include "mfx/engine/saving/UnconvertedMarks.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FileStatus.h"

#include <filesystem>
#include <iterator>
#include <system_error>

namespace mfx {

namespace fs = std::filesystem;

namespace {

// Only what could be a mark: what holds bytes, or is no file, is not ours.
bool isMark(const fs::path& path)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path.string(), error);
    return status && status->kind == Pt::FileStatus::Kind::kRegular && status->size == 0;
}

} // namespace

UnconvertedMarks::UnconvertedMarks(std::string finalFolder, const std::string& workFolder)
    : m_finalFolder(std::move(finalFolder))
    , m_folder(workFolder + "/unconverted")
{
}

void UnconvertedMarks::add(const std::string& name) const
{
    std::error_code error;
    fs::create_directory(m_folder, error);
    Pt::makeEmptyFile(m_folder + '/' + name);
}

void UnconvertedMarks::remove(const std::string& name) const
{
    std::error_code ignored; // stays, and is looked at by the next run
    if (isMark(m_folder + '/' + name))
        fs::remove(m_folder + '/' + name, ignored);
}

std::set<std::string> UnconvertedMarks::all() const
{
    std::error_code error;
    std::set<std::string> marks;
    for (fs::directory_iterator it(m_folder, error), end; !error && it != end; it.increment(error))
        if (isMark(it->path()))
            marks.insert(it->path().filename().string());
    return marks;
}

std::set<std::string> UnconvertedMarks::names() const
{
    std::error_code error;
    std::set<std::string> standing;
    for (const std::string& name : all()) {
        if (Pt::fileStatus(m_finalFolder + '/' + name, error))
            standing.insert(name);
        else if (error == std::errc::no_such_file_or_directory)
            remove(name);
    }
    return standing;
}

void UnconvertedMarks::removeAll() const
{
    for (const std::string& name : all())
        remove(name);
}

void UnconvertedMarks::leave() const
{
    std::error_code ignored; // not empty
    fs::remove(m_folder, ignored);
}

} // namespace mfx
