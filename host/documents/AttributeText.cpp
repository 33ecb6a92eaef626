#include "AttributeText.hpp"

#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

namespace Host {

std::string TextOfAttribute(unsigned int refId, short index, const Kest::UniString& name) {
    const KindEntry* const kind = FindKind(refId);
    return std::string(kind != nullptr ? kind->record.name : "attribute") + ' ' + std::to_string(index) + ' ' +
           QuoteForPeople(name);
}

std::string TextOfAttribute(const ADB::GeneralAttribute& attribute) {
    return TextOfAttribute(attribute.GetAttributeTypeId(), attribute.GetIndex(), attribute.GetName());
}

std::string QuoteForPeople(const Kest::UniString& name) {
    return '"' + ReplaceControls(name) + '"';
}

}   // namespace Host
