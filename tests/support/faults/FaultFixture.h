// A folder "to" in which a program under failing file calls works, empty at the beginning of each
// run.
#pragma once

#include "support/TestFolder.h"
#include "support/faults/ShimmedProgram.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace test {

class FaultFixture : public testing::Test {
protected:
    FaultFixture() { startOver(); }

    std::string target() const { return m_folder.path("to"); }
    bool isEmpty() const { return std::filesystem::is_empty(target()); }
    void startOver() const
    {
        std::filesystem::remove_all(target());
        std::filesystem::create_directory(target());
    }

    // Counts the calls on `root`; with `only`, those of that name.
    ShimmedProgram shimmed(const std::vector<std::string>& command,
        const std::string& root,
        const std::string& only) const
    {
        ShimmedProgram program(FAULT_SHIM, command);
        return program.with("FAULT_ROOT", root)
            .with("FAULT_COUNT_FILE", countFile())
            .with("FAULT_ONLY", only);
    }

    // File calls of a run that nothing disturbs.
    int callsOf(const ShimmedProgram& program) const
    {
        startOver();
        EXPECT_EQ(program.run().status, 0);
        return std::stoi(read(countFile()));
    }

    TestFolder m_folder;

private:
    std::string countFile() const { return m_counts.path("count"); }

    TestFolder m_counts;
};

} // namespace test
