// Runs cases of this test program once more, in a process of its own: what the screen is like
// belongs to a whole process.
#pragma once

#include "support/TestFolder.h"

#include <QApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <string>

#include <gtest/gtest.h>

namespace test {

struct Screen {
    int width = 3840;
    int height = 2160;
    int scale = 1;
};

// Fails the running test unless exactly `cases` cases match the filter and all of them pass.
inline void expectPassOnScreen(const Screen& screen, const std::string& filter, int cases)
{
    const TestFolder folder;
    const std::string description = folder.write("screen.json",
        R"({"screens":[{"name":"test","x":0,"y":0,"dpr":1,"logicalDpi":96,"logicalBaseDpi":96,)"
        R"("width":)"
            + std::to_string(screen.width) + R"(,"height":)" + std::to_string(screen.height)
            + "}]}");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(screen.scale));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"),
        QString::fromStdString("offscreen:configfile=" + description));
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(
        QApplication::applicationFilePath(), {QString::fromStdString("--gtest_filter=" + filter)});
    ASSERT_TRUE(child.waitForFinished(60000)) << filter;
    const std::string output = child.readAll().toStdString();
    EXPECT_EQ(child.exitStatus(), QProcess::NormalExit) << output;
    EXPECT_EQ(child.exitCode(), 0) << output;
    const std::string passed =
        "[  PASSED  ] " + std::to_string(cases) + (cases == 1 ? " test." : " tests.");
    EXPECT_NE(output.find(passed), std::string::npos) << output;
}

} // namespace test
