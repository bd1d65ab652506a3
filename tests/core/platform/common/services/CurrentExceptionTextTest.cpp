#include "platform/common/services/CurrentExceptionText.h"

#include "platform/common/services/PtExSystem.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>

#include <gtest/gtest.h>

namespace {

class Speechless final : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

template <typename Thrown>
std::string textOf(const Thrown& thrown)
{
    try {
        throw thrown;
    } catch (...) {
        return Pt::currentExceptionText();
    }
}

} // namespace

TEST(CurrentExceptionTextTest, TellsWhatTheExceptionSays)
{
    EXPECT_EQ(textOf(std::runtime_error("the reason")), "the reason");
    EXPECT_EQ(textOf(Pt::ExSystem(ENOENT, Pt::ExWhere::here())), std::strerror(ENOENT));
    EXPECT_EQ(textOf(42), "unknown exception");
}

TEST(CurrentExceptionTextTest, HasATextWhenTheExceptionsOwnCannotBeHad)
{
    static_assert(noexcept(Pt::currentExceptionText()));
    EXPECT_EQ(textOf(Speechless()), "unknown failure");
}
