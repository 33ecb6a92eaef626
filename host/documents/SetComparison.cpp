#include "SetComparison.hpp"

#include "AttributeText.hpp"
#include "Session.hpp"
#include "SetFills.hpp"
#include "UserDataRecord.hpp"
#include "kinds/KindTable.hpp"

#include <new>
#include <utility>

namespace Host {

namespace {

using ADB::AttributeSet;
using ADB::GeneralAttribute;
using SetRef = ODB::ConstRef<AttributeSet>;

// The comparison of one kind.
class KindComparison {
public:
    KindComparison(const SetRef& originalSet, const SetRef& copySet, unsigned int comparedRefId,
                   std::vector<Difference>& differences)
        : original(originalSet),
          copy(copySet),
          refId(comparedRefId),
          typeId(TypeIdOf(refId)),
          found(differences) {}

    void Compare() {
        original->EnumerateConstAttributes(
            typeId, ADB::SortByIndex, ADB::Ascending, [this](const ODB::ConstRef<GeneralAttribute>& attribute) {
                const ODB::ConstRef<GeneralAttribute> other = copy->GetConstAttribute(typeId, attribute->GetIndex());
                other ? CompareWith(*other, *attribute) : Add(Aspect::Attribute, *attribute);
            });
        copy->EnumerateConstAttributes(typeId, ADB::SortByIndex, ADB::Ascending,
                                       [this](const ODB::ConstRef<GeneralAttribute>& attribute) {
                                           if (!IsIn(original, attribute->GetIndex()))
                                               Add(Aspect::Attribute, *attribute, "not in the original");
                                       });
        if (GetLinkOrder(original, copy) != GetLinkOrder(copy, original))
            found.push_back({.aspect = Aspect::LinkOrder, .refId = refId});
        const short active = GetActiveIndex(original, refId);
        if (active != GetActiveIndex(copy, refId) && (active == 0 || IsIn(copy, active)))
            found.push_back({.aspect = Aspect::ActiveAttribute, .refId = refId});
    }

private:
    bool IsIn(const SetRef& set, short index) const { return set->AttributeIndexExist(typeId, index) == 0; }

    // The indexes that `other` has too, in the order in which `set` links them.
    std::vector<short> GetLinkOrder(const SetRef& set, const SetRef& other) const {
        std::vector<short> order;
        set->EnumerateConstAttributes(typeId, [&](const ODB::ConstRef<GeneralAttribute>& attribute) {
            if (IsIn(other, attribute->GetIndex()))
                order.push_back(attribute->GetIndex());
        });
        return order;
    }

    void Add(Aspect aspect, const GeneralAttribute& attribute, std::string detail = {}) {
        found.push_back({aspect, refId, attribute.GetIndex(), attribute.GetName(), std::move(detail)});
    }

    void CompareWith(const GeneralAttribute& other, const GeneralAttribute& attribute) {
        constexpr std::pair<int, Aspect> Fields[] = {
            {GeneralAttribute::NameField, Aspect::Name},
            {GeneralAttribute::FlagsField, Aspect::Flags},
            {GeneralAttribute::ModificationTimeField, Aspect::ModificationTime}};
        if (attribute.GetGuid() != other.GetGuid())
            Add(Aspect::Id, attribute);
        const FieldMask differing = attribute.Compare(&other);
        if (differing.IsEmpty())
            return;
        const Kest::Guid general = GeneralAttribute::GetFieldClassId();
        for (const auto& [field, aspect] : Fields)
            if (differing.Test(FieldMask::FieldIdx2FieldId(general, field)))
                Add(aspect, attribute);
        if (differing.Test(FieldMask::FieldIdx2FieldId(general, GeneralAttribute::UserDataField)))
            CompareUserData(attribute, other);
        dynamic_cast<const KindBase&>(attribute).VisitDifferingFields(
            dynamic_cast<const KindBase&>(other), [&](const char* name) { Add(Aspect::Field, attribute, name); });
    }

    // Called when the tables are not the same bytes.
    void CompareUserData(const GeneralAttribute& attribute, const GeneralAttribute& other) {
        const std::size_t before = found.size();
        for (const ZalUtil::Owner& owner : attribute.GetOwners()) {
            const UserDataRecord record(attribute, owner), otherRecord(other, owner);
            if (!record.HasSameContent(otherRecord))
                Add(Aspect::UserData, attribute, TextOf(owner));
            else if (record.GetVersion() != otherRecord.GetVersion())
                Add(Aspect::UserDataVersion, attribute, TextOf(owner));
        }
        if (attribute.GetOwners() != other.GetOwners() || found.size() == before)
            Add(Aspect::UserData, attribute, "other records");
    }

    const SetRef& original;
    const SetRef& copy;
    unsigned int refId;
    short typeId;
    std::vector<Difference>& found;
};

}   // namespace

std::string NameOf(Aspect aspect) {
    switch (aspect) {
    case Aspect::Attribute:
        return "whole attribute";
    case Aspect::Name:
        return "name";
    case Aspect::Flags:
        return "flags";
    case Aspect::ModificationTime:
        return "modification time";
    case Aspect::Id:
        return "object id";
    case Aspect::UserData:
        return "user data";
    case Aspect::UserDataVersion:
        return "version of user data";
    case Aspect::Field:
        return "field";
    case Aspect::LinkOrder:
        return "link order";
    case Aspect::ActiveAttribute:
        return "active attribute";
    case Aspect::Fill:
        return "fill";
    }
    return {};
}

std::string TextOf(const Difference& difference) {
    const KindEntry* const kind = FindKind(difference.refId);
    std::string text = kind != nullptr ? kind->record.name : "set";
    if (difference.index != 0)
        text = TextOfAttribute(difference.refId, difference.index, difference.name);
    text += ": " + NameOf(difference.aspect);
    return difference.detail.empty() ? text : text + " (" + difference.detail + ')';
}

std::vector<Difference> CompareAttributes(const SetRef& original, const SetRef& copy) {
    std::vector<Difference> differences;
    for (const KindEntry& kind : GetKinds())
        KindComparison(original, copy, kind.record.refId, differences).Compare();
    return differences;
}

std::vector<Difference> CompareFills(const SetRef& original, const SetRef& copy) {
    std::vector<Difference> differences;
    for (const SetFill& fill : SetFills)
        if (fill.get(*original) != fill.get(*copy))
            differences.push_back({.aspect = Aspect::Fill, .detail = fill.name});
    return differences;
}

short GetActiveIndex(const SetRef& set, unsigned int refId) {
    const ODB::ConstRef<ADB::AttributeContainer> container = set->GetConstAttributeContainer(TypeIdOf(refId));
    ADB::AttributeContainer::IsolatedState state;
    if (!container || container->StoreIsolatedState(&state) != 0)
        throw std::bad_alloc();
    const ODB::ConstRef<GeneralAttribute> active = state.activeAttribute;
    return active ? active->GetIndex() : short{0};
}

}   // namespace Host
