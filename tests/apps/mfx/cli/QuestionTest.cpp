#include "mfx/cli/Question.h"

#include "apps/mfx/texts/DictionaryFixture.h"

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::IsEmpty;

namespace mfx {
namespace {

enum Answer { kNo, kYes };

// A question to a person behind a terminal, who types an answer.
class QuestionTest : public DictionaryFixture {
protected:
    QuestionTest()
    {
        m_person = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(::grantpt(m_person), 0);
        EXPECT_EQ(::unlockpt(m_person), 0);
    }
    ~QuestionTest() override { ::close(m_person); }

    // The answer that the program took, or -1; what stood on the terminal is in m_screen.
    int answerTo(const std::string& text, const std::string& typed)
    {
        const std::string terminal = ::ptsname(m_person);
        const pid_t program = ::fork();
        if (program == 0) {
            ::alarm(30); // an answer that is not understood is asked for again, for ever
            ::setsid();
            const int end = ::open(terminal.c_str(), O_RDWR);
            for (const int stream : {0, 1, 2})
                ::dup2(end, stream);
            ::_exit(askYesOrNo(text, Answering::kAsk) == mfx::Answer::kYes ? kYes : kNo);
        }
        waitForPrompt();
        EXPECT_EQ(
            ::write(m_person, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        int status = 0;
        EXPECT_EQ(::waitpid(program, &status, 0), program);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    void waitForPrompt()
    {
        pollfd ready{m_person, POLLIN, 0};
        while (m_screen.find("/N] ") == std::string::npos && ::poll(&ready, 1, 30'000) == 1) {
            char bytes[256];
            const ssize_t count = ::read(m_person, bytes, sizeof bytes);
            if (count > 0)
                m_screen.append(bytes, static_cast<std::size_t>(count));
        }
    }

    std::string m_screen;

private:
    int m_person = -1;
};

TEST_F(QuestionTest, TakesOnlyAClearYes)
{
    for (const char* yes : {"y\n", "Y\n", "yes\n", "what?\ny\n"})
        EXPECT_EQ(answerTo("Delete?", yes), kYes) << yes;
    for (const char* no : {"n\n", "N\n", "no\n", "\n", "YES!\nn\n", " y\n\n", "\4"})
        EXPECT_EQ(answerTo("Delete?", no), kNo) << no;
}

TEST_F(QuestionTest, ShowsTheQuestionSafelyForATerminal)
{
    answerTo("Delete \x1B[2J?", "n\n");
    EXPECT_THAT(m_screen, HasSubstr("Delete "));
    EXPECT_THAT(m_screen, HasSubstr("[y/N] "));
    EXPECT_EQ(m_screen.find('\x1B'), std::string::npos);
}

TEST_F(QuestionTest, TakesTheWordsOfTheUsersLanguageAndTheEnglishOnes)
{
    speak(u"\"$$$/Mfx/Question/Prompt=Frage: %1 [j/N]\"\n"
          u"\"$$$/Mfx/Question/YesWords=j,ja,はい\"\n\"$$$/Mfx/Question/NoWords=n,nein\"\n");
    for (const char* yes : {"j\n", "J\n", "ja\n", "Ja\n", "はい\n", "y\n", "yes\n", "jaja\nja\n"})
        EXPECT_EQ(answerTo("Löschen?", yes), kYes) << yes;
    for (const char* no : {"n\n", "nein\n", "NEIN\n", "no\n", "\n", "j,ja\n\n", ",\n\n"})
        EXPECT_EQ(answerTo("Löschen?", no), kNo) << no;
    EXPECT_THAT(m_screen, HasSubstr("Frage: Löschen? [j/N] "));
}

TEST_F(QuestionTest, NeverTakesAnEnglishNoForYes)
{
    speak(u"\"$$$/Mfx/Question/YesWords=n,no,nai\"\n\"$$$/Mfx/Question/NoWords=o,ochi\"\n");
    for (const char* no : {"n\n", "no\n", "o\n"})
        EXPECT_EQ(answerTo("Delete?", no), kNo) << no;
    EXPECT_EQ(answerTo("Delete?", "nai\n"), kYes);
}

TEST_F(QuestionTest, AsksNobodyWhoSaidYesBeforehand)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(askYesOrNo("Delete?", Answering::kYes), mfx::Answer::kYes);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
}

TEST_F(QuestionTest, TakesNoWhereNobodyCanAnswer)
{
    testing::internal::CaptureStderr(); // so it is no terminal
    EXPECT_EQ(askYesOrNo("Delete?", Answering::kAsk), mfx::Answer::kNobody);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("nothing is deleted"));
}

} // namespace
} // namespace mfx
