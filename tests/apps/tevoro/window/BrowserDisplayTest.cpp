// The browser as a program on a real display: keys and the mouse go through the server, and what is
// seen comes from it.
#include "apps/pictures/PictureFolder.h"
#include "apps/tevorotalk/BusFixture.h"
#include "support/Desktop.h"
#include "support/disks/Mounts.h"

#include <QImage>

#include <chrono>
#include <csignal>
#include <thread>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

bool becomes(const std::function<bool()>& isSo)
{
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(50ms);
    }
    return true;
}

// Three pictures, each of one color, an hour apart: red, green, blue. Wide ones: what fits into the
// window leaves room above and below.
class BrowserDisplayTest : public BusFixture {
protected:
    static constexpr int kWidth = 1300;
    static constexpr int kHeight = 900;
    static constexpr int kMany = 400; // their thumbnails take seconds

    void SetUp() override
    {
        if (const std::string program = Desktop::missing(); !program.empty())
            GTEST_SKIP() << "there is no " << program;
        environment.unset("QT_QPA_PLATFORM");
        // The display's libraries look at texts by their lengths, without an end behind them.
        environment.set("ASAN_OPTIONS", "strict_string_checks=0");
        environment.unset("WAYLAND_DISPLAY");
        environment.set("LC_ALL", "C.UTF-8");
        for (const char* const name : {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            environment.unset(name);
        addPictures();
        makeDesktop();
    }
    void makeDesktop()
    {
        desktop.reset(); // two of one process would have the same number
        desktop = std::make_unique<Desktop>(std::to_string(kWidth) + "x" + std::to_string(kHeight));
    }
    void addPictures()
    {
        auto time = fs::file_time_type::clock::now() - 100h;
        for (const auto& [name, color] : {std::pair("a.png", Qt::red),
                 std::pair("b.png", Qt::green),
                 std::pair("c.png", Qt::blue)}) {
            const QString path = pictures.addPicture(name, color, {3000, 1000});
            fs::last_write_time(path.toStdString(), time += 1h);
        }
    }

    // Returns once its window is in front.
    std::unique_ptr<PeerProcess> startTevoro(std::vector<std::string> more = {})
    {
        return startTevoroOn(pictures.path().toStdString(), std::move(more));
    }
    static std::unique_ptr<PeerProcess> startTevoroOn(
        const std::string& shown, std::vector<std::string> more = {})
    {
        std::vector<std::string> words{TEVORO, shown};
        words.insert(words.end(), more.begin(), more.end());
        auto process = std::make_unique<PeerProcess>(words);
        process->errorLine();
        EXPECT_TRUE(becomes([&] { return frontProcess() == process->id(); }));
        return process;
    }
    // And shows the folder.
    void start()
    {
        tevoro = startTevoro();
        ASSERT_TRUE(becomes([&] { return colorAt(0.1, 0.21) == QColor(Qt::red); })) << "thumbnail";
    }

    // What one of the display's programs says; it may have nothing to say.
    static std::string said(std::vector<std::string> words)
    {
        words.insert(words.begin(), "/usr/bin/env");
        ChildProgram program(std::move(words));
        EXPECT_TRUE(program.waitForEnd(30s));
        return program.output();
    }
    static pid_t frontProcess()
    {
        return std::atoi(said({"xdotool", "getactivewindow", "getwindowpid"}).c_str());
    }
    static std::string frontTitle()
    {
        return said({"xdotool", "getactivewindow", "getwindowname"});
    }
    static void press(const std::string& key) { EXPECT_EQ(said({"xdotool", "key", key}), ""); }

    struct Area {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };
    static Area window()
    {
        const std::string lines = said({"xwininfo", "-id", said({"xdotool", "getactivewindow"})});
        const auto number = [&](const std::string& label) {
            const std::size_t at = lines.find(label);
            return at == std::string::npos ? 0 : std::atoi(lines.c_str() + at + label.size());
        };
        return {number("Absolute upper-left X:"),
            number("Absolute upper-left Y:"),
            number("Width:"),
            number("Height:")};
    }
    // Parts of the window's width and height.
    static std::vector<std::string> moveTo(double x, double y)
    {
        const Area area = window();
        return {"xdotool",
            "mousemove",
            std::to_string(area.x + static_cast<int>(area.width * x)),
            std::to_string(area.y + static_cast<int>(area.height * y))};
    }
    static void click(double x, double y, std::vector<std::string> how)
    {
        std::vector<std::string> words = moveTo(x, y);
        words.insert(words.end(), how.begin(), how.end());
        EXPECT_EQ(said(words), "");
    }
    QColor colorAt(double x, double y) const
    {
        const std::string file = folder.path("screen.png");
        said({"scrot", "-o", file});
        const Area area = window();
        return QImage(QString::fromStdString(file))
            .pixelColor(std::min(area.x + static_cast<int>(area.width * x), kWidth - 1),
                std::min(area.y + static_cast<int>(area.height * y), kHeight - 1));
    }
    bool shows(QColor color, double x = 0.5, double y = 0.5) const
    {
        return becomes([&] { return colorAt(x, y) == color; });
    }
    // The middle of the window without a picture of its own.
    bool showsGrid() const
    {
        return becomes([&] { return colorAt(0.5, 0.8) == QColor(Qt::white); });
    }
    std::string shownFolder() const
    {
        return run({"send", "tevoro-2.0", "app.document.thumbnail.path", "--wait", "20"}).out;
    }
    // The thumbnails that are stored, once there are some.
    std::string stored() const { return folder.path("home/.cache/thumbnails/large"); }
    bool storesThumbnails() const
    {
        return becomes([&] { return fs::exists(stored()) && !fs::is_empty(stored()); });
    }
    bool endsWithTheDisplay()
    {
        desktop->server().signal(SIGKILL);
        const bool isOver = tevoro->saysSomething(30s);
        EXPECT_TRUE(isOver);
        if (!isOver)
            return false;
        EXPECT_THAT(tevoro->errors(), Not(HasSubstr("Sanitizer")));
        EXPECT_EQ(tevoro->finish(), 1);
        return becomes([&] { return leftNothing(); });
    }
    bool leftNothing() const { return fs::is_empty(folder.path("ports")); }

    PictureFolder pictures;
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<PeerProcess> tevoro;
};

TEST_F(BrowserDisplayTest, TurnsPagesByKeys)
{
    start();
    press("Return");
    EXPECT_TRUE(shows(Qt::red));
    press("Right");
    EXPECT_TRUE(shows(Qt::green));
    press("Right");
    EXPECT_TRUE(shows(Qt::blue));
    press("Left");
    EXPECT_TRUE(shows(Qt::green));
    press("Escape");
    EXPECT_TRUE(becomes([&] { return colorAt(0.5, 0.5) != QColor(Qt::green); }));
    press("Right");
    press("Return");
    EXPECT_TRUE(shows(Qt::blue)) << "the grid stands where the large view was";
}

TEST_F(BrowserDisplayTest, ZoomsByKeyAndWheel)
{
    start();
    press("Return");
    ASSERT_TRUE(shows(Qt::red));
    EXPECT_NE(colorAt(0.5, 0.15), QColor(Qt::red)) << "it fits";
    press("z");
    EXPECT_TRUE(shows(Qt::red, 0.5, 0.15));
    press("z");
    EXPECT_TRUE(becomes([&] { return colorAt(0.5, 0.15) != QColor(Qt::red); }));
    for (int i = 0; i < 8; ++i)
        click(0.5, 0.5, {"keydown", "ctrl", "click", "4", "keyup", "ctrl"});
    EXPECT_TRUE(shows(Qt::red, 0.5, 0.15));
}

TEST_F(BrowserDisplayTest, ShowsFactsAndComparesByKeys)
{
    start();
    press("Return");
    ASSERT_TRUE(shows(Qt::red, 0.99, 0.5));
    press("i");
    EXPECT_TRUE(becomes([&] { return colorAt(0.99, 0.5) != QColor(Qt::red); }));
    press("i");
    EXPECT_TRUE(shows(Qt::red, 0.99, 0.5));
    press("c");
    EXPECT_TRUE(shows(Qt::green, 0.75, 0.5));
    EXPECT_TRUE(shows(Qt::red, 0.25, 0.5));
    press("Escape");
    EXPECT_TRUE(showsGrid());
}

TEST_F(BrowserDisplayTest, FillsTheScreenAndGoesBack)
{
    start();
    const int width = window().width;
    ASSERT_LT(width, kWidth);
    for (const char* const key : {"F11", "f"}) {
        press(key);
        EXPECT_TRUE(becomes([] {
            const Area area = window();
            return area.width == kWidth && area.height == kHeight;
        })) << key;
        press(key);
        EXPECT_TRUE(becomes([&] { return window().width == width; })) << key;
    }
}

TEST_F(BrowserDisplayTest, GoesToTheFolderThatIsTyped)
{
    start();
    const TestFolder other;
    click(0.5, 0.042, {"click", "1", "key", "ctrl+a"});
    said({"xdotool", "type", other.path()});
    press("Return");
    EXPECT_TRUE(becomes([&] { return shownFolder() == other.path() + "\n"; }));
    EXPECT_THAT(frontTitle(), HasSubstr(fs::path(other.path()).filename().string() + " - Tevoro"));
}

TEST_F(BrowserDisplayTest, OpensThePictureThatIsDoubleClicked)
{
    start();
    click(0.1, 0.21, {"click", "--repeat", "2", "--delay", "50", "1"});
    EXPECT_TRUE(shows(Qt::red));
}

TEST_F(BrowserDisplayTest, EndsWithItsWindowAndLeavesTheBus)
{
    start();
    // Asks the desktop to close it, which may have missed the first key while it was busy.
    const std::string state = "/proc/" + std::to_string(tevoro->id()) + "/stat";
    EXPECT_TRUE(becomes([&] {
        said({"xdotool", "key", "alt+F4"});
        return read(state).find(") Z") != std::string::npos;
    }));
    EXPECT_EQ(tevoro->finish(), 0);
    EXPECT_TRUE(leftNothing());
}

TEST_F(BrowserDisplayTest, ComesToTheFrontWhenAScriptShowsAFolder)
{
    start();
    const auto other = startTevoro({"--as", "other-1.0"});
    const TestFolder elsewhere;
    const std::string script = "app.browseTo(\"" + elsewhere.path() + "\"); 'done'";
    EXPECT_EQ(run({"send", "tevoro-2.0", script, "--wait", "20"}).out, "done\n");
    EXPECT_TRUE(becomes([&] { return frontProcess() == tevoro->id(); }));
    EXPECT_EQ(other->interrupt(), 130);
}

TEST_F(BrowserDisplayTest, EndsWithTheDisplayAndLeavesTheBus)
{
    start();
    EXPECT_TRUE(endsWithTheDisplay());
}

TEST_F(BrowserDisplayTest, EndsWithTheDisplayWhileThumbnailsAreMade)
{
    pictures.addOldCopies("a.png", kMany);
    for (int turn = 0; turn < 3; ++turn) {
        fs::remove_all(stored());
        makeDesktop();
        tevoro = startTevoro();
        ASSERT_TRUE(storesThumbnails());
        EXPECT_TRUE(endsWithTheDisplay());
    }
}

TEST_F(BrowserDisplayTest, EndsWithTheDisplayWhileADiskDoesNotAnswer)
{
    if (!canMount())
        GTEST_SKIP() << "mounting takes root, in no container that forbids it";
    pictures.addOldCopies("a.png", kMany);
    const OddMount disk("mirror",
        folder.path("disk"),
        {pictures.path().toStdString()},
        {"stuck=" + folder.path("stuck")});
    tevoro = startTevoroOn(folder.path("disk"));
    ASSERT_TRUE(storesThumbnails());
    folder.write("stuck", "");
    EXPECT_TRUE(endsWithTheDisplay());
    fs::remove(folder.path("stuck"));
    tevoro.reset();
}

} // namespace
} // namespace test
