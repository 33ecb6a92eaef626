#pragma once

#include "Failure.hpp"
#include "ImportCounts.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Brings inputs into one attribute set: the first one as it is, the others merged with what is there.
///
/// An input is a drawing, a line-type file, a hatch-pattern file or a store: by its extension (.dxf, .lin, .pat, .zas,
/// letter case ignored), or by how it begins when the extension says nothing; or it is a folder of documents. Fills and
/// active attributes come from the first input alone.
class FileImporter {
public:
    /// \param importSet  empty
    explicit FileImporter(const ODB::Ref<ADB::AttributeSet>& importSet) : set(importSet) {}

    /// \param path  UTF-8
    /// \throws Failure when the input cannot be read, is none of these, is damaged or holds too much; the set may hold
    /// a part of it then
    void Import(const std::string& path);

    /// One line each, for the user: what was odd in the files, what was not kept, and what became of the attributes.
    const std::vector<std::string>& GetNotes() const noexcept { return notes; }

    /// Whether documents were not read whole.
    bool HasLosses() const noexcept;

    /// What was wrong in the inputs, and what was mended or passed over on reading: a part of the notes, without the
    /// names of the inputs, and the attributes of drawings and libraries whose names had to be made unique.
    const std::vector<std::string>& GetFindings() const noexcept { return findings; }

    /// Whether all inputs were documents or stores, whose attributes have modification times of their own.
    bool AreDocuments() const noexcept;

    /// Whether \p path is one of the inputs.
    bool IsInput(const std::string& path) const;

    /// \throws Failure when \p path is an input that was not read whole: saved over, it would lose the rest
    void CheckTarget(const std::string& path) const;

private:
    struct Input {
        std::string path;
        bool isDocument;    // or a store
        std::string loss;   // the first thing that was not read as it was stored, empty when there was none
    };

    template <class Content>
    void Take(const std::string& shownPath, const Content& content);
    template <class Content>
    ImportCounts Fill(const Content& content, const ODB::Ref<ADB::AttributeSet>& target);
    void TakeDocument(const std::string& shownPath,
                      const std::function<void(const ODB::Ref<ADB::AttributeSet>&)>& read);
    const Input* FindInput(const std::string& path) const;

    ODB::Ref<ADB::AttributeSet> set;
    bool isFirst = true;
    std::vector<std::string> notes;
    std::vector<std::string> findings;
    std::vector<Input> inputs;
};

/// Whether the file \p path is the input or target \p document, or one of its documents when that is a folder.
bool IsPartOf(const std::string& path, const std::string& document);

/// How many attributes \p set holds.
std::size_t CountAttributes(const ODB::ConstRef<ADB::AttributeSet>& set);

}   // namespace Host
