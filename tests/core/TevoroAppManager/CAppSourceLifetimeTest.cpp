// How long things live that a sink gives to its host.

#include "TevoroAppManager/CAppSource.h"
#include "core/TevoroAppManager/support/HostDialogs.h"
#include "core/TevoroAppManager/support/HostItems.h"
#include "core/TevoroAppManager/support/HostPanel.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"
#include "strings/PtZString.h"

#include <QStringList>

#include <functional>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QString chooseText()
{
    return PtZString::getZString(u"$$$/AppSource/Choose=Choose..."_s);
}

} // namespace

TEST(CAppSourceLifetimeTest, ReleasesTheWidgetsWhileTheDictionaryIsOpen)
{
    test::RuntimeTree tree;
    tree.environment.set("LC_ALL", "de_DE.UTF-8");
    test::Journal journal;
    test::HostPanel panel(journal);
    auto* const sink = new CAppSource(CAppInfo());
    sink->AddRef();
    sink->SetClientUIHandler(&panel);
    const QString german = chooseText();
    ASSERT_NE(german, u"Choose..."_s);

    QStringList read;
    for (const char* name : test::HostPanel::kAll)
        panel.control(name).whenReleased = [&read] { read << chooseText(); };
    sink->Release();
    EXPECT_EQ(read, QStringList(6, german)) << "all but the two that it keeps";
    EXPECT_EQ(chooseText(), u"Choose..."_s);
}

// The host may write there until the whole of PushAllMediaItems is over, and the deletion is but a
// part of it: what lay on the deletion's stack would be gone.
TEST(CAppSourceLifetimeTest, KeepsTheCancelFlagOfADeletionInItself)
{
    const test::RuntimeTree tree;
    test::Journal journal;
    test::HostPanel panel(journal);
    test::HostProgress progress(journal);
    test::HostDisplay display(journal);
    display.answer = 6;
    auto* const sink = new CAppSource(CAppInfo());
    sink->AddRef();
    sink->SetClientUIHandler(&panel);
    sink->SetProgressHandler(&progress);
    panel.check("deletefiles_checkbox");
    test::HostItems items({"/t"});
    unsigned long count = 0;
    EXPECT_EQ(sink->PushAllMediaItems(items, display, count, nullptr, nullptr), kFxOk);

    const auto* const flag = reinterpret_cast<const char*>(progress.cancelFlag());
    const auto* const start = reinterpret_cast<const char*>(sink);
    const std::less<> isBefore;
    EXPECT_FALSE(isBefore(flag, start));
    EXPECT_TRUE(isBefore(flag, start + sizeof(CAppSource)));
    sink->Release();
}
