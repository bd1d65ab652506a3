// The plug-in as a host meets it:
//
//   plugin/start            loading the module, Init, EnumSources, CreateSource, in a process that
//                           has loaded Qt already
//   plugin/get-preferences  GetPreferences from the store that ships, panel not bound
//   plugin/set-preferences  SetPreferences into it, with the flush to disk
//   plugin/unique-name      a free name beside 5,000 clashing ones, with a good first index
//   plugin/caption          GetCustomUICaption: one text out of the German dictionary that ships
//   texts/hit-300           PtZString::getZString for each key of a dictionary with 300 texts
//
// Each row is one JSON object with the median of the runs in milliseconds, of texts in microseconds
// for one text.
//
// Usage: plugin_bench BIN_FOLDER_OF_A_STAGE, which is its lib/mfx/bin

#include "TemporaryFolder.h"
#include "TevoroAppManager/UniqueFileName.h"
#include "TevoroAppManager/contract/CPropAppPreferences.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "TevoroAppManager/contract/FxRef.h"
#include "TevoroAppManager/contract/IFxPlugin.h"
#include "TevoroAppManager/contract/ISource.h"
#include "TevoroAppManager/contract/ISourceManager.h"
#include "TevoroAppManager/contract/sink/ISinkUICapabilities.h"
#include "TevoroAppManager/contract/sink/ISinkUtilHandler.h"
#include "platform/common/services/PtModule.h"
#include "platform/common/text/PtUnicode.h"
#include "strings/PtZString.h"

#include <QApplication>
#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double milliseconds(const std::function<void()>& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void row(const char* name, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    std::printf("{\"name\":\"%s\",\"median_ms\":%.3f,\"first_ms\":%.3f,\"runs\":%zu}\n",
        name,
        times[times.size() / 2],
        times.front(),
        times.size());
}

// Microseconds for one of `count` texts that one run of work shows.
void textRow(const char* name, int count, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < 401; ++i)
        times.push_back(milliseconds(work) * 1000 / count);
    std::sort(times.begin(), times.end());
    std::printf("{\"name\":\"%s\",\"median_us\":%.3f,\"first_us\":%.3f,\"wanted\":\"below 1\"}\n",
        name,
        times[times.size() / 2],
        times.front());
}

FxRef<ISource> openSource()
{
    const PtModuleRef module = PtLoadLibrary(Pt::toUtf16("../plugins/TevoroAppManager.so").c_str());
    const auto entry =
        reinterpret_cast<FxPluginMainFunction>(PtGetProcAddress(module, kFxPluginMainName));
    void* plugin = nullptr;
    entry(&plugin);
    const FxRef<IFxPlugin> owner(static_cast<IFxPlugin*>(plugin));
    void* face = nullptr;
    owner->QueryInterface(kFxIdSourceManager, &face);
    const FxRef<ISourceManager> manager(static_cast<ISourceManager*>(face));
    manager->Init();
    FxRef<IEnumSource> sources;
    manager->EnumSources(sources.receive());
    CPropSource record;
    record.tag = kFxTagSource;
    record.size = kFxSizeSource;
    sources->Next(&record);
    FxRef<ISource> source;
    manager->CreateSource(record.name, source.receive());
    return source;
}

void releaseStrings(CPropAppPreferences3& record)
{
    for (IEnumArbitraryData** text : {&record.templateName,
             &record.authorName,
             &record.copyright,
             &record.mobileFolder,
             &record.batchRename}) {
        if (*text)
            (*text)->Release();
        *text = nullptr;
    }
}

void measurePreferences(ISource& source)
{
    void* face = nullptr;
    source.QueryInterface(kFxIdSinkUtilHandler2, &face);
    const FxRef<ISinkUtilHandler2> preferences(static_cast<ISinkUtilHandler2*>(face));
    CPropAppPreferences3 record;
    record.tag = kFxTagAppPreferences;
    record.size = kFxSizeAppPreferences;
    std::vector<double> get;
    std::vector<double> set;
    for (int i = 0; i < 101; ++i) {
        record.renameSequenceNumber = i;
        set.push_back(milliseconds([&] { preferences->SetPreferences(record); }));
        get.push_back(milliseconds([&] { preferences->GetPreferences(record); }));
        releaseStrings(record);
    }
    row("plugin/get-preferences", get);
    row("plugin/set-preferences", set);
}

void measureUniqueName(const fs::path& folder)
{
    std::ofstream(folder / "IMG_1.jpg") << 1;
    for (int i = 1; i < 5000; ++i)
        std::ofstream(folder / ("IMG_1-" + std::to_string(i) + ".jpg")) << 1;
    std::vector<double> times;
    for (int i = 0; i < 51; ++i) {
        QString name;
        times.push_back(milliseconds([&] {
            generateUniqueFileName(QString::fromStdString(folder.string()),
                QStringLiteral("IMG_1.jpg"),
                name,
                5000,
                true);
        }));
    }
    row("plugin/unique-name", times);
}

void measureTexts(ISource& source, const fs::path& folder)
{
    void* face = nullptr;
    source.QueryInterface(kFxIdSinkUICapabilities, &face);
    const FxRef<ISinkUICapabilities> panel(static_cast<ISinkUICapabilities*>(face));
    unsigned short caption[260];
    constexpr int kCaptions = 1000;
    textRow("plugin/caption", kCaptions, [&] {
        for (int i = 0; i < kCaptions; ++i)
            panel->GetCustomUICaption(caption, 260);
    });
    constexpr int kTexts = 300;
    std::vector<QString> literals;
    std::ofstream file(folder / "300.dct");
    for (int i = 0; i < kTexts; ++i) {
        const std::string key = "\"$$$/AppSource/Section" + std::to_string(i % 7) + "/Name"
            + std::to_string(i * 37) + "=";
        file << key << "Der Text mit der Nummer " << i << "\"\n";
        literals.push_back(QString::fromStdString(key.substr(1) + "The text of that number"));
    }
    file.close();
    if (!PtZString::appendZStringDict(QString::fromStdString((folder / "300.dct").string()))
        || !PtZString::getZString(literals.back()).startsWith(QLatin1String("Der "))) {
        std::fprintf(stderr, "plugin_bench: the dictionary was not read\n");
        std::exit(1);
    }
    textRow("texts/hit-300", kTexts, [&] {
        for (const QString& literal : literals)
            PtZString::getZString(literal);
    });
    PtZString::closeZStringDict();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s BIN_FOLDER_OF_A_STAGE\n", argv[0]);
        return 2;
    }
    const bench::TemporaryFolder folder("plugin-bench");
    ::setenv("MFX_APPLICATION_DATA", folder.path().c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    ::setenv("LC_ALL", "de_DE.UTF-8", 1); // a dictionary is open
    std::error_code error;
    fs::current_path(argv[1], error);
    if (error || !fs::exists("../plugins/TevoroAppManager.so")) {
        std::fprintf(stderr, "%s: no plug-in beside %s\n", argv[0], argv[1]);
        return 1;
    }
    const QApplication application(argc, argv);
    FxRef<ISource> source;
    row("plugin/start", {milliseconds([&source] { source = openSource(); })});
    measurePreferences(*source);
    measureUniqueName(folder.path());
    measureTexts(*source, folder.path());
    source.reset();
    return 0;
}
