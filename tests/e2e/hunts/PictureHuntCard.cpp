#include "e2e/hunts/PictureHuntCard.h"

#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>

namespace e2e::hunt {

namespace {

const std::vector<std::string> kFolders{"DCIM/100MFX", "DCIM/101MFX", "DCIM/102 Odd"};
const std::vector<std::string> kOddNames{"\xc3\x9cml\xc3\xa4ut \xc3\xa9.JPG",
    "line\nbreak.JPG",
    "a:b?c*.JPG",
    "latin \xe9.JPG",
    "-rf.JPG",
    "two  blanks .JPG",
    "$HOME;ls.JPG",
    "dot..JPG",
    "{name}.JPG",
    "IMG_0001-1.JPG"};
const std::vector<std::size_t> kSizes{1, 17, 4096, 4097, 20'000, 50'000, 300'000, 1'200'000};

class Filler {
public:
    Filler(Draw& draw, const std::vector<fs::path>& folders)
        : m_draw(draw)
        , m_folders(folders)
    {
    }

    std::vector<Picture> fill()
    {
        const std::size_t count = 1 + m_draw.below(8);
        while (m_pictures.size() < count)
            addSome();
        return std::move(m_pictures);
    }

private:
    void addSome();
    void addGroup();
    void addTwins();
    void addHardLink();
    void add(const std::string& folder, const std::string& name, bool isEmpty = false);

    std::string folder() { return m_draw.oneOf(kFolders); }
    std::string stem() { return "IMG_000" + std::to_string(++m_number); }

    Draw& m_draw;
    const std::vector<fs::path>& m_folders;
    std::vector<Picture> m_pictures;
    int m_number = 0;
};

void Filler::addSome()
{
    switch (m_draw.below(12)) {
    case 0:
        return addGroup();
    case 1:
        return addTwins();
    case 2:
        return add(folder(), stem() + ".JPG", true);
    case 3:
        return add(folder(), ".HIDDEN" + stem() + ".JPG");
    case 4:
        return add("LOST.DIR", stem() + ".JPG");
    case 5:
        return add(folder(), m_draw.oneOf(kOddNames));
    case 6:
        return addHardLink();
    case 7:
        return m_draw.chance(30) ? add(folder() + "/.mfxdelete", stem() + ".JPG")
                                 : add(folder(), std::string(240, 'n') + stem() + ".JPG");
    default:
        return add(folder(), stem() + (m_draw.chance(30) ? ".CR2" : ".JPG"));
    }
}

void Filler::addGroup()
{
    const std::string in = folder();
    const std::string name = stem();
    add(in, name + ".CR2");
    add(in, name + ".JPG");
    if (m_draw.chance(50))
        add(in, name + ".xmp");
}

void Filler::addTwins()
{
    const std::string name = stem() + ".JPG";
    add(kFolders[0], name);
    add(kFolders[1], name);
}

void Filler::addHardLink()
{
    if (m_pictures.empty() || m_folders.size() > 1)
        return;
    const Picture& first = m_pictures.back();
    const fs::path below = fs::path(kFolders[0]) / (stem() + ".JPG");
    fs::create_directories((m_folders[0] / below).parent_path());
    fs::create_hard_link(m_folders[0] / first.below, m_folders[0] / below);
    m_pictures.push_back({below, first.bytes});
}

void Filler::add(const std::string& folder, const std::string& name, bool isEmpty)
{
    Picture picture = drawPicture(m_draw, fs::path(folder) / name);
    if (isEmpty)
        picture.bytes.clear();
    for (const Picture& other : m_pictures)
        if (other.below == picture.below)
            return;
    fs::create_directories(m_folders[0] / folder);
    writeFile(m_folders[m_pictures.size() % m_folders.size()] / picture.below, picture.bytes);
    m_pictures.push_back(std::move(picture));
}

// What the first bytes tell people's programs; the noise behind is what tells it from all others.
std::string beginning(const std::string& extension)
{
    using namespace std::string_literals;
    if (extension == ".CR2")
        return "II*\0\x10\0\0\0CR"s;
    return extension == ".xmp" ? "<x:xmpmeta>" : "\xff\xd8\xff\xe0"s;
}

} // namespace

Picture drawPicture(Draw& draw, const fs::path& below)
{
    constexpr std::size_t kLeast = 16; // of noise: no two are alike
    return {below, beginning(below.extension()) + draw.bytes(kLeast + draw.oneOf(kSizes))};
}

std::vector<Picture> fillCard(Draw& draw, const std::vector<fs::path>& folders)
{
    return Filler(draw, folders).fill();
}

void writeFile(const fs::path& path, const std::string& bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    constexpr timespec kNoon = {1777896000, 0}; // 2026-05-04 12:00:00 UTC
    const timespec times[2] = {kNoon, kNoon};
    ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

// On a dead disk, a file has no bytes.
std::string readFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

} // namespace e2e::hunt
