#include "platform/common/services/ModuleLoader.h"

#include "platform/platforms/linux/services/PathType.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>

namespace Pt {

namespace {

std::string withoutSlashesAtEnd(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// "a/NAME.framework" holds "a/NAME.framework/NAME.so".
std::string fileInFolder(const std::string& folder)
{
    const std::string name = folder.substr(folder.find_last_of('/') + 1);
    return folder + "/" + moduleFileName(name.substr(0, name.find_last_of('.')));
}

// A name without a slash would be looked for in the system's library folders.
std::string asPath(const std::string& file)
{
    return file.find('/') == std::string::npos ? "./" + file : file;
}

// The file that the system has in memory there, by its whole path.
std::string mappedFileAt(const void* place)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, &begin, &end) != 2)
            continue;
        const auto address = reinterpret_cast<std::uintptr_t>(place);
        const std::size_t name = line.find('/');
        if (address >= begin && address < end)
            return name == std::string::npos ? std::string() : line.substr(name);
    }
    return {};
}

} // namespace

std::string moduleFileName(const std::string& name)
{
    return name + ".so";
}

std::string moduleFile(const std::string& path)
{
    const std::string plain = withoutSlashesAtEnd(path);
    std::string file = hasType(plain, S_IFDIR) ? fileInFolder(plain) : plain;
    // Asked before loading: opening a device or a pipe by mistake may block.
    return hasType(file, S_IFREG) ? file : std::string();
}

std::string ownModuleFolder()
{
    Dl_info info = {};
    const void* const here = reinterpret_cast<const void*>(&ownModuleFolder);
    if (::dladdr(here, &info) == 0 || info.dli_fname == nullptr)
        return {};
    // A name that is looked for in PATH or from the working folder could mean another file by now.
    const std::string name = *info.dli_fname == '/' ? info.dli_fname : mappedFileAt(here);
    std::error_code error;
    const auto file = std::filesystem::canonical(name, error);
    return error || name.empty() ? std::string() : file.parent_path().string();
}

ModuleHandle openModule(const std::string& file)
{
    // RTLD_NOW: a module that lacks a symbol fails here and not in the middle of its work.
    // RTLD_LOCAL: modules do not see each other's symbols.
    return ::dlopen(asPath(file).c_str(), RTLD_NOW | RTLD_LOCAL);
}

ModuleHandle openLoadedModule(const std::string& file)
{
    return ::dlopen(asPath(file).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
}

void closeModule(ModuleHandle handle)
{
    ::dlclose(handle);
}

void* moduleSymbol(ModuleHandle handle, const char* name)
{
    return ::dlsym(handle, name);
}

} // namespace Pt
