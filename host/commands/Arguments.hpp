#pragma once

#include "Failure.hpp"

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// An option of a command.
struct Option {
    std::string_view name;    ///< with its dashes: "--type"
    std::string_view value;   ///< what follows it, for help: "KIND"; empty when nothing does
};

/// What a command is given, taken apart: options, as `--type KIND` or `--type=KIND`, and everything else, which are its
/// files. Behind `--` everything is a file; so is "-".
class Arguments {
public:
    /// \throws Failure for an option that is not among \p known, lacks its value, has one too many or comes twice
    Arguments(std::span<const std::string> arguments, std::span<const Option> known, std::string_view command);

    bool Has(std::string_view option) const { return options.contains(option); }

    /// The value of \p option, or \p otherwise when it is not given.
    std::string Get(std::string_view option, std::string_view otherwise) const;

    const std::vector<std::string>& GetFiles() const noexcept { return files; }

private:
    std::map<std::string, std::string, std::less<>> options;
    std::vector<std::string> files;
};

/// The end of a message: where help is to be had.
std::string TryHelp(std::string_view command);

}   // namespace Host
