#pragma once

#include "XMLText.hpp"

#include <Kest/XMLIChannel.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kest {

/// Walks over the bytes of one XML document and keeps the elements that are open.
///
/// Operations that answer a bool answer false when the document is damaged or is not what they ask for. What is wrong,
/// and where, is in GetProblem and GetPlace then; the scanner is not to be used any further. Only what is documented to
/// throws: std::bad_alloc.
class XMLScanner {
public:
    /// What is wrong: a format for Printf and the name that it takes, which lives as long as the document and the name
    /// that was asked for.
    struct Problem {
        const char* format = "";
        std::string_view name;
    };

    /// Line and column, both from 1; the column counts characters.
    struct Location {
        unsigned line;
        unsigned column;
    };

    /// May throw.
    explicit XMLScanner(std::string document);
    XMLScanner(const XMLScanner&) = delete;
    XMLScanner& operator=(const XMLScanner&) = delete;

    /// Checks all characters and enters the root, which must be named \p rootName.
    bool Begin(std::string_view rootName) noexcept;
    /// Leaves all elements and makes sure that nothing follows the root.
    bool End() noexcept;

    std::size_t GetDepth() const noexcept { return openTags.size(); }
    /// Elements whose start tags were passed over.
    std::size_t GetPassedElements() const noexcept { return passedElements; }

    /// Whether a child of the current element comes next. Moves up to it.
    bool IsNextStartTag() noexcept;
    bool IsNextTag(std::string_view name) noexcept;

    /// Enters the next child, which must be named \p name.
    bool Open(std::string_view name) noexcept;
    /// Enters the next child.
    bool OpenAny() noexcept;
    /// Leaves elements, passing over what is left of them, until \p depth are open.
    bool CloseDownTo(std::size_t depth) noexcept;
    /// Leaves the current element, in which nothing but comments may be left.
    bool CloseAtEnd() noexcept;

    /// Reads the next child in one go, when it is named \p name and holds nothing but text; \p content is the text's
    /// bytes. \returns false, with nothing moved and nothing wrong, when it must be read in steps.
    bool TryReadElement(std::string_view name, std::string_view& content) noexcept;

    /// Decodes \p content of an element. \p result is valid until other text is read. May throw.
    bool Decode(std::string_view content, std::u16string_view& result);
    /// As Decode, for the text of the current element up to the next tag. May throw.
    bool ReadText(std::u16string_view& result);
    /// As Decode, for the next child, which must be named \p name and hold nothing but text. May throw.
    bool ReadElement(std::string_view name, std::u16string_view& result);
    /// Replaces the escapes in the text read last, which becomes \p result.
    bool UndoEscapes(std::u16string_view& result) noexcept;
    /// Answers false: the text read last is not what \p format says should have been in \p name.
    bool RefuseText(const char* format, std::string_view name) noexcept { return Refuse(textStart, format, name); }
    /// Reads \p size bytes, two hexadecimal digits each, from the text of the current element, and up to the next tag.
    bool ReadHex(char* target, std::size_t size) noexcept;

    std::size_t GetRemainingSize() const noexcept { return static_cast<std::size_t>(end - cursor); }
    const char* GetCursor() const noexcept { return cursor; }

    const Problem& GetProblem() const noexcept { return problem; }
    const char* GetPlace() const noexcept { return place; }
    Location Locate(const char* position) const noexcept;

private:
    bool Refuse(const char* at, const char* format, std::string_view name = {}) noexcept;
    std::string_view Rest(const char* position) const noexcept;
    bool SkipRemark(const char*& position) noexcept;
    bool SkipSpaceAndRemarks(const char*& position) noexcept;
    bool ReadDeclaration(const char*& position) noexcept;
    bool ReadAttribute(const char*& position, std::string_view& name, std::string_view& value) noexcept;
    bool ReadStartTag(const char* position) noexcept;
    bool ReadEndTag(const char* position) noexcept;
    bool IsTagAt(const char* position, std::string_view name) const noexcept;
    bool FindTag(const char* from, const char*& tag) noexcept;
    bool SkipMarkup() noexcept;
    template <class TakeRun>
    bool WalkText(TakeRun takeRun);
    void BeginText(const char* start) noexcept;
    const char* AppendRun(std::string_view run, XMLText::RunKind kind);

    std::string text;
    const char* cursor;
    const char* end;
    std::vector<std::string_view> openTags;   // room for all that there may be is there from the start
    std::size_t passedElements = 0;
    bool isInEmptyTag = false;     // the current element is of the form <Name/>
    std::vector<char16_t> units;   // decoded text; never gets smaller
    std::size_t unitCount = 0;
    bool hasBackslash = false;         // among the units
    const char* textStart = nullptr;   // where the text read last begins
    Problem problem;
    const char* place;
};

}   // namespace Kest
