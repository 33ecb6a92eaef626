#include <cassert>
#include <memory>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

// Makes of `attribute` what a script's attribute is stored as.
void CompleteForPax(GeneralAttribute& attribute, short index) {
    attribute.AddPropertyToFlags(GeneralAttribute::FromPax);
    if (!attribute.CheckAttribute())
        attribute.CorrectAttribute();
    attribute.SetIndex(index);
}

// Whether a script's `attribute` would change `stored`, name and modification time left out.
int CompareForPax(const GeneralAttribute& attribute, const ODB::ConstRef<GeneralAttribute>& stored, bool& differs) {
    differs = true;
    if (attribute.GetClassInfo() != stored->GetClassInfo())
        return Error::None;
    const std::unique_ptr<GeneralAttribute> copy(static_cast<GeneralAttribute*>(attribute.Clone()));
    if (copy == nullptr)
        return Error::MemoryFull;
    copy->SetClientCreated(stored->IsClientCreated());
    CompleteForPax(*copy, stored->GetIndex());
    FieldMaskT<GeneralAttribute> differing(copy->Compare(stored));
    differing.Clear(GeneralAttribute::NameField);
    differing.Clear(GeneralAttribute::ModificationTimeField);
    differs = !differing.IsEmpty();
    return Error::None;
}

}   // namespace

int AttributeSet::FindMatchingAttributeForPax(short typeId, const GeneralAttribute& attribute,
                                              AttributeForPaxFoundResult& result, short& index) const {
    index = 0;
    const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    if (attribute.GetName().IsEmpty())
        return Error::EmptyName;
    const int lookup = container->AttributeNameToIndex(attribute.GetName(), &index);
    if (lookup != Error::None && lookup != Error::NoSuchName && lookup != Error::Reserved)
        return lookup;

    bool differs = false;
    if (index > 0) {
        const ODB::ConstRef<GeneralAttribute> stored = container->GetConstAttribute(static_cast<unsigned int>(index));
        if (stored && stored->IsFromPax()) {
            const int status = CatchMemoryFull([&] { return CompareForPax(attribute, stored, differs); });
            if (status != Error::None)
                return status;
        }
    }
    result = index <= 0 ? PaxMatchNone : differs ? PaxMatchDiffers : PaxMatchFound;
    return Error::None;
}

int AttributeSet::AddPaxAttribute(short typeId, GeneralAttribute* attribute) {
    const Kest::EventSource::Announcement held;   // observers of the attribute may delete the set
    if (attribute == nullptr)
        return Error::NullArgument;
    assert(!attribute->GetConstAttributeContainer());
    AttributeForPaxFoundResult found = PaxMatchNone;
    short index = 0;
    if (const int status = FindMatchingAttributeForPax(typeId, *attribute, found, index); status != Error::None)
        return status;

    CompleteForPax(*attribute, index);
    if (found == PaxMatchFound)
        return Error::None;
    if (found == PaxMatchDiffers) {
        const ODB::ConstRef<GeneralAttribute> stored = GetConstAttribute(typeId, index);
        attribute->SetClientCreated(stored && stored->IsClientCreated());
        return PutAttribute(typeId, attribute, false);
    }
    attribute->SetClientCreated(true);
    return CatchMemoryFull([&] {
        ODB::Ref<GeneralAttribute>(attribute).GenerateId(GetIdSpace());
        return NewAttribute(typeId, attribute, false, true);
    });
}

}   // namespace ADB
