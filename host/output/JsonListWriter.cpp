#include "JsonListWriter.hpp"

#include "SafeText.hpp"
#include "Session.hpp"

#include <string_view>
#include <utility>

namespace Host {

void JsonListWriter::BeginKind(const KindEntry& kind, std::size_t) {
    out << std::exchange(kindSeparator, ",\n") << "  \"" << kind.record.name << "\": [";
    attributeSeparator = "\n";
}

void JsonListWriter::Write(const KindBase& attribute) {
    out << std::exchange(attributeSeparator, ",\n") << "    {\"index\": " << attribute.GetIndex()
        << ", \"name\": " << QuoteForJson(attribute.GetName());
    attribute.VisitFields(*this);
    out << '}';
}

void JsonListWriter::EndKind() {
    const bool isEmpty = attributeSeparator == "\n";
    out << (isEmpty ? "]" : "\n  ]");
}

void JsonListWriter::Finish() {
    const bool isEmpty = kindSeparator == "{\n";
    out << (isEmpty ? "{}\n" : "\n}\n");
}

void JsonListWriter::BeginField(const char* name, bool isDetail) {
    out << ", \"" << name << "\": ";
    FieldValueWriter::BeginField(name, isDetail);
}

void JsonListWriter::Reference(unsigned int refId, short index) {
    const ODB::ConstRef<ADB::GeneralAttribute> attribute = set->GetConstAttribute(TypeIdOf(refId), index);
    if (!attribute)
        return Absent();
    BeginValue() << QuoteForJson(attribute->GetName());
}

}   // namespace Host
