#include "platform/platforms/linux/files/TextFile.h"

#include <filesystem>
#include <fstream>

namespace Pt {

namespace {

constexpr std::uintmax_t kMaxSettingsSize = 1024 * 1024;

// Opening a pipe would wait for its other end.
bool isSmallRegularFile(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error)
        && std::filesystem::file_size(path, error) <= kMaxSettingsSize;
}

} // namespace

std::vector<std::string> readSettingsLines(const std::string& path)
{
    std::vector<std::string> lines;
    if (!isSmallRegularFile(path))
        return lines;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        // Files that came from another system.
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace Pt
