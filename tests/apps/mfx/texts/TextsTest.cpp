#include "mfx/texts/Texts.h"

#include "apps/mfx/texts/DictionaryFixture.h"
#include "lexkit/Dictionary.h"
#include "support/OrdinaryUser.h"

#include <atomic>
#include <sstream>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace mfx {
namespace {

constexpr char kSaved[] = "$$$/Mfx/Test/Saved=%1 saved in %2";
constexpr char kPlain[] = "$$$/Mfx/Test/Plain=plain";
constexpr char16_t kGerman[] = u"\"$$$/Mfx/Test/Plain=schlicht\"\n"
                               u"\"$$$/Mfx/Test/Saved=in %2: %1 gespeichert\"\n"
                               u"\"$$$/Mfx/Test/Letters=Größe ½ 写真 😀\"\n"
                               u"\"$$$/Mfx/Test/Quoted=sagt \\\"ja\\\"\"\n"
                               u"\"$$$/Mfx/Test/Empty=\"\n"
                               u"\"$$$/Tevoro/Test/Menu=Bild\"\n"
                               u"\"$$$/AppSource/Other=vom Plug-in\"\n";

using TextsTest = DictionaryFixture;

TEST_F(TextsTest, StandAsTheyAreWrittenWhereNoDictionaryIsOpen)
{
    EXPECT_EQ(text(kPlain), "plain");
    EXPECT_EQ(text("$$$/Mfx/Test/Sum=a=b"), "a=b") << "only the first mark counts";
    EXPECT_EQ(text("$$$/Mfx/Test/Raw=^C #{copy} \\n"), "^C #{copy} \\n") << "no escapes in code";
    EXPECT_EQ(text("$$$/Mfx/Test/Nothing="), "");
    EXPECT_EQ(text("no literal"), "no literal");
    EXPECT_EQ(text("a=b"), "a=b");
}

TEST_F(TextsTest, ComeOutOfTheDictionary)
{
    speak(kGerman);
    EXPECT_EQ(text(kPlain), "schlicht");
    EXPECT_EQ(text(kSaved, {"3", "/fotos"}), "in /fotos: 3 gespeichert");
    EXPECT_EQ(text("$$$/Mfx/Test/Letters=letters"), "Größe ½ 写真 😀");
    EXPECT_EQ(text("$$$/Mfx/Test/Quoted=quoted"), "sagt \"ja\"");
    EXPECT_EQ(text("$$$/Mfx/Test/Empty=empty"), "empty") << "no entry, but a gap";
    EXPECT_EQ(text("$$$/Tevoro/Test/Menu=Picture"), "Bild") << "the browser's";
}

TEST_F(TextsTest, ComeOutOfABinaryDictionaryToo)
{
    const std::string lines = test::utf16File(kGerman);
    lexkit::Dictionary dictionary;
    dictionary.Read(lines.data(), static_cast<int>(lines.size()), false);
    std::ostringstream binary;
    dictionary.Compile(binary, nullptr);
    speakBytes(binary.str());
    EXPECT_EQ(text(kPlain), "schlicht");
    EXPECT_EQ(text("$$$/Mfx/Test/Letters=letters"), "Größe ½ 写真 😀");
}

TEST_F(TextsTest, StandAsTheyAreWrittenWhereTheDictionaryLacksTheKey)
{
    speak(kGerman);
    EXPECT_EQ(text("$$$/Mfx/Test/New=new ^C \\n"), "new ^C \\n");
    EXPECT_EQ(text("$$$/AppSource/Other=other"), "other") << "a text of the plug-in, not of mfx";
}

TEST_F(TextsTest, AreEnglishAgainWhenEnglishIsOpened)
{
    speak(kGerman);
    m_folder.write("en_us/MFXStrings.dct", test::utf16File(u"\"$$$/Mfx/Test/Plain=other\"\n"));
    openTexts(m_folder.path(), "en_us");
    EXPECT_EQ(text(kPlain), "plain");
}

TEST_F(TextsTest, AreEnglishWhereTheFileIsMissing)
{
    speak(kGerman);
    openTexts(m_folder.path(), "sv_se");
    EXPECT_EQ(text(kPlain), "plain");
    speak(kGerman);
    openTexts(m_folder.path("nowhere"), "xx_xx");
    EXPECT_EQ(text(kPlain), "plain");
}

TEST_F(TextsTest, AreEnglishWhereTheFileCannotBeRead)
{
    speak(kGerman);
    ::chmod(m_folder.path().c_str(), 0755);
    ::chmod(m_folder.path("xx_xx/MFXStrings.dct").c_str(), 0);
    const int answer = test::askedAsOrdinaryUser([this] {
        openTexts(m_folder.path(), "xx_xx");
        return text(kPlain) == "plain" ? 0 : 1;
    });
    EXPECT_EQ(answer, 0);
}

TEST_F(TextsTest, AreEnglishWhereAFolderOrAPipeStandsInPlaceOfTheFile)
{
    std::filesystem::create_directories(m_folder.path("folder/MFXStrings.dct"));
    std::filesystem::create_directories(m_folder.path("pipe"));
    ASSERT_EQ(::mkfifo(m_folder.path("pipe/MFXStrings.dct").c_str(), 0600), 0);
    for (const char* locale : {"folder", "pipe"}) {
        speak(kGerman);
        openTexts(m_folder.path(), locale);
        EXPECT_EQ(text(kPlain), "plain") << locale;
    }
}

TEST_F(TextsTest, AreEnglishWhereTheFileIsDamaged)
{
    const std::string good = test::utf16File(kGerman);
    const std::pair<const char*, std::string> rows[] = {
        {"nothing", ""},
        {"one byte", "\xFF"},
        {"a bad line", test::utf16File(std::u16string(kGerman) + u"\"$/Bad=x\"\n")},
        {"a binary form that is cut", std::string("ZString Binary Format\x01\x05\x01\0\0", 26)},
    };
    for (const auto& [name, bytes] : rows) {
        speakBytes(good);
        speakBytes(bytes);
        EXPECT_EQ(text(kPlain), "plain") << name;
    }
}

TEST_F(TextsTest, SurviveAFileThatIsCutAnywhere)
{
    const std::string good = test::utf16File(kGerman);
    for (std::size_t size = 0; size < good.size(); ++size) {
        speakBytes(good.substr(0, size));
        const std::string seen = text(kPlain);
        EXPECT_TRUE(seen == "plain" || std::string("schlicht").starts_with(seen)) << size << seen;
    }
}

TEST_F(TextsTest, SkipAKeyThatIsTooLongToBeOne)
{
    const std::u16string longKey = u"\"$$$/Mfx/" + std::u16string(5000, u'x') + u"=lang\"\n";
    speak(longKey + kGerman);
    EXPECT_EQ(text(kPlain), "schlicht");
}

TEST_F(TextsTest, TakeArgumentsInAnyOrderAndNumber)
{
    EXPECT_EQ(text("$$$/Mfx/Test/A=%2-%1-%2", {"a", "b"}), "b-a-b");
    EXPECT_EQ(text("$$$/Mfx/Test/B=%9%8%1", {"1", "2", "3", "4", "5", "6", "7", "8", "9"}), "981");
    EXPECT_EQ(text("$$$/Mfx/Test/C=%10", {"a"}), "a0") << "one digit";
    EXPECT_EQ(text("$$$/Mfx/Test/D=[%1]", {""}), "[]");
    EXPECT_EQ(text(kSaved, std::vector<std::string>{"3", "x"}), "3 saved in x");
}

TEST_F(TextsTest, LeaveWhatIsNoPlaceholder)
{
    EXPECT_EQ(text("$$$/Mfx/Test/E=%Y %m %% %0 %", {"a"}), "%Y %m %% %0 %");
    EXPECT_EQ(text("$$$/Mfx/Test/F=%", {"a"}), "%") << "at the very end";
    EXPECT_EQ(text("$$$/Mfx/Test/G=%1%", {"50"}), "50%");
    EXPECT_EQ(text("$$$/Mfx/Test/H=%1 %2", {"a"}), "a %2") << "there is no such argument";
    EXPECT_EQ(text("$$$/Mfx/Test/I=%1"), "%1") << "no arguments at all";
}

TEST_F(TextsTest, LeaveAnArgumentAsItIs)
{
    EXPECT_EQ(text("$$$/Mfx/Test/J=%1, %2", {"%2", "%1"}), "%2, %1");
    EXPECT_EQ(text("$$$/Mfx/Test/K=%%1", {"1"}), "%1") << "what comes of it is not read again";
    EXPECT_EQ(text("$$$/Mfx/Test/L=%1", {"$$$/Mfx/Test/Plain=x"}), "$$$/Mfx/Test/Plain=x");
}

TEST_F(TextsTest, CountInOneOrInSeveral)
{
    const auto items = [](std::size_t count) {
        return countedText(count,
            "$$$/Mfx/Test/ItemsOne=%1 item in %2",
            "$$$/Mfx/Test/Items=%1 items in %2",
            {"x"});
    };
    EXPECT_EQ(items(0), "0 items in x");
    EXPECT_EQ(items(1), "1 item in x");
    EXPECT_EQ(items(2), "2 items in x");
    speak(u"\"$$$/Mfx/Test/ItemsOne=%2: ein Bild\"\n\"$$$/Mfx/Test/Items=%2: %1 Bilder\"\n");
    EXPECT_EQ(items(1), "x: ein Bild");
    EXPECT_EQ(items(12), "x: 12 Bilder");
}

TEST_F(TextsTest, AreReadByManyThreads)
{
    speak(kGerman);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&wrong, thread] {
            for (int i = 0; i < 500; ++i) {
                const std::string number = std::to_string(thread * 1000 + i);
                if (text(kSaved, {number, "x"}) != "in x: " + number + " gespeichert")
                    ++wrong;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(TextsTest, MayBeOpenedWhileOthersRead)
{
    speak(kGerman);
    std::atomic<bool> done = false;
    std::atomic<int> wrong = 0;
    std::thread reader([&] {
        while (!done) {
            const std::string seen = text(kPlain);
            if (seen != "plain" && seen != "schlicht")
                ++wrong;
        }
    });
    for (int i = 0; i < 100; ++i)
        openTexts(m_folder.path(), i % 2 == 0 ? "en_us" : "xx_xx");
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace mfx
