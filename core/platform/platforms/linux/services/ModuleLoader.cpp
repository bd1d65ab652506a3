#include "platform/common/services/ModuleLoader.h"

#include "platform/platforms/linux/services/PathType.h"

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
std::string fileInFolder(std::string const& folder)
{
    std::string const name = folder.substr(folder.find_last_of('/') + 1);
    return folder + "/" + name.substr(0, name.find_last_of('.')) + ".so";
}

// A name without a slash would be looked for in the system's library folders.
std::string asPath(std::string const& file)
{
    return file.find('/') == std::string::npos ? "./" + file : file;
}

} // namespace

std::string moduleFile(std::string const& path)
{
    std::string const plain = withoutSlashesAtEnd(path);
    std::string file = hasType(plain, S_IFDIR) ? fileInFolder(plain) : plain;
    return hasType(file, S_IFREG) ? file : std::string();
}

ModuleHandle openModule(std::string const& file)
{
    return ::dlopen(asPath(file).c_str(), RTLD_NOW | RTLD_LOCAL);
}

ModuleHandle openLoadedModule(std::string const& file)
{
    return ::dlopen(asPath(file).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
}

void closeModule(ModuleHandle handle)
{
    ::dlclose(handle);
}

void* moduleSymbol(ModuleHandle handle, char const* name)
{
    return ::dlsym(handle, name);
}

} // namespace Pt
