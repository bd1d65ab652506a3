// Runs the program mfx in a world of its own: a temporary tree with a card, a target, a backup
// folder and a home, and an environment in which nothing of the user's own is seen.
#pragma once

#include "support/ProgramWords.h"
#include "support/TestFolder.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace e2e {

namespace fs = std::filesystem;
using Json = nlohmann::json;

struct RunResult {
    int code = -1; // exit code, or minus the signal that ended it
    std::string out;
    std::string err;

    // The objects of a --json run.
    std::vector<Json> events() const;
    std::vector<Json> events(const std::string& kind) const;
    Json summary() const;
    Json item(const std::string& deviceName) const;
};

// Of a program that is to see nothing of the user's own: home and temporary files lie in the
// folders "home" and "run" of `root`, and the sanitizers are told what this process was told.
test::Variables plainEnvironment(const fs::path& root);

class MfxTest : public ::testing::Test {
protected:
    void SetUp() override;

    // Paths below the test's own tree.
    fs::path root() const { return m_root; }
    fs::path data() const { return m_root / "data"; } // card, target and backup
    fs::path card() const { return m_device / "card"; } // on a device of its own
    fs::path target() const { return data() / "pictures"; }
    fs::path backup() const { return data() / "backup"; }

    // A file on the card below DCIM/100MFX; date of modification 2026-05-04 12:00 UTC.
    fs::path addFile(const std::string& name, const std::string& content);
    fs::path addFileIn(
        const std::string& folder, const std::string& name, const std::string& content);

    RunResult mfx(const std::vector<std::string>& arguments);

    // mfx download CARD --to TARGET --json MORE...
    RunResult download(const std::vector<std::string>& more = {});
    RunResult downloadWithBackup(const std::vector<std::string>& more = {});

    // Runs from here on use a run-time tree of this test's own, without the conversion library of
    // the stage; nothing is copied but the program.
    void makeOwnTree();

    // The same, with a library in the place of the stage's or beside those that it has.
    void addLibrary(const std::string& name, const fs::path& file);

    // The same, with a file of this test's own below the folder of the program's tree, such as
    // "shared_assets/locales/xx_xx/MFXStrings.dct".
    void addFileOfTree(const std::string& name, const std::string& bytes);

    // Environment of the runs that follow.
    void setVariable(const std::string& name, const std::string& value)
    {
        m_environment[name] = value;
    }
    void unsetVariable(const std::string& name) { m_environment.erase(name); }

    // From which folder.
    void setWorkingFolder(const fs::path& folder) { m_workingFolder = folder; }

    // For runs that a test starts by itself.
    const fs::path& program() const { return m_program; }
    const test::Variables& environment() const { return m_environment; }

    // As which user; root passes every permission.
    void asOrdinaryUser(bool yes) { m_asOrdinaryUser = yes; }

    // All files below a folder, as relative path and content.
    static std::map<std::string, std::string> filesIn(const fs::path& folder);
    static std::string contentOf(const fs::path& path);

    // No work folder, and nothing that was meant to be temporary.
    void expectNoLeftovers() const;

private:
    const test::TestFolder m_rootFolder;
    const test::TestFolder m_deviceFolder{"/dev/shm"}; // copies on the card's device are no proof
    const fs::path m_root{fs::canonical(m_rootFolder.path())};
    const fs::path m_device{m_deviceFolder.path()};
    fs::path m_program{MFX_PROGRAM};
    fs::path m_workingFolder;
    test::Variables m_environment;
    bool m_asOrdinaryUser = false;
};

} // namespace e2e
