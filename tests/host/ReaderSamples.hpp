#pragma once

#include "ReadError.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
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

/// Where \p read refuses \p bytes and why, "12: message", or an empty text when it reads them.
template <class Reader>
std::string RefusalOf(Reader read, std::string_view bytes) {
    try {
        read(bytes);
    } catch (const Host::ReadError& error) {
        EXPECT_STRNE(error.what(), "");
        return std::to_string(error.GetLine()) + ": " + error.what();
    }
    return {};
}

}   // namespace HostTests
