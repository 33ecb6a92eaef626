#include "DefinitionFile.hpp"

#include "TextLines.hpp"

#include <algorithm>

#include <Kest/Utf8.hpp>

namespace Host {

namespace {

std::string_view WithoutComment(std::string_view text) {
    bool isQuoted = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (text[place] == '"')
            isQuoted = !isQuoted;
        else if (text[place] == ';' && !isQuoted)
            return text.substr(0, place);
    }
    return text;
}

Definition ReadHead(std::string_view head, std::size_t line, TextDecoder& decoder) {
    const std::size_t comma = std::min(head.find(','), head.size());
    const std::string_view name = Trimmed(head.substr(1, comma - 1));
    if (name.empty())
        throw ReadError(line, "the definition has no name: write *NAME,description");
    const std::string_view description = Trimmed(head.substr(std::min(comma + 1, head.size())));
    return {line, decoder.Decode(name), decoder.Decode(description), {}};
}

}   // namespace

std::vector<ReadWarning> DefinitionFile::Warnings() const {
    if (decoder.GetOddBytes() == 0)
        return {};
    return {{0, "the file holds bytes that are characters neither in UTF-8 nor in Windows-1252 (" +
                    std::to_string(decoder.GetOddBytes()) + "): save it as UTF-8"}};
}

DefinitionFile SplitDefinitions(std::string_view bytes, std::string_view kind) {
    bool isMarked = false;
    const std::string_view text = WithoutByteOrderMark(bytes, isMarked);
    DefinitionFile file{isMarked || Kest::IsValidUtf8(text) ? TextDecoder::Utf8() : TextDecoder::Windows1252(), {}};

    TextLines lines(text);
    for (std::string_view line; lines.Next(line);) {
        const std::string_view content = Trimmed(line);
        if (content.starts_with('*')) {
            file.definitions.push_back(ReadHead(content, lines.GetCount(), file.decoder));
            continue;
        }
        const std::string_view body = Trimmed(WithoutComment(content));
        if (body.empty())
            continue;
        if (file.definitions.empty())
            throw ReadError(lines.GetCount(), "this is no " + std::string(kind) +
                                                  ", whose definitions begin with *NAME: choose another file");
        file.definitions.back().body.push_back({lines.GetCount(), body});
    }
    if (file.definitions.empty())
        throw ReadError(0, "there is no definition in this " + std::string(kind) + ": choose another file");
    return file;
}

std::vector<std::string_view> SplitAtCommas(std::string_view text) {
    std::vector<std::string_view> parts;
    bool isQuoted = false;
    int depth = 0;
    std::size_t begin = 0;
    for (std::size_t place = 0; place <= text.size(); ++place) {
        const char c = place < text.size() ? text[place] : ',';
        if (c == '"')
            isQuoted = !isQuoted;
        else if (c == '[' && !isQuoted)
            ++depth;
        else if (c == ']' && !isQuoted)
            --depth;
        const bool isPartEnd = c == ',' && !isQuoted && depth <= 0;
        if (isPartEnd || place == text.size()) {
            parts.push_back(Trimmed(text.substr(begin, place - begin)));
            begin = place + 1;
        }
    }
    return parts;
}

}   // namespace Host
