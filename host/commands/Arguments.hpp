#pragma once

#include "Failure.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// An option of a command.
struct Option {
    std::string_view name;       ///< with its dashes: "--type"
    std::string_view value;      ///< what follows it, for help: "KIND"; empty when nothing does
    bool isRepeatable = false;   ///< it may be given several times
};

/// An option that was given.
struct GivenOption {
    std::string_view name;   ///< that of the Option
    std::string value;
};

/// What a command is given, taken apart: options, as `--type KIND` or `--type=KIND`, and everything else, which are its
/// files. Behind `--` everything is a file; so is "-".
class Arguments {
public:
    /// \param known  whose names must outlive this, as must \p command
    /// \throws Failure for an option that is not among \p known, lacks its value, has one too many or comes twice
    Arguments(std::span<const std::string> arguments, std::span<const Option> known, std::string_view ofCommand);

    bool Has(std::string_view option) const { return Find(option) != nullptr; }

    /// The value of \p option, or \p otherwise when it is not given.
    std::string Get(std::string_view option, std::string_view otherwise) const;

    /// All options, in the order in which they were given.
    const std::vector<GivenOption>& GetOptions() const noexcept { return options; }

    const std::vector<std::string>& GetFiles() const noexcept { return files; }

    /// Whose arguments they are.
    std::string_view GetCommand() const noexcept { return command; }

private:
    const GivenOption* Find(std::string_view option) const;
    std::size_t TakeOption(std::span<const std::string> arguments, std::span<const Option> known);

    std::string_view command;
    std::vector<GivenOption> options;
    std::vector<std::string> files;
};

/// The end of a message: where help is to be had.
std::string TryHelp(std::string_view command);

}   // namespace Host
