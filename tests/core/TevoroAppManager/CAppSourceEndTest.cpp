// The end of a sink, step by step: what the host's code still finds when its objects are let go.

#include "TevoroAppManager/CAppSource.h"
#include "core/TevoroAppManager/support/HostPanel.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"
#include "strings/PtZString.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QString chooseText()
{
    return PtZString::getZString(u"$$$/AppSource/Choose=Choose..."_s);
}

} // namespace

TEST(CAppSourceEndTest, ReleasesTheWidgetsWhileTheDictionaryIsOpen)
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
