#include "velmo-caps/ConfigurationDocument.h"

#include "velmo-caps/DocumentScanner.h"

namespace velmo_caps_cli {

namespace {

using Tag = DocumentScanner::Tag;

DocumentBlock beginOf(const Tag& tag, std::size_t line)
{
    DocumentBlock block;
    block.line = line;
    if (tag.name == "Payload") {
        block.kind = DocumentBlock::Kind::kPayload;
        block.name = tag.attribute("id");
        block.collection = tag.attribute("collection");
        return block;
    }
    if (tag.name != "Other")
        throw DocumentError(line, "<" + tag.name + "> does not belong here");
    block.name = tag.attribute("velmoCode");
    if (block.name.empty())
        throw DocumentError(line, "<Other> has no velmoCode");
    return block;
}

void readValues(DocumentScanner& scanner, DocumentBlock& block, const std::string& name)
{
    for (;;) {
        const std::size_t line = scanner.lineOfNext();
        const Tag tag = scanner.tag();
        if (tag.isEnd && tag.name == name)
            return;
        if (tag.isEnd || tag.name != "Data")
            throw DocumentError(line, "here is no <Data>, and <" + name + "> is still open");
        const std::string key = tag.attribute("key");
        if (key.empty())
            throw DocumentError(line, "<Data> has no key");
        block.values.push_back({key, tag.isWhole ? std::string() : scanner.value(), line});
    }
}

void appendEscaped(std::string& out, std::string_view text)
{
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else if (static_cast<unsigned char>(c) < 0x20)
            out += "&#" + std::to_string(static_cast<int>(c)) + ';';
        else
            out += c;
    }
}

void appendAttribute(std::string& out, const char* name, std::string_view value)
{
    if (value.empty())
        return;
    out += ' ';
    out += name;
    out += "=\"";
    appendEscaped(out, value);
    out += '"';
}

void appendBlock(std::string& out, const DocumentBlock& block)
{
    const bool isPayload = block.kind == DocumentBlock::Kind::kPayload;
    out += isPayload ? "\t<Payload" : "\t<Other";
    appendAttribute(out, isPayload ? "id" : "velmoCode", block.name);
    appendAttribute(out, "collection", block.collection);
    out += ">\n";
    for (const DocumentValue& each : block.values) {
        out += "\t\t<Data";
        appendAttribute(out, "key", each.key);
        out += '>';
        appendEscaped(out, each.value);
        out += "</Data>\n";
    }
    out += isPayload ? "\t</Payload>\n\n" : "\t</Other>\n";
}

} // namespace

ConfigurationDocument readDocument(std::string_view text)
{
    DocumentScanner scanner(text);
    const std::size_t line = scanner.lineOfNext();
    const Tag root = scanner.tag();
    if (root.isEnd || root.name != "Configuration")
        throw DocumentError(line, "it does not begin with <Configuration>");
    scanner.setEscaped(root.attribute("escaped") == "true");
    ConfigurationDocument document;
    while (!root.isWhole) {
        const std::size_t lineOfTag = scanner.lineOfNext();
        const Tag tag = scanner.tag();
        if (tag.isEnd && tag.name == root.name)
            break;
        if (tag.isEnd)
            throw DocumentError(lineOfTag, "</" + tag.name + "> ends nothing");
        document.push_back(beginOf(tag, lineOfTag));
        if (!tag.isWhole)
            readValues(scanner, document.back(), tag.name);
    }
    scanner.requireEnd();
    return document;
}

std::string writeDocument(const ConfigurationDocument& document)
{
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration escaped=\"true\">\n";
    for (const DocumentBlock& block : document)
        appendBlock(out, block);
    out += "</Configuration>\n";
    return out;
}

} // namespace velmo_caps_cli
