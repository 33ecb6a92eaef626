#include "Arguments.hpp"

#include "output/SafeText.hpp"

#include <algorithm>

namespace Host {

Arguments::Arguments(std::span<const std::string> arguments, std::span<const Option> known, std::string_view ofCommand)
    : command(ofCommand) {
    while (!arguments.empty()) {
        const std::string& argument = arguments.front();
        if (argument == "--") {
            files.insert(files.end(), arguments.begin() + 1, arguments.end());
            return;
        }
        std::size_t taken = 1;
        if (argument.starts_with('-') && argument != "-")
            taken = TakeOption(arguments, known);
        else
            files.push_back(argument);
        arguments = arguments.subspan(taken);
    }
}

// Returns how many of the arguments the option, which is the first of them, takes.
std::size_t Arguments::TakeOption(std::span<const std::string> arguments, std::span<const Option> known) {
    const std::string& argument = arguments.front();
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const auto option = std::ranges::find(known, std::string_view(name), &Option::name);
    if (option == known.end())
        throw Failure("there is no option " + EscapeForMessage(name) + TryHelp(command));
    const bool hasValue = equals != std::string::npos;
    const bool takesNext = !hasValue && !option->value.empty();
    if ((takesNext && arguments.size() == 1) || (option->value.empty() && hasValue))
        throw Failure("option " + name + (takesNext ? " needs a value" : " has no value") + TryHelp(command));
    if (!option->isRepeatable && Has(name))
        throw Failure("option " + name + " is given twice" + TryHelp(command));
    options.push_back({option->name, takesNext ? arguments[1] : hasValue ? argument.substr(equals + 1) : ""});
    return takesNext ? 2 : 1;
}

const GivenOption* Arguments::Find(std::string_view option) const {
    const auto found = std::ranges::find(options, option, &GivenOption::name);
    return found != options.end() ? &*found : nullptr;
}

std::string Arguments::Get(std::string_view option, std::string_view otherwise) const {
    const GivenOption* const found = Find(option);
    return found != nullptr ? found->value : std::string(otherwise);
}

std::string TryHelp(std::string_view command) {
    return ": try 'zalattributes" + (command.empty() ? std::string() : ' ' + std::string(command)) + " --help'";
}

}   // namespace Host
