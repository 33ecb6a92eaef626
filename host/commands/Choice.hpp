#pragma once

#include "Arguments.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

namespace Host {

/// A word that an option may have as its value.
template <class Value>
struct Choice {
    std::string_view word;
    Value value;
};

/// The value of \p option, the first of \p choices when it is not given. \throws Failure for another word
template <class Value>
Value Choose(std::span<const Choice<Value>> choices, const Arguments& arguments, std::string_view option) {
    const std::string word = arguments.Get(option, choices.front().word);
    const auto found = std::ranges::find(choices, std::string_view(word), &Choice<Value>::word);
    if (found != choices.end())
        return found->value;
    std::string words;
    for (const Choice<Value>& choice : choices)
        words += (words.empty() ? "" : ", ") + std::string(choice.word);
    throw Failure(std::string(option) + " cannot be '" + EscapeForMessage(word) + "': use one of " + words);
}

/// The kind that the option --type names, null when it is not given. \throws Failure when there is no such kind
const KindEntry* ChooseKind(const Arguments& arguments);

}   // namespace Host
