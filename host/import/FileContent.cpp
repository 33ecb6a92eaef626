#include "FileContent.hpp"

#include "documents/DocumentReader.hpp"
#include "documents/SetForm.hpp"
#include "output/SafeText.hpp"
#include "readers/DxfReader.hpp"
#include "readers/TextDecoding.hpp"
#include "readers/TextLines.hpp"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace Host {

namespace {

std::filesystem::path PathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

std::string FirstDefinitionLine(TextLines& lines) {
    std::string_view line;
    while (lines.Next(line))
        if (!Trimmed(line).empty() && !Trimmed(line).starts_with(';'))
            return std::string(Trimmed(line));
    return {};
}

// A pattern has numbers only.
bool IsLineTypeBody(std::string_view line) {
    return EqualsIgnoringCase(Trimmed(line.substr(0, line.find(','))), "A");
}

bool BeginsLikeDrawing(std::string_view bytes) {
    if (IsBinaryDxf(bytes))
        return true;   // the reader says why it is refused
    TextLines lines(bytes);
    std::string_view code;
    return lines.Next(code) && (Trimmed(code) == "0" || Trimmed(code) == "999");
}

}   // namespace

std::string ReadFileContent(const std::string& path) {
    const std::string shown = EscapeForMessage(path);
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(PathOf(path), error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw Failure(shown + ": there is no such file: check its name");
    if (error)
        throw Failure(shown + ": the file cannot be reached (" + error.message() + "): check its name and folder");
    if (std::filesystem::is_character_file(status) || std::filesystem::is_block_file(status))
        throw Failure(shown + ": this is a device: name a file");

    std::ifstream file(PathOf(path), std::ios::binary);
    std::string bytes;
    char block[65536];
    while (file) {
        file.read(block, sizeof block);
        bytes.append(block, static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof() || file.bad())
        throw Failure(shown + ": the file cannot be read: check your right to read it");
    if (bytes.empty())
        throw Failure(shown + ": the file is empty: get a complete copy of it");
    return bytes;
}

FileKind DetectFileKind(const std::string& path, std::string_view bytes) {
    const auto extension = PathOf(path).extension().u8string();
    const std::string_view known(reinterpret_cast<const char*>(extension.data()), extension.size());
    if (EqualsIgnoringCase(known, ".dxf"))
        return FileKind::Drawing;
    if (EqualsIgnoringCase(known, ".lin"))
        return FileKind::LineTypes;
    if (EqualsIgnoringCase(known, ".pat"))
        return FileKind::Patterns;
    if (IsStorePath(path) || BeginsLikeStore(bytes))
        return FileKind::Store;

    bool isMarked = false;
    const std::string_view text = WithoutByteOrderMark(bytes, isMarked);
    if (BeginsLikeDrawing(text))
        return FileKind::Drawing;
    TextLines lines(text);
    if (FirstDefinitionLine(lines).starts_with('*'))
        return IsLineTypeBody(FirstDefinitionLine(lines)) ? FileKind::LineTypes : FileKind::Patterns;
    throw Failure(EscapeForMessage(path) + ":1: this is neither a drawing (DXF) nor a line-type file (.lin) nor a "
                                           "hatch-pattern file (.pat): name one of these");
}

}   // namespace Host
