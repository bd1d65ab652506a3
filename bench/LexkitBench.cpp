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

void require(bool holds, std::string const& what)
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
    auto const word = [&] { return std::string(kWords[random() % kWords.size()]); };
    std::vector<Entry> entries;
    for (int number = 0; number < count; ++number) {
        std::string const section = word() + (number < 1000 ? "" : std::to_string(number % 97));
        std::string text = word();
        for (unsigned left = static_cast<unsigned>(random() % 7); left > 0; --left)
            text += ' ' + word();
        entries.push_back(
            {"/AppSource/" + section + '/' + word() + word() + std::to_string(number), text});
    }
    return entries;
}

std::string utf16Of(std::string const& ascii)
{
    Text const units(ascii.begin(), ascii.end());
    return {reinterpret_cast<char const*>(units.data()), units.size() * sizeof(char16_t)};
}

void write(fs::path const& path, std::string const& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    require(!file.flush().fail(), "cannot write " + path.string());
}

std::string read(fs::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string bytes(fs::file_size(path), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    require(file.good(), "cannot read " + path.string());
    return bytes;
}

void run(std::string const& command)
{
    require(std::system(command.c_str()) == 0, "failed: " + command); // NOLINT(cert-env33-c)
}

// The same texts for each contender, made by its own tools.
class Files {
public:
    Files(fs::path folder, std::vector<Entry> const& entries)
        : m_folder(std::move(folder))
    {
        fs::create_directories(m_folder);
        writeDictionaries(entries);
        writeCatalogue(entries);
        writeBundle(entries);
    }

    std::string path(char const* name) const { return (m_folder / name).string(); }

private:
    void writeDictionaries(std::vector<Entry> const& entries) const
    {
        std::string wide = utf16Of("");
        char16_t const mark = 0xFEFF;
        wide.append(reinterpret_cast<char const*>(&mark), sizeof mark);
        for (Entry const& entry : entries)
            wide += utf16Of("\"$$$" + entry.key + '=' + entry.text + "\"\n");
        write(m_folder / "text.dct", wide);
        lexkit::Dictionary dictionary;
        dictionary.Read(wide.data(), static_cast<int>(wide.size()), false);
        std::ostringstream units;
        dictionary.Compile(units, nullptr);
        write(m_folder / "binary16.dct", units.str());
        std::ostringstream bytes;
        lexkit::EncodingInfo const utf8(lexkit::EncodingInfo::kUTF8);
        dictionary.Compile(bytes, &utf8);
        write(m_folder / "binary8.dct", bytes.str());
    }

    void writeCatalogue(std::vector<Entry> const& entries) const
    {
        std::string xml = "<?xml version=\"1.0\"?><TS version=\"2.1\" language=\"de\"><context>"
                          "<name>App</name>";
        for (Entry const& entry : entries)
            xml += "<message><source>" + entry.key + "</source><translation>" + entry.text
                + "</translation></message>\n";
        write(m_folder / "catalogue.ts", xml + "</context></TS>");
        run(LRELEASE " -silent -nounfinished '" + path("catalogue.ts") + "'");
    }

    void writeBundle(std::vector<Entry> const& entries) const
    {
        std::string source = "bundle:table(nofallback) {\n";
        for (Entry const& entry : entries)
            source += '"' + entry.key + "\" { \"" + entry.text + "\" }\n";
        write(m_folder / "bundle.txt", source + "}\n");
        run(GENRB " -q -e UTF-8 -d '" + m_folder.string() + "' '" + path("bundle.txt") + "'");
    }

    fs::path m_folder;
};

double median(std::vector<double> values)
{
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

using Work = std::function<void()>;

// Median nanoseconds of each, taken in turn so that all meet the same machine.
std::vector<double> timesOf(int rounds, std::vector<Work> const& contenders)
{
    std::vector<std::vector<double>> times(contenders.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t at = 0; at < contenders.size(); ++at) {
            Clock::time_point const start = Clock::now();
            contenders[at]();
            times[at].push_back(
                std::chrono::duration<double, std::nano>(Clock::now() - start).count());
        }
    }
    std::vector<double> medians;
    std::transform(times.begin(), times.end(), std::back_inserter(medians), median);
    return medians;
}

// Keeps the compiler from leaving the work away.
std::size_t g_seen = 0;

class Contenders {
public:
    explicit Contenders(Files const& files)
    {
        lexkit::basic_ifstream<char> file(files.path("text.dct").c_str(), std::ios::binary);
        m_dictionary.Read(&file);
        require(m_dictionary.NumKeys() > 0, "no dictionary");
        require(
            m_translator.load(QString::fromStdString(files.path("catalogue.qm"))), "no catalogue");
        std::string const folder = fs::path(files.path("bundle.res")).parent_path().string();
        UErrorCode status = U_ZERO_ERROR;
        m_bundle = ures_openDirect(folder.c_str(), "bundle", &status);
        require(U_SUCCESS(status), "no resource bundle");
    }
    Contenders(Contenders const&) = delete;
    Contenders& operator=(Contenders const&) = delete;
    ~Contenders() { ures_close(m_bundle); }

    void askDictionary(char const* literal)
    {
        lexkit::ZString const text = m_dictionary.Lookup(literal, nullptr);
        unsigned short const* units = nullptr;
        unsigned long length = 0;
        text.GetInternalData(&units, &length);
        g_seen += length + (length > 0 ? units[0] : 0);
    }
    void askTranslator(char const* key, char const* fallback)
    {
        QString text = m_translator.translate("App", key);
        if (text.isNull())
            text = QString::fromUtf8(fallback);
        g_seen += static_cast<std::size_t>(text.size()) + text.utf16()[0];
    }
    void askBundle(char const* key, char const* fallback)
    {
        UErrorCode status = U_ZERO_ERROR;
        int32_t length = 0;
        UChar const* units = ures_getStringByKey(m_bundle, key, &length, &status);
        std::array<UChar, 256> buffer{};
        if (U_FAILURE(status)) {
            status = U_ZERO_ERROR;
            u_strFromUTF8(buffer.data(), 256, &length, fallback, -1, &status);
            units = buffer.data();
        }
        g_seen += static_cast<std::size_t>(length) + units[0];
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

std::vector<Question> makeQuestions(std::vector<Entry> const& entries, char const* ending)
{
    std::vector<Question> questions;
    for (Entry const& entry : entries)
        questions.push_back({"$$$" + entry.key + ending + "=Default text of a literal",
            entry.key + ending,
            "Default text of a literal"});
    std::shuffle(questions.begin(), questions.end(), std::mt19937(2));
    return questions;
}

void measureLookups(char const* name,
    Contenders& contenders,
    std::vector<Question> const& questions,
    char const* wanted)
{
    auto const all = [&](auto ask) {
        return [&questions, ask] {
            for (Question const& question : questions)
                ask(question);
        };
    };
    std::vector<double> const times = timesOf(kLookupRounds,
        {
            all([&](Question const& q) { contenders.askDictionary(q.literal.c_str()); }),
            all([&](Question const& q) {
                contenders.askTranslator(q.key.c_str(), q.fallback.c_str());
            }),
            all([&](Question const& q) {
                contenders.askBundle(q.key.c_str(), q.fallback.c_str());
            }),
        });
    auto const count = static_cast<double>(questions.size());
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

void showChains(std::vector<Entry> const& entries)
{
    std::vector<unsigned long> chains(1021);
    for (Entry const& entry : entries)
        ++chains[lexkit_private::ByteRunKey(entry.key.data(), entry.key.size(), false).Hash(1021)];
    double walked = 0; // items that walking the chain to each key would meet
    for (unsigned long const length : chains)
        walked += static_cast<double>(length) * static_cast<double>(length + 1) / 2;
    std::printf("{\"row\":\"chains/%zu\",\"empty\":%td,\"longest\":%lu,\"mean_walk\":%.1f}\n",
        entries.size(),
        std::count(chains.begin(), chains.end(), 0ul),
        *std::max_element(chains.begin(), chains.end()),
        walked / static_cast<double>(entries.size()));
}

using Map = std::unordered_map<std::string, Text>;

// The plainest way from the text file to a table: no escapes, no rules for quote marks.
void fillMap(Map& map, std::string const& path)
{
    std::string const bytes = read(path);
    Text text(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    for (std::size_t at = 1; at < text.size();) {
        std::size_t const end = text.find(u'\n', at);
        std::size_t const equals = text.find(u'=', at);
        std::string const key(text.begin() + static_cast<std::ptrdiff_t>(at + 4),
            text.begin() + static_cast<std::ptrdiff_t>(equals));
        map[key] = text.substr(equals + 1, end - equals - 2);
        at = end + 1;
    }
}

void readAsStream(lexkit::Dictionary& dictionary, std::string const& path)
{
    lexkit::basic_ifstream<char> file(path.c_str(), std::ios::binary);
    dictionary.Read(&file);
}

void readAsBlock(lexkit::Dictionary& dictionary, std::string const& path)
{
    std::string const bytes = read(path);
    dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
}

void measureLoading(Files const& files, std::size_t count)
{
    using Reading = void (*)(lexkit::Dictionary&, std::string const&);
    struct Row {
        char const* name;
        char const* file;
        Reading reading;
        char const* wanted;
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
    for (Row const& row : kRows)
        work.push_back([&] {
            dictionaries.push_back(std::make_unique<lexkit::Dictionary>());
            row.reading(*dictionaries.back(), files.path(row.file));
            require(dictionaries.back()->HasKey("$$$none", nullptr) == false, "a key too many");
        });
    std::vector<double> const times = timesOf(kLoadRounds, work);
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
    auto const info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void measureMemory(Files const& files, std::vector<Entry> const& entries)
{
    double sum = 0;
    for (Entry const& entry : entries)
        sum += static_cast<double>(entry.key.size() + entry.text.size() * sizeof(char16_t));
    for (char const* const name : {"text.dct", "binary16.dct"}) {
        double const before = heapBytes();
        lexkit::Dictionary dictionary;
        readAsStream(dictionary, files.path(name));
        double const taken = heapBytes() - before;
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
    fs::path const folder =
        argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path() / "lexkit-bench";
    {
        std::vector<Entry> const entries = makeEntries(1000);
        Files const files(folder / "1000", entries);
        Contenders contenders(files);
        measureLookups("hit", contenders, makeQuestions(entries, ""), kWanted);
        measureLookups("miss", contenders, makeQuestions(entries, "/None"), kWanted);
    }
    {
        std::vector<Entry> const entries = makeEntries(50000);
        Files const files(folder / "50000", entries);
        measureMemory(files, entries);
        showChains(entries);
        measureLoading(files, entries.size());
        Contenders contenders(files);
        measureLookups("hit", contenders, makeQuestions(entries, ""), "to see");
    }
    fs::remove_all(folder);
    return g_seen > 0 ? 0 : 1;
}
