// The page of --help in the user's language. The parser's own class measures bytes; this one
// measures columns, so that descriptions stand in one line below each other in every language.
#pragma once

#include <CLI/CLI.hpp>

namespace mfx {

class HelpFormatter final : public CLI::Formatter {
public:
    HelpFormatter();

    std::string make_option(const CLI::Option* option, bool isPositional) const override;

    // Without what the option excludes: the parser tells that in English, and the description and
    // the complaint tell it, too.
    std::string make_option_opts(const CLI::Option* option) const override;
};

} // namespace mfx
