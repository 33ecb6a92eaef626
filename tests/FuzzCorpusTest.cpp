// Every input of the fuzz targets' corpora, as an ordinary test.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <Kest/DebugOutput.hpp>

#include "FuzzTarget.hpp"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> GetInputs(const std::string& target) {
    std::vector<fs::path> inputs;
    for (const auto& entry : fs::directory_iterator(fs::path(FUZZ_CORPUS_DIR) / target))
        inputs.push_back(entry.path());
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

TEST(FuzzCorpusTest, EveryInputIsReadOrRefused) {
    ASSERT_EQ(Fuzz::GetTargets().size(), 11u);
    for (const Fuzz::Target& target : Fuzz::GetTargets()) {
        const std::vector<fs::path> inputs = GetInputs(target.name);
        EXPECT_GE(inputs.size(), 2u) << target.name;
        for (const fs::path& input : inputs) {
            std::ifstream file(input, std::ios::binary);
            const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
            const std::vector<std::uint8_t> bytes(content.begin(), content.end());
            EXPECT_NO_THROW(target.run(bytes)) << input;
        }
    }
    DBSetSink({});
}

}   // namespace
