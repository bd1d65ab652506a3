// A card, and places of every kind for its copies. Views (overlays, pools, folders bound twice) are
// mounted in view("..."), disks in disk("..."): a picture counts where its bytes really lie, so
// views do not count, and one file with two names counts once.
#pragma once

#include "e2e/support/LiveRun.h"
#include "e2e/support/MfxRun.h"
#include "support/disks/Mounts.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace e2e {

class PlaceTest : public MfxTest {
protected:
    void SetUp() override
    {
        if (!test::canMount()) {
            GTEST_SKIP() << "only root may mount, and not in every container";
        }
        MfxTest::SetUp();
        test::enterOwnMounts();
        arrange();
    }

    // What each test of a fixture finds. Not called where its tests are skipped.
    virtual void arrange() { }

    void addTwoPictures()
    {
        addPicture("A.JPG", "photo a");
        addPicture("B.JPG", "photo b");
    }
    void makePlaces() const
    {
        fs::create_directories(target());
        fs::create_directories(backup());
    }

    fs::path view(const std::string& name) const { return root() / "views" / name; }
    fs::path disk(const std::string& name) const { return root() / "disks" / name; }
    fs::path pictures() const { return card() / "DCIM/100MFX"; } // where the card has them

    // A picture on the card that must not be lost.
    fs::path addPicture(const std::string& name, const std::string& bytes)
    {
        m_bytes.insert(bytes);
        return addFile(name, bytes);
    }
    void addPictures(int count, std::size_t size)
    {
        for (int i = 100; i < 100 + count; ++i)
            addPicture("IMG_" + std::to_string(i) + ".JPG",
                std::to_string(i) + std::string(size, static_cast<char>('a' + i % 26)));
    }
    void expectToLose(const std::string& bytes) { m_bytes.erase(bytes); }

    static void write(const fs::path& path, const std::string& bytes)
    {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }

    // Files by their bytes, each counted once, however many names lead to it.
    using Files = std::set<std::pair<dev_t, ino_t>>;
    static std::map<std::string, Files> filesByBytes(const std::vector<fs::path>& folders)
    {
        std::map<std::string, Files> all;
        for (const fs::path& folder : folders) {
            std::error_code error;
            for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
                 it.increment(error)) {
                struct stat status = {};
                if (::lstat(it->path().c_str(), &status) != 0 || !S_ISREG(status.st_mode))
                    continue;
                std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
                std::ifstream file(it->path(), std::ios::binary);
                if (file.read(bytes.data(), status.st_size))
                    all[bytes].emplace(status.st_dev, status.st_ino);
            }
        }
        return all;
    }
    static std::size_t copiesBelow(const std::vector<fs::path>& folders, const std::string& bytes)
    {
        return filesByBytes(folders)[bytes].size();
    }
    std::vector<fs::path> placesOffTheCard() const { return {data(), root() / "disks"}; }
    std::vector<fs::path> allPlaces() const
    {
        return {card().parent_path(), data(), root() / "disks"};
    }
    std::size_t copies(const std::string& bytes) const { return copiesBelow(allPlaces(), bytes); }
    std::size_t copiesOffTheCard(const std::string& bytes) const
    {
        return copiesBelow(placesOffTheCard(), bytes);
    }
    void expectCopies(
        const std::vector<fs::path>& folders, std::size_t wanted, const std::string& when) const
    {
        std::map<std::string, Files> files = filesByBytes(folders);
        std::vector<std::string> missing;
        for (const std::string& bytes : m_bytes)
            if (files[bytes].size() < wanted)
                missing.push_back(bytes.substr(0, 20));
        EXPECT_TRUE(missing.empty()) << missing.size() << " pictures with less than " << wanted
                                     << " copies, the first begins " << missing.front() << '\n'
                                     << when;
    }

    // No picture's last copy went, and none would go with the card where it may be wiped.
    void expectPromiseKept(const RunResult& result, std::size_t wanted = 1)
    {
        expectCopies(allPlaces(), wanted, told(result));
        const auto summaries = result.events("summary");
        if (!summaries.empty() && summaries.front()["card_may_be_wiped"])
            expectCopies(placesOffTheCard(), wanted, "may be wiped: " + told(result));
    }

    // Neither deleted, nor said to be superfluous.
    void expectCardKept(const RunResult& result)
    {
        expectCopies({card()}, 1, told(result));
        if (!result.events("summary").empty()) {
            EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
            EXPECT_EQ(result.summary()["deleted"], 0) << told(result);
        }
        expectPromiseKept(result);
    }

    // Before anything was copied, with both places named.
    void expectRefused(const RunResult& result, const fs::path& one, const fs::path& other)
    {
        EXPECT_EQ(result.code, 4) << told(result);
        EXPECT_NE(result.err.find(one.string()), std::string::npos) << result.err;
        EXPECT_NE(result.err.find(other.string()), std::string::npos) << result.err;
        EXPECT_TRUE(result.events("item").empty()) << told(result);
        expectCardKept(result);
    }

    RunResult saveTo(const fs::path& to, std::vector<std::string> more = {})
    {
        return saveFrom(card(), to, std::move(more));
    }
    RunResult saveFrom(
        const fs::path& source, const fs::path& to, std::vector<std::string> more = {})
    {
        return mfx(wordsFor(source, to, std::move(more), false));
    }
    RunResult saveAndDelete(const fs::path& to, std::vector<std::string> more = {})
    {
        more.insert(more.end(), {"--delete-originals", "--yes"});
        return saveTo(to, std::move(more));
    }

    // What a run said, but for the items that went well.
    static std::string told(const RunResult& result)
    {
        std::string all;
        for (const Json& event : result.events()) {
            const std::string kind = event["event"];
            if (kind != "progress" && (kind != "item" || event["error"] != nullptr))
                all += event.dump() + '\n';
        }
        return all.substr(0, 1500) + result.err;
    }

    LiveSettings live(bool hasTerminal = false) const { return {environment(), hasTerminal, {}}; }
    std::vector<std::string> wordsFor(const fs::path& source,
        const fs::path& to,
        std::vector<std::string> more,
        bool withProgram = true) const
    {
        std::vector<std::string> words{"download", source, "--to", to, "--json"};
        if (withProgram)
            words.insert(words.begin(), program());
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

private:
    std::set<std::string> m_bytes; // of the pictures
};

} // namespace e2e
