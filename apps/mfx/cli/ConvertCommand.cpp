#include "commandline/JsonLine.h"
#include "mfx/cli/Commands.h"
#include "mfx/cli/Places.h"
#include "mfx/cli/ProgressLine.h"
#include "mfx/cli/Reporting.h"
#include "mfx/cli/RequestFromOptions.h"
#include "mfx/engine/dng/FileConversion.h"
#include "mfx/engine/run/RateWindow.h"
#include "mfx/engine/sink/SinkModule.h"
#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

namespace mfx {

using namespace commandline;

namespace {

constexpr std::chrono::seconds kRateSpan{30}; // a file takes seconds

using Status = FileConversionStatus;

// What a script reads: three words, for a person reads the reasons.
const char* statusWord(Status status)
{
    if (status == Status::kOk)
        return "ok";
    return status == Status::kExists ? "exists" : "failed";
}

DNGForm formOf(const CommandLine& line)
{
    DNGForm form;
    form.preview = previewSize(line.dngPreview).value_or(form.preview);
    form.uncompressed = line.dngUncompressed;
    form.linear = line.dngLinear;
    form.embedsRaw = line.dngEmbedRaw;
    return form;
}

std::uint64_t sizeOf(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

class ConvertRun {
public:
    // Relative paths are resolved here: the run enters the program's own folder, from where they
    // would lead elsewhere, and the library's place leads to it.
    explicit ConvertRun(const CommandLine& line)
        : m_line(line)
        , m_target(absolutePath(line.target))
        , m_progress(!line.json && Pt::isTerminal(stderr))
    {
        for (const std::string& file : line.files) {
            m_paths.push_back(absolutePath(file));
            m_event.bytesTotal += sizeOf(m_paths.back());
        }
        m_event.itemsTotal = m_paths.size();
        m_event.phase = ProgressPhase::kConvert;
    }

    // The library first: where it is missing, nothing is made.
    ExitCode run()
    {
        std::filesystem::current_path(Pt::programFolder());
        const auto library = ConversionLibrary::load();
        if (!library)
            throw SystemPartError(
                text("$$$/Mfx/Convert/NoLibrary=the DNG conversion library is not installed"));
        std::optional<std::string> folder;
        if (!m_target.empty())
            folder = makePlace(m_target, Purpose::kTarget, false);
        convertAll(FileConversion(*library, formOf(m_line), std::move(folder)));
        tellSummary();
        return exitCode();
    }

private:
    // The library finishes the file in hand, and then an interrupt ends the run.
    void convertAll(const FileConversion& conversion)
    {
        for (std::size_t i = 0; i < m_paths.size() && !Pt::wasInterrupted(); ++i) {
            showProgress();
            const ConvertedFile result = conversion.convert(m_paths[i]);
            ++m_counts[result.status];
            ++m_event.itemsDone;
            m_event.bytesDone += sizeOf(m_paths[i]);
            tell(m_line.files[i], result);
        }
    }

    void showProgress()
    {
        const double rate = m_rate.add(RateWindow::Clock::now(), m_event.bytesDone);
        m_event.rate = static_cast<std::uint64_t>(rate);
        if (rate > 0)
            m_event.secondsLeft =
                static_cast<double>(m_event.bytesTotal - m_event.bytesDone) / rate;
        m_progress.show(m_event);
    }

    void tell(const std::string& file, const ConvertedFile& result)
    {
        const std::string name = Pt::displayName(file);
        const std::string dng = Pt::displayName(result.dng.value_or(""));
        if (m_line.json) {
            printJson({{"event", "item"},
                {"name", name},
                {"dng", result.dng ? Json(dng) : Json(nullptr)},
                {"status", statusWord(result.status)},
                {"error", result.error.empty() ? Json(nullptr) : Json(result.error)}});
            return;
        }
        m_progress.clear();
        if (!result.error.empty())
            printMessage(text("$$$/Mfx/Download/ItemProblem=%1: %2", {name, result.error}));
        else
            printLine(text(result.status == Status::kExists
                    ? "$$$/Mfx/Download/ItemExists=%1 -> %2 (already present)"
                    : "$$$/Mfx/Download/ItemToSave=%1 -> %2",
                {Pt::terminalText(name), Pt::terminalText(dng)}));
    }

    std::size_t count(Status status) const
    {
        const auto found = m_counts.find(status);
        return found == m_counts.end() ? 0 : found->second;
    }

    std::size_t failed() const
    {
        return m_event.itemsDone - count(Status::kOk) - count(Status::kExists);
    }

    void tellSummary()
    {
        m_progress.clear();
        if (m_line.json)
            printJson({{"event", "summary"},
                {"items", m_event.itemsTotal},
                {"converted", count(Status::kOk)},
                {"existing", count(Status::kExists)},
                {"failed", failed()},
                {"interrupted", Pt::wasInterrupted()}});
        else if (m_event.itemsTotal > 1)
            printLine(text("$$$/Mfx/Convert/Summary=converted: %1, already present: %2, not "
                           "converted: %3",
                {std::to_string(count(Status::kOk)),
                    std::to_string(count(Status::kExists)),
                    std::to_string(
                        m_event.itemsTotal - count(Status::kOk) - count(Status::kExists))}));
    }

    // What stands in the way of all files counts more than what one of them has.
    ExitCode exitCode() const
    {
        if (Pt::wasInterrupted() && m_event.itemsDone < m_event.itemsTotal)
            return ExitCode::kInterrupted;
        if (count(Status::kSystemPart) != 0)
            return ExitCode::kSystemPart;
        if (count(Status::kPlaceUnusable) != 0)
            return ExitCode::kPlaceUnusable;
        if (count(Status::kNotThere) == m_event.itemsTotal)
            return ExitCode::kNotThere;
        return failed() != 0 ? ExitCode::kPartly : ExitCode::kDone;
    }

    const CommandLine& m_line;
    const std::string m_target; // empty: beside each file
    std::vector<std::string> m_paths;
    ProgressLine m_progress;
    ProgressEvent m_event;
    RateWindow m_rate{kRateSpan, RateWindow::Clock::now()};
    std::map<Status, std::size_t> m_counts;
};

} // namespace

ExitCode runConvert(const CommandLine& line)
{
    return ConvertRun(line).run();
}

} // namespace mfx
