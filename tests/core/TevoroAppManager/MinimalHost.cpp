// The least that a host does: loads the plug-in, asks its name and opens its sink, and prints the
// file types that the sink takes. docs/host-contract.md quotes this file.

#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "TevoroAppManager/contract/FxRef.h"
#include "TevoroAppManager/contract/IFxPlugin.h"
#include "TevoroAppManager/contract/ISource.h"
#include "TevoroAppManager/contract/ISourceManager.h"
#include "TevoroAppManager/contract/sink/ISinkCapabilities.h"

#include <filesystem>
#include <iostream>
#include <stdexcept>

#include <dlfcn.h>

void require(bool holds, const char* what)
{
    if (!holds)
        throw std::runtime_error(what);
}

// Asks an object for another of its interfaces.
template <typename Interface, typename Object>
FxRef<Interface> query(Object& object, long id)
{
    void* out = nullptr;
    require(object.QueryInterface(id, &out) == 1, "the plug-in lacks an interface");
    return FxRef<Interface>(static_cast<Interface*>(out));
}

void print(const unsigned short* text) // names and extensions here are ASCII
{
    for (; *text != 0; ++text)
        std::cout << static_cast<char>(*text);
    std::cout << '\n';
}

FxRef<IFxPlugin> load(const char* path)
{
    void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL); // stays loaded
    require(module != nullptr, "the plug-in cannot be loaded");
    const auto main = reinterpret_cast<FxPluginMainFunction>(dlsym(module, kFxPluginMainName));
    void* plugin = nullptr;
    require(main && main(&plugin) == 1, "the plug-in does not open");
    return FxRef<IFxPlugin>(static_cast<IFxPlugin*>(plugin));
}

FxRef<ISource> openSink(ISourceManager& manager)
{
    FxRef<IEnumSource> sources;
    require(manager.Init() == kFxOk, "Init");
    require(manager.EnumSources(sources.receive()) == kFxOk, "EnumSources");
    CPropSource record;
    record.tag = kFxTagSource;
    record.size = kFxSizeSource;
    require(sources->Next(&record) == kFxOk, "Next");
    FxRef<ISource> sink;
    require(manager.CreateSource(record.name, sink.receive()) == kFxOk, "CreateSource");
    return sink;
}

void printFormats(ISource& sink)
{
    unsigned short rawExtensions[] = {'n', 'e', 'f', ',', 'c', 'r', '3', 0};
    const auto capabilities = query<ISinkCapabilities2>(sink, kFxIdSinkCapabilities2);
    capabilities->SetRDXSupportedExtensions(rawExtensions);
    capabilities->SetZQPluginSupportedExtensions(rawExtensions);
    IFileFormat* list = nullptr;
    require(capabilities->GetSupportedFileFormatList(list) == kFxOk, "the list of file types");
    const FxRef<IFileFormat> formats(list);
    CPropFileFormat format;
    format.tag = kFxTagFileFormat;
    format.size = kFxSizeFileFormat;
    formats->Reset();
    while (formats->GetFormat(format) == kFxOk)
        print(format.extension);
}

int main(int argc, char** argv)
try {
    require(argc == 2, "usage: minimal-host .../lib/mfx/plugins/TevoroAppManager.so");
    const auto path = std::filesystem::canonical(argv[1]);
    std::filesystem::current_path(path.parent_path()); // "../shared_assets" leads on from here
    const FxRef<IFxPlugin> plugin = load(path.c_str());
    unsigned short name[261] = {}; // one more than is ever written: always terminated
    plugin->GetPluginName(name, 260);
    print(name);
    const auto manager = query<ISourceManager>(*plugin, kFxIdSourceManager);
    printFormats(*openSink(*manager));
    return 0;
} catch (const std::exception& error) {
    std::cerr << "minimal-host: " << error.what() << '\n';
    return 1;
}
