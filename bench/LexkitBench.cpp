// String dictionaries against what else gives texts by key, in one run:
//
//   lookup/1000/hit     a text that is there, as UTF-16 in hand, beside a compiled catalogue of
//                       QTranslator and an ICU resource bundle with the same keys
//   lookup/1000/miss    the default text, as UTF-16 in hand, where the key is nowhere
//   lookup/50000/hit    the same with 50,000 texts, beside the chains of the 1021 buckets
//   load/...            50,000 texts read from a file, beside filling a std::unordered_map from the
//                       text file: text form, and binary form in both encodings
//   memory/50000        what the dictionary takes, beside the bytes of its keys and values
//
// Each row is one JSON object with medians and the ratios that matter; "wanted" says what for.
// Usage: lexkit_bench [FOLDER]; the folder, by default one in the system's temporary place, is made
// and removed.

#include "Median.h"
#include "lexkit/Dictionary.h"
#include "lexkit/basic_ifstream.h"
#include "lexkit/private/ByteRunKey.h"

#include <QString>
#include <QTranslator>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include <malloc.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Text = std::u16string;

constexpr int kLookupRounds = 401; // odd: the median is one of them
constexpr char kWanted[] = "at most 0.5 and 1"; // of the peers' times
constexpr int kLoadRounds = 25;

void require(bool holds, const std::string& what)
{
    if (holds)
        return;
    std::fprintf(stderr, "lexkit_bench: %s\n", what.c_str());
    std::exit(1);
}

struct Entry {
    std::string key; // "/AppSource/Section/Name"
    std::string text; // as a file of a translator has it
};

// Keys with a common shape, texts of the lengths of menus and messages.
std::vector<Entry> makeEntries(int count)
{
    static constexpr std::array kWords{"Download",
        "Copy",
        "Folder",
        "Photo",
        "Delete",
        "Rename",
        "Preview",
        "Camera",
        "Card",
        "Original",
        "Backup",
        "Message",
        "Button",
        "Title",
        "Choose",
        "Failed",
        "Progress",
        "Settings",
        "Name",
        "Date"};
    std::mt19937 random(1);
    const auto word = [&] { return std::string(kWords[random() % kWords.size()]); };
    std::vector<Entry> entries;
    for (int number = 0; number < count; ++number) {
        const std::string section = word() + (number < 1000 ? "" : std::to_string(number % 97));
        std::string text = word();
        for (unsigned left = static_cast<unsigned>(random() % 7); left > 0; --left)
            text += ' ' + word();
        entries.push_back(
            {"/AppSource/" + section + '/' + word() + word() + std::to_string(number), text});
    }
    return entries;
}

std::string utf16Of(const std::string& ascii)
{
    const Text units(ascii.begin(), ascii.end());
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
}

void write(const fs::path& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    require(!file.flush().fail(), "cannot write " + path.string());
}

std::string read(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string bytes(fs::file_size(path), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    require(file.good(), "cannot read " + path.string());
    return bytes;
}

void run(const std::string& command)
{
    require(std::system(command.c_str()) == 0, "failed: " + command); // NOLINT(cert-env33-c)
}

// The same texts for each contender, made by its own tools.
class Files {
public:
    Files(fs::path folder, const std::vector<Entry>& entries)
        : m_folder(std::move(folder))
    {
        fs::create_directories(m_folder);
        writeDictionaries(entries);
        writeCatalogue(entries);
        writeBundle(entries);
    }

    std::string path(const char* name) const { return (m_folder / name).string(); }

private:
    void writeDictionaries(const std::vector<Entry>& entries) const
    {
        std::string wide = utf16Of("");
        const char16_t mark = 0xFEFF;
        wide.append(reinterpret_cast<const char*>(&mark), sizeof mark);
        for (const Entry& entry : entries)
            wide += utf16Of("\"$$$" + entry.key + '=' + entry.text + "\"\n");
        write(m_folder / "text.dct", wide);
        lexkit::Dictionary dictionary;
        dictionary.Read(wide.data(), static_cast<int>(wide.size()), false);
        std::ostringstream units;
        dictionary.Compile(units, nullptr);
        write(m_folder / "binary16.dct", units.str());
        std::ostringstream bytes;
        const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8);
        dictionary.Compile(bytes, &utf8);
        write(m_folder / "binary8.dct", bytes.str());
    }

    void writeCatalogue(const std::vector<Entry>& entries) const
    {
        std::string xml = "<?xml version=\"1.0\"?><TS version=\"2.1\" language=\"de\"><context>"
                          "<name>App</name>";
        for (const Entry& entry : entries)
            xml += "<message><source>" + entry.key + "</source><translation>" + entry.text
                + "</translation></message>\n";
        write(m_folder / "catalogue.ts", xml + "</context></TS>");
        run(LRELEASE " -silent -nounfinished '" + path("catalogue.ts") + "'");
    }

    void writeBundle(const std::vector<Entry>& entries) const
    {
        std::string source = "bundle:table(nofallback) {\n";
        for (const Entry& entry : entries)
            source += '"' + entry.key + "\" { \"" + entry.text + "\" }\n";
        write(m_folder / "bundle.txt", source + "}\n");
        run(GENRB " -q -e UTF-8 -d '" + m_folder.string() + "' '" + path("bundle.txt") + "'");
    }

    fs::path m_folder;
};

using Work = std::function<void()>;

// Median nanoseconds of each, taken in turn so that all meet the same machine.
std::vector<double> timesOf(int rounds, const std::vector<Work>& contenders)
{
    std::vector<std::vector<double>> times(contenders.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t at = 0; at < contenders.size(); ++at) {
            const Clock::time_point start = Clock::now();
            contenders[at]();
            times[at].push_back(
                std::chrono::duration<double, std::nano>(Clock::now() - start).count());
        }
    }
    std::vector<double> medians;
    std::transform(times.begin(), times.end(), std::back_inserter(medians), bench::median);
    return medians;
}

// Keeps the compiler from leaving the work away.
std::size_t gSeen = 0;

class Contenders {
public:
    explicit Contenders(const Files& files)
    {
        lexkit::basic_ifstream<char> file(files.path("text.dct").c_str(), std::ios::binary);
        m_dictionary.Read(&file);
        require(m_dictionary.NumKeys() > 0, "no dictionary");
        require(
            m_translator.load(QString::fromStdString(files.path("catalogue.qm"))), "no catalogue");
        const std::string folder = fs::path(files.path("bundle.res")).parent_path().string();
        UErrorCode status = U_ZERO_ERROR;
        m_bundle = ures_openDirect(folder.c_str(), "bundle", &status);
        require(U_SUCCESS(status), "no resource bundle");
    }
    Contenders(const Contenders&) = delete;
    Contenders& operator=(const Contenders&) = delete;
    ~Contenders() { ures_close(m_bundle); }

    void askDictionary(const char* literal)
    {
        const lexkit::ZString text = m_dictionary.Lookup(literal, nullptr);
        const unsigned short* units = nullptr;
        unsigned long length = 0;
        text.GetInternalData(&units, &length);
        gSeen += length + (length > 0 ? units[0] : 0);
    }
    void askTranslator(const char* key, const char* fallback)
    {
        QString text = m_translator.translate("App", key);
        if (text.isNull())
            text = QString::fromUtf8(fallback);
        gSeen += static_cast<std::size_t>(text.size()) + text.utf16()[0];
    }
    void askBundle(const char* key, const char* fallback)
    {
        UErrorCode status = U_ZERO_ERROR;
        int32_t length = 0;
        const UChar* units = ures_getStringByKey(m_bundle, key, &length, &status);
        std::array<UChar, 256> buffer{};
        if (U_FAILURE(status)) {
            status = U_ZERO_ERROR;
            u_strFromUTF8(buffer.data(), 256, &length, fallback, -1, &status);
            units = buffer.data();
        }
        gSeen += static_cast<std::size_t>(length) + units[0];
    }

private:
    lexkit::Dictionary m_dictionary;
    QTranslator m_translator;
    UResourceBundle* m_bundle = nullptr;
};

// What programs hold: literals, and for the others the key and the default apart.
struct Question {
    std::string literal;
    std::string key;
    std::string fallback;
};

std::vector<Question> makeQuestions(const std::vector<Entry>& entries, const char* ending)
{
    std::vector<Question> questions;
    for (const Entry& entry : entries)
        questions.push_back({"$$$" + entry.key + ending + "=Default text of a literal",
            entry.key + ending,
            "Default text of a literal"});
    std::shuffle(questions.begin(), questions.end(), std::mt19937(2));
    return questions;
}

void measureLookups(const char* name,
    Contenders& contenders,
    const std::vector<Question>& questions,
    const char* wanted)
{
    const auto all = [&](auto ask) {
        return [&questions, ask] {
            for (const Question& question : questions)
                ask(question);
        };
    };
    const std::vector<double> times = timesOf(kLookupRounds,
        {
            all([&](const Question& q) { contenders.askDictionary(q.literal.c_str()); }),
            all([&](const Question& q) {
                contenders.askTranslator(q.key.c_str(), q.fallback.c_str());
            }),
            all([&](const Question& q) {
                contenders.askBundle(q.key.c_str(), q.fallback.c_str());
            }),
        });
    const auto count = static_cast<double>(questions.size());
    std::printf("{\"row\":\"lookup/%zu/%s\",\"lexkit_ns\":%.1f,\"qtranslator_ns\":%.1f,"
                "\"icu_ns\":%.1f,\"to_qtranslator\":%.2f,\"to_icu\":%.2f,"
                "\"wanted\":\"%s\"}\n",
        questions.size(),
        name,
        times[0] / count,
        times[1] / count,
        times[2] / count,
        times[0] / times[1],
        times[0] / times[2],
        wanted);
}

void showChains(const std::vector<Entry>& entries)
{
    std::vector<unsigned long> chains(1021);
    for (const Entry& entry : entries)
        ++chains[lexkit_private::ByteRunKey(entry.key.data(), entry.key.size(), false).Hash(1021)];
    double walked = 0; // items that walking the chain to each key would meet
    for (const unsigned long length : chains)
        walked += static_cast<double>(length) * static_cast<double>(length + 1) / 2;
    std::printf("{\"row\":\"chains/%zu\",\"empty\":%td,\"longest\":%lu,\"mean_walk\":%.1f}\n",
        entries.size(),
        std::count(chains.begin(), chains.end(), 0ul),
        *std::max_element(chains.begin(), chains.end()),
        walked / static_cast<double>(entries.size()));
}

using Map = std::unordered_map<std::string, Text>;

// The plainest way from the text file to a table: no escapes, no rules for quote marks.
void fillMap(Map& map, const std::string& path)
{
    const std::string bytes = read(path);
    Text text(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    for (std::size_t at = 1; at < text.size();) {
        const std::size_t end = text.find(u'\n', at);
        const std::size_t equals = text.find(u'=', at);
        const std::string key(text.begin() + static_cast<std::ptrdiff_t>(at + 4),
            text.begin() + static_cast<std::ptrdiff_t>(equals));
        map[key] = text.substr(equals + 1, end - equals - 2);
        at = end + 1;
    }
}

void readAsStream(lexkit::Dictionary& dictionary, const std::string& path)
{
    lexkit::basic_ifstream<char> file(path.c_str(), std::ios::binary);
    dictionary.Read(&file);
}

void readAsBlock(lexkit::Dictionary& dictionary, const std::string& path)
{
    const std::string bytes = read(path);
    dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
}

void measureLoading(const Files& files, std::size_t count)
{
    using Reading = void (*)(lexkit::Dictionary&, const std::string&);
    struct Row {
        const char* name;
        const char* file;
        Reading reading;
        const char* wanted;
    };
    static constexpr std::array kRows{
        Row{"load/text/stream", "text.dct", readAsStream, "below 3"},
        Row{"load/text/block", "text.dct", readAsBlock, "below 3"},
        Row{"load/binary16/block", "binary16.dct", readAsBlock, "below 1"},
        Row{"load/binary8/block", "binary8.dct", readAsBlock, "below 1"},
        Row{"load/binary16/stream", "binary16.dct", readAsStream, "below 1"},
    };
    std::vector<Work> work;
    // Each keeps its table for the next round to end, so that no ending is measured.
    std::vector<std::unique_ptr<lexkit::Dictionary>> dictionaries;
    std::vector<std::unique_ptr<Map>> maps;
    work.push_back([&] {
        maps.push_back(std::make_unique<Map>());
        fillMap(*maps.back(), files.path("text.dct"));
        require(maps.back()->size() == count, "the map lacks texts");
    });
    for (const Row& row : kRows)
        work.push_back([&] {
            dictionaries.push_back(std::make_unique<lexkit::Dictionary>());
            row.reading(*dictionaries.back(), files.path(row.file));
            require(dictionaries.back()->HasKey("$$$none", nullptr) == false, "a key too many");
        });
    const std::vector<double> times = timesOf(kLoadRounds, work);
    for (std::size_t at = 0; at < kRows.size(); ++at)
        std::printf("{\"row\":\"%s\",\"lexkit_ms\":%.2f,\"map_ms\":%.2f,\"to_map\":%.2f,"
                    "\"wanted\":\"%s\"}\n",
            kRows[at].name,
            times[at + 1] / 1e6,
            times[0] / 1e6,
            times[at + 1] / times[0],
            kRows[at].wanted);
}

double heapBytes()
{
    const auto info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void measureMemory(const Files& files, const std::vector<Entry>& entries)
{
    double sum = 0;
    for (const Entry& entry : entries)
        sum += static_cast<double>(entry.key.size() + entry.text.size() * sizeof(char16_t));
    for (const char* const name : {"text.dct", "binary16.dct"}) {
        const double before = heapBytes();
        lexkit::Dictionary dictionary;
        readAsStream(dictionary, files.path(name));
        const double taken = heapBytes() - before;
        std::printf("{\"row\":\"memory/%zu/%s\",\"bytes\":%.0f,\"keys_and_values\":%.0f,"
                    "\"to_sum\":%.2f,\"wanted\":\"below 3\"}\n",
            entries.size(),
            name,
            taken,
            sum,
            taken / sum);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const fs::path folder =
        argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "lexkit-bench";
    {
        const std::vector<Entry> entries = makeEntries(1000);
        const Files files(folder / "1000", entries);
        Contenders contenders(files);
        measureLookups("hit", contenders, makeQuestions(entries, ""), kWanted);
        measureLookups("miss", contenders, makeQuestions(entries, "/None"), kWanted);
    }
    {
        const std::vector<Entry> entries = makeEntries(50000);
        const Files files(folder / "50000", entries);
        measureMemory(files, entries);
        showChains(entries);
        measureLoading(files, entries.size());
        Contenders contenders(files);
        measureLookups("hit", contenders, makeQuestions(entries, ""), "to see");
    }
    fs::remove_all(folder);
    return gSeen > 0 ? 0 : 1;
}
