#include "MergeText.hpp"

#include "documents/AttributeText.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

namespace Host {

namespace {

bool IsRenumbered(const MergedAttribute& attribute) {
    return attribute.merged->GetIndex() != attribute.oldIndex;
}

// That one side's name of an attribute of both gave way is no rename.
bool IsRenamed(const MergedAttribute& attribute) {
    return attribute.isNew && attribute.merged->GetName() != attribute.oldName;
}

struct Changes {
    std::size_t renamed = 0;
    std::size_t renumbered = 0;
    std::string lines{};
};

Changes GetChanges(const MergedInput& input) {
    Changes changes;
    for (const MergedAttribute& attribute : input.attributes) {
        const std::string before = TextOfAttribute(attribute.refId, attribute.oldIndex, attribute.oldName);
        if (IsRenamed(attribute)) {
            ++changes.renamed;
            changes.lines += "  renamed " + before + " to " + QuoteForPeople(attribute.merged->GetName()) + '\n';
        }
        if (IsRenumbered(attribute)) {
            ++changes.renumbered;
            changes.lines += "  renumbered " + before + " to " + std::to_string(attribute.merged->GetIndex()) + '\n';
        }
    }
    return changes;
}

}   // namespace

std::string TextOfMerge(std::span<const NamedInput> inputs) {
    std::string text;
    for (const auto& [path, input] : inputs) {
        const Changes changes = GetChanges(*input);
        const bool isServer = input == inputs.front().input;
        if (isServer && changes.renumbered == 0)
            continue;
        text += EscapeForMessage(path) + ": ";
        if (!isServer)
            text += std::to_string(input->brought) + " new, " + std::to_string(input->same) + " the same, " +
                    std::to_string(input->taken) + " newer, " + std::to_string(input->kept) + " older, " +
                    std::to_string(changes.renamed) + " renamed, ";
        text += std::to_string(changes.renumbered) + " renumbered\n" + changes.lines;
    }
    return text;
}

std::string TableOfMerge(std::span<const NamedInput> inputs) {
    std::string table = "file\tkind\told index\tnew index\tname\n";
    for (const auto& [path, input] : inputs)
        for (const MergedAttribute& attribute : input->attributes)
            if (IsRenumbered(attribute))
                table += EscapeForTsv(Kest::UniString::FromUtf8(path)) + '\t' + FindKind(attribute.refId)->record.name +
                         '\t' + std::to_string(attribute.oldIndex) + '\t' +
                         std::to_string(attribute.merged->GetIndex()) + '\t' +
                         EscapeForTsv(attribute.merged->GetName()) + '\n';
    return table;
}

}   // namespace Host
