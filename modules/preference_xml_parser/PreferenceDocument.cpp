#include "preference_xml_parser/PreferenceDocument.h"

#include "preference_xml_parser/Base64.h"
#include "preference_xml_parser/PreferenceText.h"

#include <charconv>
#include <new>
#include <utility>

namespace preferences {
namespace {

constexpr char kRootName[] = "preferences";
constexpr char kValueName[] = "value";
constexpr char kBytesName[] = "bytes";
constexpr char kVersion[] = "1.0";
constexpr unsigned int kMajorVersion = 1;

// A value stands at depth 1; deeper trees are somebody's future. The bound keeps the parser
// library's recursive removal of nodes from using up the stack.
constexpr int kDeepestNode = 64;

// Keep all that is in the file, text outside the root too, so that it can be refused. White space
// counts where it is all that an element holds.
constexpr unsigned int kParsing =
    pugi::parse_full | pugi::parse_ws_pcdata_single | pugi::parse_fragment;

// Empty elements get two tags, because an empty value is a value.
constexpr unsigned int kFormatting = pugi::format_indent | pugi::format_no_empty_element_tags;

// The parser library tells of a lack of memory by results.
template <typename Result>
Result allocated(Result result)
{
    if (!result)
        throw std::bad_alloc();
    return result;
}

// Looks at every node: no document type, no depth beyond the bound, and nothing that a reference
// like &#xD800; has put into the tree although it cannot be written into a file again.
class TreeCheck final : public pugi::xml_tree_walker {
public:
    bool for_each(pugi::xml_node& node) override
    {
        bool sound = depth() <= kDeepestNode && node.type() != pugi::node_doctype
            && isXmlText(node.name()) && isXmlText(node.value());
        for (const pugi::xml_attribute attribute : node.attributes())
            sound = sound && isXmlText(attribute.name()) && isXmlText(attribute.value());
        return sound;
    }
};

class StringWriter final : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& out)
        : m_out(out)
    {
    }

    void write(const void* bytes, std::size_t size) override
    {
        m_out.append(static_cast<const char*>(bytes), size);
    }

private:
    std::string& m_out;
};

// All line ends as XML reads them: a single line feed.
std::string withLineFeeds(std::string_view bytes)
{
    std::string result;
    result.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const bool beforeLineFeed = bytes.substr(at + 1, 1) == "\n";
        if (bytes[at] != '\r')
            result.push_back(bytes[at]);
        else if (!beforeLineFeed)
            result.push_back('\n');
    }
    return result;
}

// A return in the tree came from a reference, and the parser library writes it as it is.
std::string withReturnsAsReferences(const std::string& bytes)
{
    std::string result;
    result.reserve(bytes.size());
    for (const char byte : bytes)
        if (byte == '\r')
            result += "&#13;";
        else
            result.push_back(byte);
    return result;
}

bool isTopLevelSound(const pugi::xml_document& tree)
{
    int elements = 0;
    for (const pugi::xml_node node : tree.children()) {
        if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata)
            return false;
        elements += node.type() == pugi::node_element ? 1 : 0;
    }
    return elements == 1 && tree.child(kRootName);
}

bool parseTree(std::string_view bytes, pugi::xml_document& tree)
{
    // Checked before parsing: the parser library lets bytes pass that are no UTF-8.
    if (bytes.size() > kMaxFileLength || !isXmlText(bytes))
        return false;
    const std::string lines = withLineFeeds(bytes);
    const pugi::xml_parse_result result =
        tree.load_buffer(lines.data(), lines.size(), kParsing, pugi::encoding_utf8);
    // A lack of memory must not look like a damaged file, which would be put aside.
    if (result.status == pugi::status_out_of_memory)
        throw std::bad_alloc();
    TreeCheck check;
    return result && isTopLevelSound(tree) && tree.traverse(check);
}

// Takes a number off the front of text.
std::optional<unsigned int> takeNumber(std::string_view& text)
{
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

// The major number of "major.minor"; nothing when it reads otherwise. Major versions count from 1.
std::optional<unsigned int> majorVersion(std::string_view text)
{
    const std::optional<unsigned int> major = takeNumber(text);
    if (!major || *major == 0 || text.substr(0, 1) != ".")
        return std::nullopt;
    text.remove_prefix(1);
    return takeNumber(text) && text.empty() ? major : std::nullopt;
}

// An editor may have split the text, or have wrapped it as character data.
std::string textOf(pugi::xml_node node)
{
    std::string text;
    for (const pugi::xml_node child : node.children())
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            text += child.value();
    return text;
}

std::optional<std::u16string> keyOf(pugi::xml_node node)
{
    const pugi::xml_attribute key = node.attribute("key");
    // A key in an unknown encoding is left out of the index; its element stays in the tree and is
    // written back.
    const std::string_view encoding = node.attribute("keyEncoding").value();
    if (!key || (!encoding.empty() && encoding != "escaped"))
        return std::nullopt;
    return encoding.empty() ? utf16FromUtf8(key.value()) : unescapedText(key.value());
}

template <typename Text>
std::optional<PreferenceValue> asValue(std::optional<Text> text)
{
    return text ? std::optional<PreferenceValue>(*std::move(text)) : std::nullopt;
}

// Nothing for an encoding that is not known, or content that does not keep to it.
std::optional<PreferenceValue> valueOf(pugi::xml_node node)
{
    const std::string text = textOf(node);
    const std::string_view encoding = node.attribute("encoding").value();
    if (std::string_view(node.name()) == kValueName) {
        if (encoding == "escaped")
            return asValue(unescapedText(text));
        return encoding.empty() ? asValue(utf16FromUtf8(text)) : std::nullopt;
    }
    if (encoding == "base64")
        return asValue(bytesFromBase64(text));
    return encoding.empty() || encoding == "text" ? std::optional<PreferenceValue>(text)
                                                  : std::nullopt;
}

void setAttribute(pugi::xml_node node, const char* name, const char* value)
{
    pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute)
        attribute = allocated(node.append_attribute(name));
    allocated(attribute.set_value(value));
}

// An encoding of null takes the attribute away.
void setContent(pugi::xml_node node, const std::string& text, const char* encoding)
{
    if (encoding != nullptr)
        setAttribute(node, "encoding", encoding);
    else
        node.remove_attribute("encoding");
    // Comments inside the old value go with it.
    node.remove_children();
    if (!text.empty())
        allocated(allocated(node.append_child(pugi::node_pcdata)).set_value(text.c_str()));
}

void writeValue(pugi::xml_node node, const std::u16string& text)
{
    // The kind of a value may change from one set to the next, so the name of its element is set
    // each time.
    allocated(node.set_name(kValueName));
    if (isPlainText(text))
        setContent(node, utf8FromUtf16(text).value(), nullptr);
    else
        setContent(node, escapedText(text), "escaped");
}

void writeValue(pugi::xml_node node, const std::string& bytes)
{
    allocated(node.set_name(kBytesName));
    // As text where that is exact, because people look into these files.
    const std::optional<std::u16string> text = utf16FromUtf8(bytes);
    if (text && isPlainText(*text))
        setContent(node, bytes, "text");
    else
        setContent(node, base64FromBytes(bytes), "base64");
}

void writeKey(pugi::xml_node node, const std::u16string& key)
{
    if (isPlainText(key)) {
        setAttribute(node, "key", utf8FromUtf16(key).value().c_str());
    } else {
        setAttribute(node, "key", escapedText(key).c_str());
        setAttribute(node, "keyEncoding", "escaped");
    }
}

} // namespace

PreferenceDocument::PreferenceDocument()
{
    clear();
}

void PreferenceDocument::clear()
{
    m_entries.clear();
    m_tree = std::make_unique<pugi::xml_document>();
    pugi::xml_node declaration = allocated(m_tree->append_child(pugi::node_declaration));
    setAttribute(declaration, "version", "1.0");
    setAttribute(declaration, "encoding", "UTF-8");
    setAttribute(allocated(m_tree->append_child(kRootName)), "version", kVersion);
}

PreferenceDocument::ReadResult PreferenceDocument::read(std::string_view bytes)
{
    clear();
    // Aside, so that anything but a whole file leaves the empty document in place.
    auto tree = std::make_unique<pugi::xml_document>();
    if (!parseTree(bytes, *tree))
        return ReadResult::kDamaged;
    const std::optional<unsigned int> major =
        majorVersion(tree->child(kRootName).attribute("version").value());
    if (!major)
        return ReadResult::kDamaged;
    // Not damaged: the file is whole and belongs to a later program, so nobody may replace it.
    if (*major > kMajorVersion)
        return ReadResult::kLaterFormat;
    m_tree = std::move(tree);
    indexEntries();
    return ReadResult::kWhole;
}

std::string PreferenceDocument::written() const
{
    std::string bytes;
    StringWriter writer(bytes);
    m_tree->save(writer, "  ", kFormatting, pugi::encoding_utf8);
    return withReturnsAsReferences(bytes);
}

PreferenceDocument PreferenceDocument::copy() const
{
    PreferenceDocument copied;
    copied.m_tree->reset(*m_tree);
    // The index refers to nodes, and the copy has nodes of its own.
    copied.indexEntries();
    return copied;
}

const PreferenceValue* PreferenceDocument::find(std::u16string_view key) const
{
    const auto entry = m_entries.find(key);
    return entry != m_entries.end() && entry->second.value ? &*entry->second.value : nullptr;
}

void PreferenceDocument::set(const std::u16string& key, PreferenceValue value)
{
    // Known even if its value could not be read: the element is reused, and keeps attributes that
    // we do not know.
    const auto known = m_entries.find(key);
    pugi::xml_node node;
    if (known != m_entries.end()) {
        node = known->second.node;
    } else {
        node = allocated(root().append_child(kValueName));
        writeKey(node, key);
    }
    std::visit([&](const auto& content) { writeValue(node, content); }, value);
    m_entries.insert_or_assign(key, Entry{node, std::move(value)});
}

// Of a key that stands twice, the last value holds.
void PreferenceDocument::indexEntries()
{
    m_entries.clear();
    for (const pugi::xml_node node : root().children()) {
        const std::string_view name = node.name();
        if (name == kValueName || name == kBytesName)
            index(node);
    }
}

void PreferenceDocument::index(pugi::xml_node node)
{
    // An unreadable value is indexed as well, so that setting the key replaces it instead of adding
    // a second one.
    if (std::optional<std::u16string> key = keyOf(node))
        m_entries.insert_or_assign(*std::move(key), Entry{node, valueOf(node)});
}

pugi::xml_node PreferenceDocument::root() const
{
    return m_tree->child(kRootName);
}

} // namespace preferences
