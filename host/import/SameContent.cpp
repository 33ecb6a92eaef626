#include "SameContent.hpp"

namespace Host {

using ADB::GeneralAttribute;

bool HasSameContent(const GeneralAttribute& one, const GeneralAttribute& other) {
    FieldMask differing = one.Compare(&other);
    const int differingFlags = one.GetFlags() ^ other.GetFlags();
    const Kest::Guid general = GeneralAttribute::GetFieldClassId();
    for (const int field :
         {GeneralAttribute::NameField, GeneralAttribute::IndexField, GeneralAttribute::ModificationTimeField})
        differing.Clear(FieldMask::FieldIdx2FieldId(general, field));
    if ((differingFlags & ~GeneralAttribute::ClientCreated) == 0)
        differing.Clear(FieldMask::FieldIdx2FieldId(general, GeneralAttribute::FlagsField));
    return differing.IsEmpty();
}

}   // namespace Host
