#include "FileReading.hpp"

#include <algorithm>
#include <cstdint>

namespace IO {
namespace {

constexpr std::size_t LeastStep = std::size_t{1} << 16;   // in bytes

}   // namespace

std::error_code ReadUntil(OpenFile& file, std::string& bytes, std::size_t enough) {
    // A small file is read in one step; the byte more shows that it has ended.
    auto step = static_cast<std::size_t>(std::min<std::uint64_t>(LeastStep, file.GetFacts().size + 1));
    while (bytes.size() < enough) {
        step = std::min(step, enough - bytes.size());
        const std::size_t before = bytes.size();
        bytes.resize(before + step);
        std::size_t got = 0;
        const std::error_code error = file.Read(bytes.data() + before, step, got);
        bytes.resize(before + got);
        if (error || got < step)
            return error;
        step = std::max(LeastStep, bytes.size());
    }
    return {};
}

std::error_code ReadWhole(const std::string& path, std::string& bytes) {
    OpenFile file;
    const std::error_code error = file.OpenToRead(path);
    return error ? error : ReadUntil(file, bytes, bytes.max_size());
}

}   // namespace IO
