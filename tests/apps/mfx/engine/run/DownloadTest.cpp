#include "mfx/engine/run/Download.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"
#include "core/platform/support/ThreadState.h"
#include "mfx/engine/sink/SessionPreferences.h"
#include "mfx/panel/OptionsPanel.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/files/FolderLock.h"
#include "support/disks/Mounts.h"

#include <fstream>
#include <thread>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace mfx {
namespace {

using tests::bytesOf;
using tests::namesBelow;

constexpr char kPlugin[] = TEVORO_STAGE_HOME "/plugins/TevoroAppManager.so";
constexpr char kLibrary[] = "../Frameworks/preference_xml_parser.framework";

// Notes what it is told, and answers the question.
class RecordedEvents final : public DownloadEvents {
public:
    void source(const std::string&, std::size_t, std::uint64_t) override { isEnded = false; }
    void item(const ItemEvent& event) override
    {
        items.push_back(event);
        if (onItem)
            onItem();
    }
    void message(const std::string&, const std::string& text) override { messages.push_back(text); }
    Answer question(const std::string&, const std::string& text) override
    {
        ++questions;
        asked = text;
        if (beforeAnswer)
            beforeAnswer();
        return answer ? Answer::kYes : Answer::kNo;
    }
    void progress(const ProgressEvent& event) override
    {
        last = event;
        EXPECT_FALSE(isEnded);
        if (onProgress)
            onProgress(event);
    }
    void summary(const DownloadSummary&) override { isEnded = true; }

    bool answer = true;
    std::function<void()> beforeAnswer;
    std::function<void()> onItem;
    int questions = 0;
    std::vector<std::string> messages;
    std::string asked;
    std::vector<ItemEvent> items;
    ProgressEvent last;
    std::function<void(const ProgressEvent&)> onProgress; // on another thread
    bool isEnded = false;
};

// A download with the sink that ships, in a run-time tree of its own.
class DownloadTest : public testing::Test {
protected:
    DownloadTest()
    {
        tree.addPreferenceStore();
        std::filesystem::create_directories(target);
        std::filesystem::create_directories(backup);
        request.sourceName = "card";
        request.target = target;
        request.deletesOriginals = choices.deletesOriginals = true;
        request.wasInterrupted = [] { return false; };
    }

    void wantBackup() { request.backupFolder = choices.backupFolder = backup; }

    DownloadSummary run(const std::string& source)
    {
        const SessionPreferences session(kLibrary, std::nullopt, choices);
        std::unique_ptr<OptionsPanel> panel;
        SinkSession sink(kPlugin, events);
        panel = std::make_unique<OptionsPanel>(QString::fromStdString(sink.panelFile()));
        sink.bindPanel(*panel);
        const CardContents contents = scanCard(source);
        if (beforeRun)
            beforeRun();
        return Download(request, contents, sink, events).run();
    }
    DownloadSummary run() { return run(card.path()); }

    test::RuntimeTree tree;
    const std::string target = std::filesystem::canonical(tree.path("home")).string() + "/photos";
    const std::string backup = std::filesystem::canonical(tree.path("home")).string() + "/backup";
    tests::TestCard card{tests::TestCard::Device::kOther};
    Choices choices;
    DownloadRequest request;
    RecordedEvents events;
    std::function<void()> beforeRun; // once the card is listed
};

TEST_F(DownloadTest, DeletesWhatItSavedAndBackedUpWhenThePersonSaysYes)
{
    card.add("DCIM/IMG_1.CR2", "raw");
    card.add("DCIM/IMG_1.xmp", "sidecar");
    wantBackup();
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.saved, 2U);
    EXPECT_EQ(summary.backups, 2U);
    EXPECT_EQ(summary.proven, 2U);
    EXPECT_EQ(summary.deleted, 2U);
    EXPECT_EQ(events.questions, 1);
    EXPECT_THAT(namesBelow(target), ElementsAre("IMG_1.CR2", "IMG_1.xmp"));
    EXPECT_THAT(namesBelow(backup), ElementsAre("IMG_1.CR2", "IMG_1.xmp"));
    EXPECT_THAT(namesBelow(card.path()), ElementsAre("DCIM"));
    EXPECT_EQ(events.last.bytesTotal, 10U) << "those of the card, however often they are copied";
    EXPECT_EQ(events.last.bytesDone, 10U);
    EXPECT_EQ(events.last.itemsDone, 2U);
}

TEST_F(DownloadTest, AsksHowMuchWouldGoAndWhatWouldBeLeft)
{
    card.add("IMG_1.CR2", std::string(1500, 'r'));
    card.add("IMG_1.JPG", "jpeg");
    wantBackup();
    events.answer = false;
    run();
    EXPECT_THAT(events.asked, HasSubstr("Do you want to delete these files from your camera"));
    EXPECT_THAT(events.asked,
        HasSubstr("\nDelete 2 files (1.5 kB) from card? Each has two proven copies, in " + target
            + " and in " + backup + "."));
    EXPECT_THAT(events.asked, HasSubstr("Both copies are on one disk."));
}

TEST_F(DownloadTest, KeepsEmptyFilesOnTheCardAndSaysSo)
{
    card.add("IMG_1.JPG", "jpeg");
    card.add("IMG_2.JPG", "");
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.saved, 2U);
    EXPECT_EQ(summary.deleted, 1U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_THAT(
        summary.verdict, HasSubstr("holds more than these: files without bytes: IMG_2.JPG"));
    EXPECT_THAT(namesBelow(card.path()), ElementsAre("IMG_2.JPG"));
}

// An hour may go by before the question is answered.
TEST_F(DownloadTest, LooksAtBothCopiesAgainBeforeAnOriginalGoes)
{
    for (const char* name : {"A.JPG", "B.JPG", "C.JPG", "D.JPG"})
        card.add(name, std::string("picture ") + name);
    wantBackup();
    events.beforeAnswer = [this] {
        std::filesystem::remove(target + "/A.JPG");
        std::filesystem::resize_file(backup + "/B.JPG", 0);
        std::ofstream(target + "/C.JPG") << std::string(13, '\0');
    };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.deleted, 1U);
    EXPECT_EQ(summary.notDeleted, 3U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_THAT(namesBelow(card.path()), ElementsAre("A.JPG", "B.JPG", "C.JPG"));
}

TEST_F(DownloadTest, NamesWhatCameOntoTheCardWhileTheQuestionWasOpen)
{
    card.add("A.JPG", "a");
    events.beforeAnswer = [this] { card.add("B.JPG", "b"); };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.deleted, 1U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    ASSERT_EQ(summary.notSafe.size(), 1U);
    EXPECT_EQ(summary.notSafe[0].name, "B.JPG");
    EXPECT_EQ(bytesOf(card.path("B.JPG")), "b");
}

TEST_F(DownloadTest, DeletesNothingWhenAPlaceIsGoneByThen)
{
    card.add("A.JPG", "a");
    wantBackup();
    events.beforeAnswer = [this] {
        std::filesystem::rename(backup, backup + ".moved");
        std::filesystem::create_directory(backup);
    };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_TRUE(summary.placeUnusable);
    EXPECT_EQ(bytesOf(card.path("A.JPG")), "a");
    EXPECT_THAT(namesBelow(backup), IsEmpty());
}

// The disk of the backups is pulled: what the sink would make anew is not made.
TEST_F(DownloadTest, EndsWithTheItemUndoneWhenTheBackupFolderIsGone)
{
    card.add("A.JPG", "a");
    card.add("B.JPG", "b");
    wantBackup();
    events.onItem = [this] {
        std::filesystem::rename(backup, backup + ".moved");
        events.onItem = {};
    };
    const DownloadSummary summary = run();
    EXPECT_TRUE(summary.placeUnusable);
    EXPECT_EQ(summary.saved, 1U);
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_FALSE(std::filesystem::exists(backup));
    EXPECT_THAT(namesBelow(target), ElementsAre("A.JPG"));
    EXPECT_EQ(bytesOf(card.path("B.JPG")), "b");
}

TEST_F(DownloadTest, KeepsOneStemForEachGroupInTheBackupToo)
{
    for (const char* folder : {"100/", "101/"})
        for (const char* name : {"IMG_1.CR2", "IMG_1.xmp"})
            card.add(folder + std::string(name), folder + std::string(name));
    card.add("101/IMG_1.JPG", "only here");
    wantBackup();
    request.deletesOriginals = false;
    run();
    EXPECT_EQ(bytesOf(backup + "/IMG_1.CR2"), "100/IMG_1.CR2");
    EXPECT_EQ(bytesOf(backup + "/IMG_1.xmp"), "100/IMG_1.xmp");
    EXPECT_EQ(bytesOf(backup + "/IMG_1-1.CR2"), "101/IMG_1.CR2");
    EXPECT_EQ(bytesOf(backup + "/IMG_1-1.xmp"), "101/IMG_1.xmp");
    EXPECT_EQ(bytesOf(backup + "/IMG_1-1.JPG"), "only here");
    EXPECT_THAT(namesBelow(backup), testing::SizeIs(5));
}

TEST_F(DownloadTest, DeletesNothingWhereTargetAndBackupAreOneFolder)
{
    card.add("A.JPG", "a");
    request.backupFolder = choices.backupFolder = target;
    const DownloadSummary summary = run();
    EXPECT_THAT(namesBelow(target), ElementsAre("A-1.JPG", "A.JPG"));
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_TRUE(summary.deletionForbidden);
    EXPECT_EQ(events.questions, 0);
    EXPECT_THAT(summary.verdict, HasSubstr("that is one copy"));
}

TEST_F(DownloadTest, LeavesEmptyFilesOfOthersAlone)
{
    card.add("A.JPG", "a");
    wantBackup();
    std::ofstream(target + "/A.JPG").flush();
    std::ofstream(backup + "/A.JPG").flush();
    run();
    EXPECT_THAT(namesBelow(target), ElementsAre("A-1.JPG", "A.JPG"));
    EXPECT_THAT(namesBelow(backup), ElementsAre("A-1.JPG", "A.JPG"));
    EXPECT_EQ(bytesOf(backup + "/A.JPG"), "");
}

TEST_F(DownloadTest, NeverCallsTheCardSafeToWipeWhereCopiesAreOnItsDevice)
{
    const tests::TestCard same{tests::TestCard::Device::kOther};
    card.add("A.JPG", "a");
    request.target = same.path();
    request.deletesOriginals = false;
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.proven, 1U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_THAT(summary.verdict, HasSubstr("on the same device as the originals"));
}

TEST_F(DownloadTest, DeletesNothingWhenThePersonSaysNo)
{
    card.add("IMG_1.JPG", "jpeg");
    events.answer = false;
    EXPECT_EQ(run().deleted, 0U);
    EXPECT_EQ(events.questions, 1);
    EXPECT_EQ(bytesOf(card.path("IMG_1.JPG")), "jpeg");
}

TEST_F(DownloadTest, BeginsNothingWithoutTheBackupFolder)
{
    card.add("IMG_1.JPG", "jpeg");
    wantBackup();
    beforeRun = [this] {
        std::filesystem::remove(backup);
        std::ofstream(backup) << "a file is in the way";
    };
    EXPECT_THROW(run(), std::system_error);
    EXPECT_THAT(namesBelow(target), IsEmpty());
    EXPECT_EQ(bytesOf(card.path("IMG_1.JPG")), "jpeg");
}

TEST_F(DownloadTest, KeepsAnOriginalWhoseBackupFailed)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "a small disk needs root to mount";
    }
    const test::MemoryMount disk(backup, 64 << 10);
    card.add("IMG_1.CR2", std::string(200'000, 'r'));
    card.add("IMG_1.JPG", "jpeg");
    wantBackup();
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.proven, 0U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_EQ(events.questions, 0);
    EXPECT_EQ(bytesOf(card.path("IMG_1.CR2")).size(), 200'000U);
    EXPECT_EQ(bytesOf(card.path("IMG_1.JPG")), "jpeg");
}

// What becomes of the DNG says nothing about the backup.
TEST_F(DownloadTest, KeepsAnOriginalWhoseBackupFailedThoughItsConversionFailedToo)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "a small disk needs root to mount";
    }
    const test::MemoryMount disk(backup, 64 << 10);
    card.add("IMG_1.CR2", std::string(200'000, 'r'));
    wantBackup();
    request.wantsDNG = true; // and nobody can
    const DownloadSummary summary = run();
    ASSERT_EQ(events.items.size(), 1U);
    EXPECT_EQ(events.items[0].status, ItemStatus::kBackupFailed);
    EXPECT_THAT(events.items[0].error.value(), HasSubstr("backup"));
    EXPECT_THAT(events.items[0].error.value(), HasSubstr("DNG"));
    EXPECT_EQ(summary.proven, 0U);
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_EQ(bytesOf(card.path("IMG_1.CR2")).size(), 200'000U);
}

// Photos that are sorted by date into the folder in which they lie.
TEST_F(DownloadTest, NeverDeletesTheOnlyCopy)
{
    const std::string source = target + "/2020";
    std::filesystem::create_directories(source);
    std::ofstream(source + "/IMG_1.JPG") << "the only one";
    const timespec times[]{{1'600'000'000, 0}, {1'600'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (source + "/IMG_1.JPG").c_str(), times, 0), 0);
    request.rules.subfolders = SubfolderPattern("%Y");
    const DownloadSummary summary = run(source);
    EXPECT_EQ(summary.existing, 0U);
    EXPECT_EQ(bytesOf(source + "/IMG_1-1.JPG"), "the only one");
}

TEST_F(DownloadTest, KeepsAnOriginalThatChangedAfterItWasSaved)
{
    card.add("IMG_1.JPG", "jpeg");
    events.beforeAnswer = [this] { card.add("IMG_1.JPG", "edited on the card"); };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_EQ(summary.notDeleted, 1U);
    EXPECT_THAT(summary.notSafe.at(0).reason, HasSubstr("changed"));
    EXPECT_EQ(bytesOf(card.path("IMG_1.JPG")), "edited on the card");
}

TEST_F(DownloadTest, KeepsAnOriginalWhoseCopyIsGone)
{
    card.add("IMG_1.JPG", "jpeg");
    events.beforeAnswer = [this] { std::filesystem::remove(target + "/IMG_1.JPG"); };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_EQ(bytesOf(card.path("IMG_1.JPG")), "jpeg");
}

TEST_F(DownloadTest, TellsOfACardThatWasTakenOutBeforeItsPhotosCouldBeDeleted)
{
    card.add("IMG_1.JPG", "jpeg");
    events.beforeAnswer = [this] {
        // A loop of links cannot be looked through, as little as a card that broke down.
        std::filesystem::remove_all(card.path());
        std::filesystem::create_symlink(card.path(), card.path());
    };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_EQ(summary.notDeleted, 1U);
    EXPECT_EQ(bytesOf(target + "/IMG_1.JPG"), "jpeg");
}

TEST_F(DownloadTest, OffersNothingOfAGroupOfWhichAPartFailed)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.JPG", "jpeg");
    card.add("IMG_2.JPG", "fine");
    beforeRun = [this] { std::filesystem::remove(card.path("IMG_1.JPG")); };
    const DownloadSummary summary = run();
    EXPECT_EQ(summary.failed, 2U);
    EXPECT_EQ(summary.deleted, 1U);
    EXPECT_THAT(namesBelow(card.path()), ElementsAre("IMG_1.CR2"));
    EXPECT_THAT(namesBelow(target), ElementsAre("IMG_2.JPG"));
}

TEST_F(DownloadTest, WritesNothingInADryRun)
{
    card.add("IMG_1.JPG", "jpeg");
    request.dryRun = true;
    EXPECT_FALSE(run().cardMayBeWiped);
    EXPECT_EQ(events.questions, 0);
    EXPECT_THAT(namesBelow(target), IsEmpty());
    EXPECT_EQ(events.items.at(0).saved, target + "/IMG_1.JPG");
}

TEST_F(DownloadTest, SavesAndDeletesNothingMoreOnceItWasInterrupted)
{
    for (int i = 0; i < 20; ++i)
        card.add("IMG_" + std::to_string(i) + ".JPG", "jpeg");
    request.wasInterrupted = [this] { return events.items.size() >= 3; };
    const DownloadSummary summary = run();
    EXPECT_TRUE(summary.interrupted);
    EXPECT_EQ(summary.saved, 3U);
    EXPECT_EQ(summary.deleted, 0U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_EQ(namesBelow(target).size(), 3U);
}

TEST_F(DownloadTest, TellsOfAnInterruptAtTheQuestion)
{
    card.add("IMG_1.JPG", "jpeg");
    bool isInterrupted = false;
    request.wasInterrupted = [&isInterrupted] { return isInterrupted; };
    events.beforeAnswer = [&isInterrupted] { isInterrupted = true; };
    events.answer = false;
    const DownloadSummary summary = run();
    EXPECT_TRUE(summary.interrupted);
    EXPECT_EQ(summary.saved, 1U);
    EXPECT_EQ(bytesOf(card.path("IMG_1.JPG")), "jpeg");
}

TEST_F(DownloadTest, DeletesNoMoreThanTheItemInHandOnceItIsInterrupted)
{
    for (int i = 0; i < 5; ++i)
        card.add("IMG_" + std::to_string(i) + ".JPG", "jpeg");
    request.wasInterrupted = [this] { return namesBelow(card.path()).size() <= 4; };
    const DownloadSummary summary = run(); // an original steps aside into a folder, the fourth name
    EXPECT_TRUE(summary.interrupted);
    EXPECT_EQ(summary.saved, 5U);
    EXPECT_EQ(summary.deleted, 2U);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_EQ(namesBelow(card.path()).size(), 3U);
}

// Whether a process or a thread waits for a lock on the folder, as the system tells.
bool isWaitedFor(const std::string& folder)
{
    std::error_code error;
    const std::string inode = ':' + std::to_string(Pt::fileStatus(folder, error)->inode) + ' ';
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);)
        if (line.find("->") != std::string::npos && line.find(inode) != std::string::npos)
            return true;
    return false;
}

TEST_F(DownloadTest, WaitsUntilAnotherProgramHasMadeItsBackupCopy)
{
    card.add("IMG_1.JPG", "jpeg");
    wantBackup();
    std::error_code error;
    auto other = Pt::FolderLock::takeAlone(backup, error);
    bool hasWaited = false;
    std::thread program([&] {
        hasWaited = test::waitUntil([this] { return isWaitedFor(backup); });
        std::ofstream(backup + "/IMG_1.JPG") << "of the other card";
        other.reset();
    });
    const DownloadSummary summary = run();
    program.join();
    EXPECT_TRUE(hasWaited);
    EXPECT_EQ(summary.backups, 1U);
    EXPECT_EQ(bytesOf(backup + "/IMG_1.JPG"), "of the other card");
    EXPECT_EQ(bytesOf(backup + "/IMG_1-1.JPG"), "jpeg");
}

// Nothing else would tell a person that the program is alive.
TEST_F(DownloadTest, TellsWhatItIsAtWhileNothingMoves)
{
    card.add("IMG_1.JPG", "jpeg");
    wantBackup();
    std::error_code error;
    auto other = Pt::FolderLock::takeAlone(backup, error);
    int told = 0;
    events.onProgress = [&](const ProgressEvent& event) {
        if (event.phase == ProgressPhase::kBackup && ++told == 2)
            other.reset();
    };
    EXPECT_EQ(run().backups, 1U);
    EXPECT_GE(told, 2);
    EXPECT_EQ(events.last.bytesDone, events.last.bytesTotal);
}

TEST_F(DownloadTest, TellsThatItDeletes)
{
    card.add("IMG_1.JPG", "jpeg");
    run();
    EXPECT_EQ(events.last.phase, ProgressPhase::kDelete);
    request.deletesOriginals = choices.deletesOriginals = false;
    card.add("IMG_2.JPG", "another");
    run();
    EXPECT_NE(events.last.phase, ProgressPhase::kDelete);
}

} // namespace
} // namespace mfx
