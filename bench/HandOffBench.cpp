// What a photographer waits for after a download: from the last file of the card, saved, to the
// thumbnails of all of them on the screen.
//
//   running              the browser runs already, and shows another folder
//   to start             it does not
//
// All are programs, on a display that nobody sees; the thumbnail store is empty each time, and the
// pictures bear a small one in their EXIF, as a camera's do. Looks at the screen itself, where the
// pictures are what is colorful. Of each row the median and the longest, in milliseconds: "shown"
// when each picture is to be seen, "decoded" when nothing on the screen changes any more.
//
// Usage: hand_off_bench [PICTURES [TURNS]]

#include "NaturalPicture.h"
#include "OwnFolder.h"
#include "peers/Peer.h"
#include "platform/common/services/ProcessControl.h"
#include "support/ChildProgram.h"

#include <QBuffer>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <exiv2/exiv2.hpp>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using bench::require;
using Clock = std::chrono::steady_clock;
using test::ChildProgram;

constexpr std::chrono::seconds kPatience{60};
// Nothing more comes after that.
constexpr std::chrono::milliseconds kRest{1500};

struct Look {
    Clock::time_point at;
    int colorful = 0; // pixels
    std::uint64_t sum = 0; // of all
};

// A display whose memory is a file.
class Screen {
public:
    explicit Screen(const std::string& folder)
    {
        m_server.emplace(std::vector<std::string>{"/usr/bin/Xvfb",
            ":" + std::to_string(1000 + ::getpid()),
            "-displayfd",
            "1",
            "-screen",
            "0",
            "1200x800x24",
            "-nolisten",
            "tcp",
            "-fbdir",
            folder});
        require(m_server->waitFor("\n", kPatience), "a display");
        const std::string& line = m_server->output();
        ::setenv("DISPLAY", (":" + line.substr(0, line.find('\n'))).c_str(), 1);
        m_manager.emplace(std::vector<std::string>{"/usr/bin/openbox", "--sm-disable"});
        mapMemory(folder + "/Xvfb_screen0");
    }
    ~Screen() { ::munmap(m_memory, m_size); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    // Of every fourth pixel in every fourth line.
    Look look() const
    {
        Look result{Clock::now(), 0, 0};
        for (std::uint32_t y = 0; y < m_height; y += 4)
            for (std::uint32_t x = 0; x < m_width; x += 4) {
                const unsigned char* const pixel =
                    m_pixels + std::size_t{y} * m_lineBytes + std::size_t{x} * 4;
                result.colorful += isColorful(pixel);
                for (int i = 0; i < 3; ++i)
                    result.sum = (result.sum ^ pixel[i]) * 1099511628211U;
            }
        return result;
    }

private:
    // A header of numbers, big endian; colors of twelve bytes; lines.
    void mapMemory(const std::string& path)
    {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        require(file >= 0, "the display's memory");
        m_size = fs::file_size(path);
        m_memory = ::mmap(nullptr, m_size, PROT_READ, MAP_SHARED, file, 0);
        ::close(file);
        require(m_memory != MAP_FAILED, "the display's memory");
        const auto number = [bytes = static_cast<const unsigned char*>(m_memory)](int index) {
            const unsigned char* const at = bytes + index * 4;
            return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16
                | std::uint32_t{at[2]} << 8 | at[3];
        };
        m_width = number(4);
        m_height = number(5);
        m_lineBytes = number(12);
        m_pixels = static_cast<const unsigned char*>(m_memory) + number(0) + number(19) * 12;
    }
    static bool isColorful(const unsigned char* pixel)
    {
        const auto [least, most] = std::minmax({pixel[0], pixel[1], pixel[2]});
        return most - least > 48;
    }

    std::optional<ChildProgram> m_server;
    std::optional<ChildProgram> m_manager;
    void* m_memory = nullptr;
    std::size_t m_size = 0;
    const unsigned char* m_pixels = nullptr;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::uint32_t m_lineBytes = 0;
};

struct Times {
    double shown = 0; // milliseconds
    double decoded = 0;
};

// Looks until nothing changes any more.
Times watch(const Screen& screen, const Look& before)
{
    const auto begin = Clock::now();
    std::vector<Look> looks{screen.look()};
    Look last = looks.back(); // the last that differs from the one before it
    while (Clock::now() - last.at < kRest || last.colorful == before.colorful) {
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
        looks.push_back(screen.look());
        if (looks.back().sum != last.sum)
            last = looks.back();
        require(Clock::now() - begin < kPatience, "thumbnails");
    }
    const auto isShown = [&](const Look& look) {
        return (look.colorful - before.colorful) * 100 >= (last.colorful - before.colorful) * 97;
    };
    const auto since = [&](const Look& look) {
        return std::chrono::duration<double, std::milli>(look.at - begin).count();
    };
    return {since(*std::ranges::find_if(looks, isShown)), since(last)};
}

// Puts the small picture into the EXIF that cameras put there.
void addThumbnail(const std::string& path)
{
    const QImage small = QImage(QString::fromStdString(path)).scaled(160, 107);
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    require(small.save(&buffer, "JPG"), "a small picture");
    const auto image = Exiv2::ImageFactory::open(path);
    image->readMetadata();
    Exiv2::ExifThumb(image->exifData())
        .setJpegThumbnail(
            reinterpret_cast<const Exiv2::byte*>(jpeg.constData()), static_cast<long>(jpeg.size()));
    image->writeMetadata();
}

class World {
public:
    explicit World(int pictures)
        : m_pictures(pictures)
        , m_folder("hand-off")
    {
        for (const char* const name : {"XDG_CACHE_HOME",
                 "XDG_DATA_HOME",
                 "XDG_CONFIG_HOME",
                 "WAYLAND_DISPLAY",
                 "QT_QPA_PLATFORM"})
            ::unsetenv(name);
        ::setenv("XDG_STATE_HOME", path("state").c_str(), 1);
        fs::create_directories(path("card/DCIM/100MFXTM"));
        fs::create_directories(path("elsewhere"));
        for (int i = 1; i <= pictures; ++i) {
            const std::string file =
                path("card/DCIM/100MFXTM/DSC_" + std::to_string(1000 + i) + ".JPG");
            bench::writeNaturalPicture(file, static_cast<unsigned int>(i));
            addThumbnail(file);
        }
        m_screen.emplace(m_folder.path());
        ChildProgram registration({VELMO_CAPS, "add", "tevoro-2.0", "--path", TEVORO});
        require(registration.waitForEnd(kPatience) && registration.code() == 0, "a registration");
    }

    Times whileRunning()
    {
        ChildProgram browser({TEVORO, path("elsewhere")});
        std::this_thread::sleep_for(kRest);
        return download();
    }
    Times toStart()
    {
        const Times times = download();
        for (const unsigned long id : Pt::processesOfProgram(TEVORO))
            ::kill(static_cast<pid_t>(id), SIGTERM);
        std::this_thread::sleep_for(kRest);
        return times;
    }

private:
    std::string path(const std::string& name) const { return m_folder.path() + "/" + name; }

    Times download()
    {
        fs::remove_all(path("pictures"));
        fs::remove_all(path(".cache"));
        const Look before = m_screen->look();
        ChildProgram mfx(
            {MFX_PROGRAM, "download", path("card"), "--to", path("pictures"), "--json", "--open"});
        require(mfx.waitFor("\"key\":" + std::to_string(m_pictures) + ",", kPatience), "copies");
        const Times times = watch(*m_screen, before);
        require(mfx.waitForEnd(kPatience) && mfx.code() == 0, "a download");
        return times;
    }

    const int m_pictures;
    const bench::OwnFolder m_folder;
    std::optional<Screen> m_screen;
};

void print(const char* name, std::vector<Times> turns)
{
    const auto row = [&](const char* which, double Times::*value) {
        std::ranges::sort(turns, {}, value);
        std::printf("%s, %s: median %.0f ms, longest %.0f ms\n",
            name,
            which,
            turns[turns.size() / 2].*value,
            turns.back().*value);
    };
    row("shown", &Times::shown);
    row("decoded", &Times::decoded);
}

int numberOf(std::span<char*> words, std::size_t index, int otherwise)
{
    return index < words.size() ? std::atoi(words[index]) : otherwise;
}

} // namespace

int main(int count, char** words)
{
    const std::span<char*> all(words, static_cast<std::size_t>(count));
    const int pictures = numberOf(all, 1, 12);
    const int turns = numberOf(all, 2, 7);
    require(pictures > 0 && turns > 0, "a number above 0");
    World world(pictures);
    std::vector<Times> running;
    std::vector<Times> started;
    for (int i = 0; i < turns; ++i) {
        running.push_back(world.whileRunning());
        started.push_back(world.toStart());
    }
    print("running", running);
    print("to start", started);
    return 0;
}
