#include "FileImport.hpp"

#include "FileContent.hpp"
#include "Session.hpp"
#include "SetImport.hpp"
#include "SetMerge.hpp"
#include "documents/DocumentReader.hpp"
#include "documents/ReportText.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <AttributeManager/ReadReport.hpp>

namespace Host {

namespace {

ImportCounts ImportInto(const DxfDrawing& drawing, const ODB::Ref<ADB::AttributeSet>& set) {
    return ImportDrawing(drawing, set);
}
ImportCounts ImportInto(const LineTypeFile& file, const ODB::Ref<ADB::AttributeSet>& set) {
    return ImportLineTypes(file, set);
}
ImportCounts ImportInto(const PatternFile& file, const ODB::Ref<ADB::AttributeSet>& set) {
    return ImportPatterns(file, set);
}

std::string At(std::size_t line) {
    return line != 0 ? ':' + std::to_string(line) : std::string();
}

// "LAYER 12 (groups 347, 348), DIMSTYLE ..."; empty when everything was kept.
std::string TextOfGroupsNotKept(const DxfDrawing& drawing) {
    std::string text;
    for (const auto& [table, groups] : drawing.groupsNotKept) {
        std::size_t count = 0;
        std::string codes;
        for (const auto& [code, times] : groups) {
            count += times;
            codes += (codes.empty() ? "" : ", ") + std::to_string(code);
        }
        if (count != 0)
            text += (text.empty() ? "" : "; ") + EscapeForMessage(table) + ' ' + std::to_string(count) + " (groups " +
                    codes + ')';
    }
    return text;
}

std::string TextOfRecordsNotRead(const DxfDrawing& drawing) {
    std::string text;
    for (const auto& [place, count] : drawing.recordsNotRead)
        text += (text.empty() ? "" : ", ") + EscapeForMessage(place) + ' ' + std::to_string(count);
    return text;
}

void NoteLosses(const DxfDrawing& drawing, const std::string& shownPath, std::vector<std::string>& notes) {
    if (const std::string text = TextOfGroupsNotKept(drawing); !text.empty())
        notes.push_back(shownPath + ": values not kept: " + text);
    if (const std::string text = TextOfRecordsNotRead(drawing); !text.empty())
        notes.push_back(shownPath + ": records not read: " + text);
}

// These files hold nothing that is not kept.
void NoteLosses(const LineTypeFile&, const std::string&, std::vector<std::string>&) {}
void NoteLosses(const PatternFile&, const std::string&, std::vector<std::string>&) {}

std::string TextOf(const ImportCounts& counts) {
    std::string text = std::to_string(counts.added) + " new, " + std::to_string(counts.reused) + " reused, " +
                       std::to_string(counts.renamed) + " renamed";
    if (counts.completed != 0)
        text += ", " + std::to_string(counts.completed) + " found that were missing";
    return text;
}

// A folder of documents may be named by its main document too.
std::filesystem::path PathOfDocument(const std::string& path) {
    const std::filesystem::path named(std::u8string(path.begin(), path.end()));
    return named.filename() == "Attribute.xml" ? std::filesystem::absolute(named).parent_path() : named;
}

}   // namespace

template <class Content>
void FileImporter::Take(const std::string& shownPath, const Content& content) {
    for (const ReadWarning& warning : content.warnings) {
        notes.push_back(shownPath + At(warning.line) + ": " + warning.message);
        findings.push_back((warning.line != 0 ? "line " + std::to_string(warning.line) + ": " : "") + warning.message);
    }
    NoteLosses(content, shownPath, notes);
    ImportCounts counts;
    if (isFirst) {
        counts = Fill(content, set);
    } else {
        const ScratchSet scratch;
        Fill(content, scratch.GetSet());
        counts = MergeSet(scratch.GetSet(), set);
    }
    isFirst = false;
    notes.push_back(shownPath + ": " + TextOf(counts));
}

// The names that had to be made unique are not in the notes, which count them.
template <class Content>
ImportCounts FileImporter::Fill(const Content& content, const ODB::Ref<ADB::AttributeSet>& target) {
    ADB::ReadReport report;
    const ADB::ReadReport::Scope scope(report);
    const ImportCounts counts = ImportInto(content, target);
    for (const ADB::ReadReport::Entry& entry : report.GetEntries())
        findings.push_back(TextOf(entry));
    return counts;
}

void FileImporter::TakeDocument(const std::string& shownPath,
                                const std::function<void(const ODB::Ref<ADB::AttributeSet>&)>& read) {
    ADB::ReadReport report;
    ImportCounts counts;
    if (isFirst) {
        const ADB::ReadReport::Scope scope(report);
        read(set);
        counts.added = CountAttributes(set);
    } else {
        const ScratchSet scratch;
        {
            const ADB::ReadReport::Scope scope(report);
            read(scratch.GetSet());
        }
        counts = MergeSet(scratch.GetSet(), set);
    }
    isFirst = false;
    const std::size_t firstFinding = findings.size();
    for (const ADB::ReadReport::Entry& entry : report.GetEntries()) {
        notes.push_back(shownPath + ": " + TextOf(entry));
        if (IsLoss(entry))
            findings.push_back(TextOf(entry));
    }
    if (report.IsIncomplete())
        findings.push_back("memory ran out");
    if (findings.size() != firstFinding)
        inputs.back().loss = findings[firstFinding];
    inputs.back().isDocument = true;
    notes.push_back(shownPath + ": " + TextOf(counts));
}

void FileImporter::Import(const std::string& path) {
    const std::string shownPath = EscapeForMessage(path);
    inputs.push_back({.path = path, .isDocument = false, .loss = {}});
    try {
        if (IsDocumentFolder(path))
            return TakeDocument(shownPath, [&](const auto& target) { ReadDocuments(path, target, notes); });
        const std::string bytes = ReadFileContent(path);
        switch (DetectFileKind(path, bytes)) {
        case FileKind::Drawing:
            return Take(shownPath, ReadDxf(bytes));
        case FileKind::LineTypes:
            return Take(shownPath, ReadLineTypeFile(bytes));
        case FileKind::Patterns:
            return Take(shownPath, ReadPatternFile(bytes));
        case FileKind::Store:
            return TakeDocument(shownPath, [&](const auto& target) { ReadStore(path, bytes, target); });
        }
    } catch (const ReadError& error) {
        throw Failure(shownPath + At(error.GetLine()) + ": " + error.what());
    }
}

bool FileImporter::HasLosses() const noexcept {
    return std::ranges::any_of(inputs, [](const Input& input) { return !input.loss.empty(); });
}

bool FileImporter::AreDocuments() const noexcept {
    return std::ranges::all_of(inputs, &Input::isDocument);
}

const FileImporter::Input* FileImporter::FindInput(const std::string& path) const {
    const auto found = std::ranges::find_if(inputs, [&path](const Input& input) {
        std::error_code error;
        return std::filesystem::equivalent(PathOfDocument(input.path), PathOfDocument(path), error);
    });
    return found != inputs.end() ? &*found : nullptr;
}

bool FileImporter::IsInput(const std::string& path) const {
    return FindInput(path) != nullptr;
}

void FileImporter::CheckTarget(const std::string& path) const {
    const Input* const input = FindInput(path);
    if (input != nullptr && !input->loss.empty())
        throw Failure(EscapeForMessage(path) + ": it was not read whole and is not saved over (" + input->loss +
                      "): choose another target");
}

bool IsPartOf(const std::string& path, const std::string& document) {
    std::error_code error;
    const std::filesystem::path file =
        std::filesystem::weakly_canonical(std::u8string(path.begin(), path.end()), error);
    const std::filesystem::path place = std::filesystem::weakly_canonical(PathOfDocument(document), error);
    return file == place || (file.parent_path() == place && file.extension() == ".xml");
}

std::size_t CountAttributes(const ODB::ConstRef<ADB::AttributeSet>& set) {
    std::size_t count = 0;
    for (const KindEntry& kind : GetKinds())
        count += set->GetAttributeNumber(TypeIdOf(kind.record.refId));
    return count;
}

}   // namespace Host
