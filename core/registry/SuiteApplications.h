// What the registry knows of the suite by itself: all that is a matter of this suite, and not of
// the bus, stands here.
#pragma once

namespace ScObjects::TevoroTalkData {

// The applications of one generation, as the document of an empty list of groups has them, and what
// stands before each.
inline constexpr const char* kSuiteGeneration = "nx/3/";
inline constexpr const char* kSuiteGroupEntries[] = {
    "tevoro-2.0",
    "mfx-2.0",
    "quillscriber-2.0",
    "velmoalbum-3.0",
    "velmoarchive-2.0",
    "velmobook-3.0",
    "velmofilm-3.0",
    "velmolayout-3.0",
    "velmoprint-3.0",
    "velmoscan-2.0",
    "velmoshow-3.0",
};

// Those that are looked for among what runs without being installed. A locale here stands for the
// current one.
inline constexpr const char* kSuiteSpecifiers[] = {
    "tevoro-2.0",
    "tevoro-2.0-en_us",
    "mfx-2.0",
    "mfx-2.0-en_us",
    "quillscriber-2.0",
    "quillscriber-2.0-en_us",
    "velmoalbum-3.0",
    "velmoalbum-3.0-en_us",
    "velmoarchive-2.0",
    "velmoarchive-2.0-en_us",
    "velmobook-3.0",
    "velmobook-3.0-en_us",
    "velmofilm-3.0",
    "velmofilm-3.0-en_us",
    "velmolayout-3.0",
    "velmolayout-3.0-en_us",
    "velmoprint-3.0",
    "velmoprint-3.0-en_us",
    "velmoscan-2.0",
    "velmoscan-2.0-en_us",
    "velmoshow-3.0",
    "velmoshow-3.0-en_us",
};

// Applications in the web are taken from hosts below this domain alone. Begins with a ".".
inline constexpr const char* kWebDomainSuffix = ".velmo.example";

} // namespace ScObjects::TevoroTalkData
