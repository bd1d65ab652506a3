// CONTRIBUTING.md tells whoever adds a platform which headers to implement: all of them, and no
// other.
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

const fs::path kTree = TEVORO_SOURCE_DIR;

class PlatformPageTest : public testing::TestWithParam<const char*> {
protected:
    // Those that this system's platform implements.
    static std::set<std::string> implementedHeaders()
    {
        const fs::path common = kTree / "core/platform/common" / GetParam();
        const fs::path own = kTree / "core/platform/platforms/linux" / GetParam();
        std::set<std::string> names;
        for (const auto& each : fs::directory_iterator(common)) {
            const fs::path source = each.path().stem().string() + ".cpp";
            if (each.path().extension() == ".h" && fs::exists(own / source)
                && !fs::exists(common / source))
                names.insert(each.path().stem());
        }
        return names;
    }

    // Words in backticks of the row of that folder; one with a remark behind it is no whole header.
    static std::set<std::string> listedHeaders()
    {
        std::ifstream page(kTree / "CONTRIBUTING.md");
        const std::string begin = std::string("   | `") + GetParam() + "/` (";
        std::set<std::string> names;
        for (std::string line; std::getline(page, line);) {
            if (!line.starts_with(begin))
                continue;
            std::size_t at = line.find('`', begin.size());
            while (at != std::string::npos) {
                const std::size_t end = line.find('`', at + 1);
                if (line.compare(end, 6, "` (its") != 0 && line.compare(at, 9, "`PtSignal") != 0)
                    names.insert(line.substr(at + 1, end - at - 1));
                at = line.find('`', end + 1);
            }
        }
        names.erase("tevoro_fence");
        return names;
    }
};

TEST_P(PlatformPageTest, NamesTheHeadersThatAPlatformImplements)
{
    EXPECT_FALSE(implementedHeaders().empty());
    EXPECT_EQ(listedHeaders(), implementedHeaders());
}

INSTANTIATE_TEST_SUITE_P(
    Folders, PlatformPageTest, testing::Values("files", "ports", "services", "text", "threads"));

} // namespace
