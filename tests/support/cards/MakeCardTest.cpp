#include "support/TestFolder.h"

#include <QProcess>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

struct Outcome {
    int code = -1;
    std::string output;
    std::string errors;
};

class MakeCardTest : public ::testing::Test {
protected:
    static Outcome run(const QStringList& arguments)
    {
        QProcess process;
        process.start(QStringLiteral(MAKE_CARD), arguments);
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
            return {};
        return {process.exitCode(),
            process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
    }

    QString folder() const { return QString::fromStdString(m_folder.path("card")); }

    test::TestFolder m_folder;
};

TEST_F(MakeCardTest, MakesAsManyFilesOfTheSizeAsItWasAskedFor)
{
    const QStringList options{QStringLiteral("--files"),
        QStringLiteral("3"),
        QStringLiteral("--size"),
        QStringLiteral("40")};
    EXPECT_EQ(run(QStringList{folder()} + options).code, 0);
    EXPECT_EQ(
        std::filesystem::file_size(m_folder.path("card/DCIM/100MFXTM/DSC_0003.JPG")), 40U * 1024);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("card/DCIM/100MFXTM/DSC_0004.JPG")));
}

TEST_F(MakeCardTest, ShowsItsOptionsOnRequest)
{
    const Outcome outcome = run({QStringLiteral("--help")});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.output.find("--seed"), std::string::npos);
}

TEST_F(MakeCardTest, EndsWith2ForWrongUsage)
{
    EXPECT_EQ(run({}).code, 2);
    EXPECT_EQ(run({folder(), QStringLiteral("--files"), QStringLiteral("0")}).code, 2);
    EXPECT_EQ(run({folder(), QStringLiteral("--shape"), QStringLiteral("round")}).code, 2);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("card")));
}

TEST_F(MakeCardTest, EndsWith4AndASentenceWhereACardStandsAlready)
{
    m_folder.write("card/DCIM/a.jpg", "mine");
    const Outcome outcome = run({folder()});
    EXPECT_EQ(outcome.code, 4);
    EXPECT_NE(outcome.errors.find("holds a card already"), std::string::npos);
}

TEST_F(MakeCardTest, EndsWith4WhereNoFolderCanBeMade)
{
    m_folder.write("card", "a file in the way");
    EXPECT_EQ(run({folder()}).code, 4);
}

} // namespace
