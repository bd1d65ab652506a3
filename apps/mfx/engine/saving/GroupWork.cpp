#include "mfx/engine/saving/GroupWork.h"

#include "mfx/engine/saving/CopyText.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

#include <filesystem>

namespace mfx {

namespace {

std::string partnerFailed(const MemberWork& culprit, const std::string& reason)
{
    const std::string name =
        Pt::displayName(std::filesystem::path(culprit.source).filename().string());
    return text("$$$/Mfx/Download/PartnerFailed=not saved, because %1 belongs to it and failed "
                "(%2); --only can take it alone",
        {name, reason});
}

std::string folderUnreadable(const FinalFolder& folder, const std::error_code& error)
{
    return text("$$$/Mfx/Download/FolderUnreadable=the folder %1 cannot be looked at: %2",
        {folder.path, systemReason(error)});
}

} // namespace

bool isCopyStill(const MemberWork& member, const std::string& path)
{
    std::error_code error;
    const auto now = Pt::fileStatus(path, error);
    if (!now || !member.converted)
        return now.has_value();
    const Pt::FileStatus& then = *member.converted;
    if (now->device == then.device && now->inode == then.inode && now->size == then.size
        && now->modified == then.modified)
        return true;
    return now->kind == Pt::FileStatus::Kind::kRegular && member.digest
        && now->size == member.digest->size && Pt::digestOfFile(path, error) == *member.digest;
}

// The reason is that of the culprit; the others are told whose fault it is and how to get them all
// the same, for their own copies may well be sound.
void failGroup(GroupWork& work, std::size_t member, const std::string& reason)
{
    work.failed = true;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const bool isCulprit = member >= work.members.size() || i == member;
        work.members[i].error = isCulprit ? reason : partnerFailed(work.members[member], reason);
    }
}

// A look at a name that the file system cannot have ends with an error as well: then the letter is
// the reason, and of one member alone.
void failUnreadable(GroupWork& work, const std::error_code& error)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        if (const auto letter = letterText(work.folder->ownPath,
                work.target->fileName(i, 0),
                error,
                Pt::LetterTest::kLooksOnly)) {
            failGroup(work, i, *letter);
            return;
        }
    }
    failGroup(work, work.members.size(), folderUnreadable(*work.folder, error));
}

} // namespace mfx
