#include "Arguments.hpp"

#include "output/SafeText.hpp"

#include <algorithm>
#include <cstddef>

namespace Host {

Arguments::Arguments(std::span<const std::string> arguments, std::span<const Option> known, std::string_view command) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            files.insert(files.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            return;
        }
        if (!argument.starts_with('-') || argument == "-") {
            files.push_back(argument);
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const auto option = std::ranges::find(known, std::string_view(name), &Option::name);
        if (option == known.end())
            throw Failure("there is no option " + EscapeForMessage(name) + TryHelp(command));
        std::string value;
        if (equals != std::string::npos)
            value = argument.substr(equals + 1);
        const bool takesNext = equals == std::string::npos && !option->value.empty();
        if ((takesNext && i + 1 == arguments.size()) || (option->value.empty() && equals != std::string::npos))
            throw Failure("option " + name + (takesNext ? " needs a value" : " has no value") + TryHelp(command));
        if (takesNext)
            value = arguments[++i];
        if (!options.emplace(name, std::move(value)).second)
            throw Failure("option " + name + " is given twice" + TryHelp(command));
    }
}

std::string Arguments::Get(std::string_view option, std::string_view otherwise) const {
    const auto found = options.find(option);
    return found != options.end() ? found->second : std::string(otherwise);
}

std::string TryHelp(std::string_view command) {
    return ": try 'zalattributes" + (command.empty() ? std::string() : ' ' + std::string(command)) + " --help'";
}

}   // namespace Host
