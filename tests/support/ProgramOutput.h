#pragma once

#include "support/ChildProgram.h"

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace test {

// What the program says, which must end with 0. It is looked for in PATH.
inline std::string outputOf(std::vector<std::string> words)
{
    words.insert(words.begin(), "/usr/bin/env");
    ChildProgram program(std::move(words));
    EXPECT_TRUE(program.waitForEnd(std::chrono::seconds(60)));
    EXPECT_EQ(program.code(), 0) << program.output();
    return program.output();
}

} // namespace test
