#include "ReportText.hpp"

#include "AttributeText.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <Kest/UniqueName.hpp>

namespace Host {

namespace {

using ADB::ReadReport;

// "Layer 3 "Wall"", as far as it is known.
std::string TextOfAttribute(const ReadReport::Entry& entry) {
    const KindEntry* const kind = FindKind(entry.refId);
    std::string text = kind != nullptr ? kind->record.name : "attribute";
    if (entry.index != 0)
        text += ' ' + std::to_string(entry.index);
    return text + (entry.name.IsEmpty() ? std::string() : ' ' + QuoteForPeople(entry.name));
}

// "Layer: ", when the kind is known.
std::string TextOfKind(unsigned int refId) {
    const KindEntry* const kind = FindKind(refId);
    return kind != nullptr ? std::string(kind->record.name) + ": " : std::string();
}

std::string TextOfSkippedFrame(const ReadReport::Entry& entry) {
    std::string text = "a part that another version wrote was passed over";
    if (entry.className != nullptr)
        text += " (" + std::string(entry.className);
    if (entry.className != nullptr && entry.version.GetMajor() != 0)
        text += ' ' + std::to_string(entry.version.GetMajor()) + '.' + std::to_string(entry.version.GetMinor());
    return text + (entry.className != nullptr ? ")" : "");
}

}   // namespace

std::string TextOf(const ReadReport::Entry& entry) {
    switch (entry.kind) {
    case ReadReport::FrameSkipped:
        return TextOfSkippedFrame(entry);
    case ReadReport::TypeSkipped:
        return "attributes of an unknown kind (" + ReplaceControls(entry.name) + ") were not read";
    case ReadReport::AttributeRenamed:
        return TextOfAttribute(entry) + " is called " + QuoteForPeople(entry.newName) + " now: its name was " +
               (Kest::ContainsNonWhitespace(entry.name) ? "taken" : "blank");
    case ReadReport::AttributeRenumbered:
        return TextOfAttribute(entry) + " has the index " + std::to_string(entry.newIndex) + " now: its own was taken";
    case ReadReport::RecordDropped:
        return TextOfAttribute(entry) + " could not be kept";
    case ReadReport::ReferenceWithoutTarget:
        return TextOfKind(entry.refId) + "the active attribute " + ReplaceControls(entry.name) + " is not there";
    case ReadReport::FlagsMissing:
        return TextOfAttribute(entry) + " has no flags";
    case ReadReport::FileMissing:
        return "the document " + ReplaceControls(entry.name) + " is missing";
    case ReadReport::ElementSkipped:
        return "elements that a later program wrote were passed over in " +
               (entry.refId != 0 ? TextOfAttribute(entry) : ReplaceControls(entry.name));
    case ReadReport::SavePending:
        return "an interrupted save was seen through";
    }
    return "something was not read as it was stored";
}

bool IsLoss(const ReadReport::Entry& entry) noexcept {
    return entry.kind != ReadReport::SavePending;
}

}   // namespace Host
