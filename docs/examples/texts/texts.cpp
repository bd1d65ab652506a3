#include <iostream>
#include <string>

#include <lexkit/Dictionary.h>
#include <lexkit/basic_ifstream.h>

// Shows two texts, in the language of the dictionary that is named, else as they stand here.
int main(int argc, char** argv)
{
    lexkit::Dictionary dictionary;
    if (argc > 1) {
        lexkit::basic_ifstream<char> file(argv[1], std::ios::binary);
        dictionary.Read(&file);
    }
    const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8);
    for (const char* const literal : {"$$$/App/Cancel=Cancel", "$$$/App/Left=^1 photos are left"}) {
        lexkit::ZString text = dictionary.Lookup(literal, &utf8);
        text.Replace(1, lexkit::ZString(12));
        std::string bytes(text.GetCStringSize(&utf8), '\0');
        text.GetCString(bytes.data(), bytes.size(), true, &utf8);
        std::cout << bytes.c_str() << '\n';
    }
}
