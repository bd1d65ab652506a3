#include "pictures/decoding/FileForm.h"

#include <QString>

namespace pictures {
namespace {

using namespace std::string_literals;

FileForm form(const std::string& beginning, const char* name)
{
    return formOf({reinterpret_cast<const unsigned char*>(beginning.data()), beginning.size()},
        QString::fromLatin1(name));
}

struct Row {
    std::string beginning;
    const char* name;
    FileForm form;
};

TEST(FileFormTest, GoesByTheFirstBytes)
{
    const std::vector<Row> rows{{"\xFF\xD8\xFF\xE1", "a.cr2", FileForm::kJpeg},
        {"\x89PNG\r\n\x1A\n", "a.jpg", FileForm::kToolkit},
        {"RIFF1234WEBP", "a.jpg", FileForm::kToolkit},
        {"RIFF1234AVI ", "a.jpg", FileForm::kMovie},
        {"\0\0\0\x18"
         "ftypheic"s,
            "a.jpg",
            FileForm::kHeif},
        {"\0\0\0\x18"
         "ftypavif"s,
            "a",
            FileForm::kHeif},
        {"\0\0\0\x18"
         "ftypcrx "s,
            "a.jpg",
            FileForm::kRaw},
        {"\0\0\0\x18"
         "ftypqt  "s,
            "a.heic",
            FileForm::kMovie},
        {"\0\0\0\x18"
         "moov"s,
            "a.jpg",
            FileForm::kMovie},
        {"II\x1A\0\0\0HEAPCCDR"s, "a.jpg", FileForm::kRaw},
        {"II*\0\x08\0\0\0"s, "a.jpg", FileForm::kToolkit},
        {"MM\0*\0\0\0\x08"s, "a", FileForm::kToolkit}};
    for (const Row& row : rows)
        EXPECT_EQ(form(row.beginning, row.name), row.form) << row.beginning << ' ' << row.name;
}

TEST(FileFormTest, GoesByTheNameWhereTheyDoNotTell)
{
    const std::vector<Row> rows{{"II*\0\x08\0\0\0"s, "a.NEF", FileForm::kRaw},
        {"MM\0*\0\0\0\x08"s, "a.dng", FileForm::kRaw},
        {"", "a.jpg", FileForm::kJpeg},
        {"nothing", "a.thm", FileForm::kJpeg},
        {"nothing", "a.heic", FileForm::kHeif},
        {"nothing", "a.bmp", FileForm::kToolkit},
        {"nothing", "a.mts", FileForm::kMovie},
        {"nothing", "a.xmp", FileForm::kUnknown},
        {"nothing", "jpg", FileForm::kUnknown}};
    for (const Row& row : rows)
        EXPECT_EQ(form(row.beginning, row.name), row.form) << row.beginning << ' ' << row.name;
}

TEST(FileFormTest, BearsABeginningThatIsCut)
{
    const std::string whole = "\0\0\0\x18"
                              "ftypheic"s;
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(form(whole.substr(0, length), "a.png"), FileForm::kToolkit) << length;
}

} // namespace
} // namespace pictures
