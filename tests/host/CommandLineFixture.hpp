#pragma once

#include "CommandLine.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

/// The words that the tests of the command line speak in.
namespace HostTests {

struct Outcome {
    int code = 0;
    std::string out;
    std::string err;
};

inline Outcome RunCommand(const std::vector<std::string>& arguments) {
    std::ostringstream out, err;
    const int code = Host::RunCommandLine(arguments, out, err);
    return {code, out.str(), err.str()};
}

// A drawing in the version that has UTF-8 texts.
inline std::string DrawingWith(const std::string& tables) {
    return "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1021\n0\nENDSEC\n0\nSECTION\n2\nTABLES\n" + tables +
           "0\nENDSEC\n0\nEOF\n";
}

inline std::string LayerTable(const std::vector<std::string>& names, const std::string& lineType = "CONTINUOUS") {
    std::string table = "0\nTABLE\n2\nLAYER\n70\n1\n";
    for (const std::string& name : names)
        table += "0\nLAYER\n2\n" + name + "\n70\n4\n62\n-7\n6\n" + lineType + "\n";
    return table + "0\nENDTAB\n";
}

inline constexpr char LineTypeTable[] =
    "0\nTABLE\n2\nLTYPE\n70\n1\n0\nLTYPE\n2\nDashed\n70\n0\n3\n__ __\n72\n65\n73\n2\n40\n"
    "1.5\n49\n1.0\n49\n-.50\n0\nENDTAB\n";

class CommandLineTest : public testing::Test {
protected:
    CommandLineTest() {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    ~CommandLineTest() override { std::filesystem::remove_all(folder); }

    std::string Write(const std::string& name, const std::string& bytes) const {
        const std::filesystem::path path = folder / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path.string();
    }

    std::string Path(const std::string& name) const { return (folder / name).string(); }

    static std::string Bytes(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) /
        (testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() + std::string(".") +
         testing::UnitTest::GetInstance()->current_test_info()->name());
};

}   // namespace HostTests
