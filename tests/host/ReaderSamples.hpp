#pragma once

#include "Number.hpp"
#include "ReadError.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace HostTests {

/// The bytes of a file in tests/host/data.
inline std::string Sample(const std::string& name) {
    std::ifstream file(std::filesystem::path(TEST_DATA_DIR) / "host" / "data" / name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The text that a UTF-8 string spells, for comparing with expected tables.
inline std::u16string Wide(std::string_view utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).u16string();
}

/// The rows of an expected table below its head line, cut at tabs.
inline std::vector<std::vector<std::string>> ExpectedRows(const std::string& name) {
    std::istringstream lines(Sample(name));
    std::vector<std::vector<std::string>> rows;
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream fields(line + '\t');
        std::vector<std::string>& row = rows.emplace_back();
        for (std::string field; std::getline(fields, field, '\t');)
            row.push_back(field);
    }
    return rows;
}

/// The numbers in \p text, whatever stands between them.
inline std::vector<double> Numbers(std::string text) {
    for (char& c : text)
        c = c == ',' || c == '|' ? ' ' : c;
    std::istringstream stream(text);
    return {std::istream_iterator<double>(stream), {}};
}

inline std::vector<double> Values(const std::vector<Host::Number>& numbers) {
    std::vector<double> values;
    for (const Host::Number& number : numbers)
        values.push_back(number.value);
    return values;
}

/// Name, description and numbers of a line type or a hatch pattern.
using Definition = std::tuple<std::u16string, std::u16string, std::vector<double>>;

inline std::vector<Definition> ExpectedDefinitions(const std::string& name) {
    std::vector<Definition> definitions;
    for (const auto& row : ExpectedRows(name))
        definitions.emplace_back(Wide(row.at(0)), Wide(row.at(1)), Numbers(row.at(2)));
    return definitions;
}

/// Where \p read refuses \p input and why, "12: message", or an empty text when it reads it.
template <class Reader, class Input>
std::string RefusalOf(Reader read, const Input& input) {
    try {
        read(input);
    } catch (const Host::ReadError& error) {
        EXPECT_STRNE(error.what(), "");
        return std::to_string(error.GetLine()) + ": " + error.what();
    }
    return {};
}

/// \p cases are pairs of bytes and the beginning of their refusal.
template <class Reader, class Cases>
void ExpectRefusals(Reader read, const Cases& cases) {
    for (const auto& [bytes, refusal] : cases)
        EXPECT_TRUE(RefusalOf(read, bytes).starts_with(refusal)) << bytes << '\n' << RefusalOf(read, bytes);
}

/// \p read, which lists definitions, refuses each prefix of \p bytes or loses only definitions at the end.
template <class Reader>
void ExpectCutsLoseOnlyTheEnd(Reader read, const std::string& bytes) {
    const auto whole = read(bytes);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const std::string cut = bytes.substr(0, length);
        if (!RefusalOf(read, cut).empty())
            continue;
        const auto rest = read(cut);
        ASSERT_TRUE(!rest.empty() && rest.size() <= whole.size()) << length;
        EXPECT_TRUE(std::equal(rest.begin(), rest.end() - 1, whole.begin())) << length;
    }
}

}   // namespace HostTests
