#pragma once

#include "Failure.hpp"

#include <string>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Brings files into one attribute set: the first one as it is, the others merged with what is there.
///
/// A file is a drawing, a line-type file or a hatch-pattern file: by its extension (.dxf, .lin, .pat, letter case
/// ignored), or by how it begins when the extension says nothing.
class FileImporter {
public:
    /// \param importSet  empty
    explicit FileImporter(const ODB::Ref<ADB::AttributeSet>& importSet) : set(importSet) {}

    /// \param path  UTF-8
    /// \throws Failure when the file cannot be read, is none of the three, is damaged or holds too much; the set may
    ///         hold a part of it then
    void Import(const std::string& path);

    /// One line each, for the user: what was odd in the files, what was not kept, and what became of the attributes.
    const std::vector<std::string>& GetNotes() const noexcept { return notes; }

private:
    template <class Content>
    void Take(const std::string& shownPath, const Content& content);

    ODB::Ref<ADB::AttributeSet> set;
    bool isFirst = true;
    std::vector<std::string> notes;
};

}   // namespace Host
