// A program to try the library of failing file calls on: makes one call of each kind below the
// folder it is given, goes on whatever fails, and prints a line "NAME ERROR" for each failure. With
// "leave" as second argument it ends by _exit.

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

template <typename Result>
Result tell(const char* name, Result result)
{
    if (result == -1)
        std::printf("%s %d\n", name, errno);
    return result;
}

void writeFile(const std::string& path)
{
    const int file = tell("open", ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
    if (tell("write", ::write(file, "0123456789", 10)) == 5)
        std::printf("short 5\n");
    tell("pwrite", ::pwrite(file, "x", 1, 10));
    tell("fchmod", ::fchmod(file, 0640));
    const timespec times[2] = {{1, 0}, {2, 0}};
    tell("futimens", ::futimens(file, times));
    tell("fdatasync", ::fdatasync(file));
    tell("fsync", ::fsync(file));
    tell("close", ::close(file));
}

void readFile(const std::string& path)
{
    const int file = tell("open", ::open64(path.c_str(), O_RDONLY));
    std::array<char, 32> text{};
    if (tell("read", ::read(file, text.data(), text.size())) >= 0)
        std::printf("text %s\n", text.data());
    tell("close", ::close(file));
}

// Neither a path nor a descriptor of the folder: not counted.
void workElsewhere()
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0 || ::write(ends[1], "a", 1) != 1)
        std::printf("pipe %d\n", errno);
    std::array<char, 1> byte{};
    if (::read(ends[0], byte.data(), 1) != 1)
        std::printf("pipe %d\n", errno);
    ::close(ends[0]);
    ::close(ends[1]);
    ::close(::open("/dev/null", O_RDONLY));
}

void work(const std::string& root)
{
    const std::string folder = root + "/./folder";
    tell("mkdir", ::mkdir(folder.c_str(), 0700));
    writeFile(folder + "/a");
    tell("rename", ::rename((folder + "/a").c_str(), (folder + "/b").c_str()));
    tell("renameat2",
        ::renameat2(AT_FDCWD, (folder + "/b").c_str(), AT_FDCWD, (folder + "/c").c_str(), 1));
    tell("link", ::link((folder + "/c").c_str(), (folder + "/d").c_str()));
    readFile(folder + "/c");
    workElsewhere();
    tell("unlink", ::unlink((folder + "/c").c_str()));
    tell("unlink", ::unlink((folder + "/d").c_str()));
    tell("rmdir", ::rmdir(folder.c_str()));
}

// The same counts for paths that begin at a descriptor or at the working folder.
void workRelatively(const std::string& root)
{
    if (::chdir(root.c_str()) != 0)
        return;
    const int folder = tell("open", ::open(".", O_RDONLY | O_DIRECTORY));
    const int file = tell("open", ::openat(folder, "near", O_WRONLY | O_CREAT, 0600));
    char text[] = "ab";
    const std::array<iovec, 2> pieces{iovec{text, 1}, iovec{text + 1, 1}};
    tell("write", ::writev(file, pieces.data(), 2));
    tell("close", ::close(file));
    tell("unlink", ::unlinkat(folder, "near", 0));
    tell("close", ::close(folder));
}

} // namespace

int main(int count, char* arguments[])
{
    if (count < 2)
        return 2;
    work(arguments[1]);
    workRelatively(arguments[1]);
    std::fflush(stdout);
    if (count > 2 && std::string_view(arguments[2]) == "leave")
        ::_exit(0);
    return 0;
}
