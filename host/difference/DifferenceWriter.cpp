#include "DifferenceWriter.hpp"

#include "documents/AttributeText.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Host {

namespace {

constexpr std::string_view Words[] = {"changed", "removed", "added"};   // by Change

std::string_view WordFor(Change change) {
    return Words[static_cast<int>(change)];
}

void WriteFieldLine(const FieldDifference& field, std::ostream& out) {
    out << "  " << field.field << ": " << field.before.text << " -> " << field.after.text << '\n';
}

std::string GetSummary(const SetDifference& difference) {
    std::string summary;
    for (const Change change : {Change::Changed, Change::Removed, Change::Added}) {
        const auto count = std::ranges::count(difference.attributes, change, &AttributeDifference::change);
        if (count != 0)
            summary += (summary.empty() ? "" : ", ") + std::to_string(count) +
                       (count == 1 ? " attribute " : " attributes ") + std::string(WordFor(change));
    }
    return summary;
}

void WriteFields(const std::vector<FieldDifference>& fields, std::string_view indent, std::ostream& out) {
    std::string_view separator = "\n";
    for (const FieldDifference& field : fields)
        out << std::exchange(separator, ",\n") << indent << R"(  {"field": ")" << field.field << R"(", "old": )"
            << field.before.json << R"(, "new": )" << field.after.json << '}';
    if (!fields.empty())
        out << '\n' << indent;
}

}   // namespace

void WriteDifferenceText(const SetDifference& difference, std::ostream& out) {
    if (difference.IsEmpty()) {
        out << "no differences\n";
        return;
    }
    if (!difference.set.empty())
        out << "set: changed\n";
    for (const FieldDifference& field : difference.set)
        WriteFieldLine(field, out);
    for (const AttributeDifference& attribute : difference.attributes) {
        out << TextOfAttribute(attribute.refId, attribute.index, attribute.name) << ": " << WordFor(attribute.change)
            << '\n';
        for (const FieldDifference& field : attribute.fields)
            WriteFieldLine(field, out);
    }
    if (const std::string summary = GetSummary(difference); !summary.empty())
        out << summary << '\n';
}

void WriteDifferenceJson(const SetDifference& difference, const std::string& first, const std::string& second,
                         std::ostream& out) {
    out << "{\n  \"a\": " << QuoteForJson(Kest::UniString::FromUtf8(first))
        << ",\n  \"b\": " << QuoteForJson(Kest::UniString::FromUtf8(second))
        << ",\n  \"equal\": " << (difference.IsEmpty() ? "true" : "false") << ",\n  \"set\": [";
    WriteFields(difference.set, "  ", out);
    out << "],\n  \"attributes\": [";
    std::string_view separator = "\n";
    for (const AttributeDifference& attribute : difference.attributes) {
        out << std::exchange(separator, ",\n") << R"(    {"kind": ")" << FindKind(attribute.refId)->record.name
            << R"(", "index": )" << attribute.index << R"(, "name": )" << QuoteForJson(attribute.name)
            << R"(, "change": ")" << WordFor(attribute.change) << R"(", "fields": [)";
        WriteFields(attribute.fields, "    ", out);
        out << "]}";
    }
    out << (difference.attributes.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}   // namespace Host
