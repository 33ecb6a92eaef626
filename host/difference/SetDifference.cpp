#include "SetDifference.hpp"

#include "Pairing.hpp"
#include "Session.hpp"
#include "ShownValues.hpp"
#include "documents/SetComparison.hpp"
#include "documents/SetFills.hpp"
#include "documents/UserDataRecord.hpp"
#include "kinds/AllKinds.hpp"
#include "kinds/KindTable.hpp"
#include "kinds/References.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace Host {

namespace {

using ADB::GeneralAttribute;
using SetRef = ODB::ConstRef<ADB::AttributeSet>;
using AttributeRef = ODB::ConstRef<GeneralAttribute>;

const KindBase& KindOf(const GeneralAttribute& attribute) {
    return dynamic_cast<const KindBase&>(attribute);
}

class SetComparer {
public:
    SetComparer(const SetRef& firstSet, const SetRef& secondSet, Times comparedTimes)
        : first(firstSet),
          second(secondSet),
          times(comparedTimes),
          pairing(first, second) {}

    SetDifference Compare() {
        for (const SetFill& fill : SetFills)
            CompareChoice(std::string(fill.name) + " fill", Fill::Record.refId, fill.get(*first), fill.get(*second));
        for (const KindEntry& kind : GetKinds()) {
            const unsigned int refId = kind.record.refId;
            CompareChoice("active " + std::string(kind.record.name), refId, GetActiveIndex(first, refId),
                          GetActiveIndex(second, refId));
            CompareKind(refId);
        }
        return std::move(difference);
    }

private:
    void CompareKind(unsigned int refId);
    void CompareAttributes(const KindBase& before, const KindBase& after);
    void CompareGeneralFields(const GeneralAttribute& before, const GeneralAttribute& after);
    void CompareUserData(const GeneralAttribute& before, const GeneralAttribute& after);
    void CompareOwnFields(const KindBase& before, const KindBase& after);

    void CompareChoice(const std::string& field, unsigned int refId, short before, short after) {
        if (!IsSame({.field = nullptr, .refId = refId, .index = before},
                    {.field = nullptr, .refId = refId, .index = after}))
            difference.set.push_back({field, ShowReference(first, refId, before), ShowReference(second, refId, after)});
    }

    void AddChange(Change change, const GeneralAttribute& attribute) {
        difference.attributes.push_back(
            {change, attribute.GetAttributeTypeId(), attribute.GetIndex(), attribute.GetName()});
    }

    void AddField(std::string field, ShownValue before, ShownValue after) {
        difference.attributes.back().fields.push_back({std::move(field), std::move(before), std::move(after)});
    }

    // Whether a reference in the first set and one in the second are the same.
    bool IsSame(const AttributeReference& before, const AttributeReference& after) const {
        if (before.refId != after.refId || before.index != after.index)
            return false;
        const short typeId = TypeIdOf(before.refId);
        const bool isThere = first->AttributeIndexExist(typeId, before.index) == 0;
        const bool isThereToo = second->AttributeIndexExist(typeId, after.index) == 0;
        return isThere == isThereToo && (!isThere || pairing.FindSecond(before.refId, before.index) == after.index);
    }

    const SetRef& first;
    const SetRef& second;
    Times times;
    Pairing pairing;
    SetDifference difference;
};

void SetComparer::CompareKind(unsigned int refId) {
    const short typeId = TypeIdOf(refId);
    first->EnumerateConstAttributes(
        typeId, ADB::SortByIndex, ADB::Ascending, [this, refId, typeId](const AttributeRef& attribute) {
            const std::optional<short> index = pairing.FindSecond(refId, attribute->GetIndex());
            if (index)
                CompareAttributes(KindOf(*attribute), KindOf(*second->GetConstAttribute(typeId, *index)));
            else
                AddChange(Change::Removed, *attribute);
        });
    second->EnumerateConstAttributes(typeId, ADB::SortByIndex, ADB::Ascending,
                                     [this, refId](const AttributeRef& attribute) {
                                         if (!pairing.FindFirst(refId, attribute->GetIndex()))
                                             AddChange(Change::Added, *attribute);
                                     });
}

void SetComparer::CompareAttributes(const KindBase& before, const KindBase& after) {
    AddChange(Change::Changed, before);
    CompareGeneralFields(before, after);
    CompareOwnFields(before, after);
    if (difference.attributes.back().fields.empty())
        difference.attributes.pop_back();
}

void SetComparer::CompareGeneralFields(const GeneralAttribute& before, const GeneralAttribute& after) {
    if (before.GetName() != after.GetName())
        AddField("name", ShowText(before.GetName()), ShowText(after.GetName()));
    if (before.GetIndex() != after.GetIndex())
        AddField("index", ShowNumber(before.GetIndex()), ShowNumber(after.GetIndex()));
    if (before.GetFlags() != after.GetFlags())
        AddField("attributeFlags", ShowNumber(before.GetFlags()), ShowNumber(after.GetFlags()));
    if (times == Times::Compared && before.GetModificationTime() != after.GetModificationTime())
        AddField("modificationTime", ShowTime(before.GetModificationTime()), ShowTime(after.GetModificationTime()));
    if (!before.HasSameMemoData(&after))
        CompareUserData(before, after);
}

void SetComparer::CompareUserData(const GeneralAttribute& before, const GeneralAttribute& after) {
    Kest::Array<ZalUtil::Owner> owners = before.GetOwners();
    for (const ZalUtil::Owner& owner : after.GetOwners())
        if (std::ranges::find(owners, owner) == owners.end())
            owners.Push(owner);
    for (const ZalUtil::Owner& owner : owners) {
        ShownValue old = ShowRecord(before, owner), present = ShowRecord(after, owner);
        if (old != present)
            AddField("userData " + TextOf(owner), std::move(old), std::move(present));
    }
}

// A field whose indexes are equal differs when one of them leads elsewhere.
void SetComparer::CompareOwnFields(const KindBase& before, const KindBase& after) {
    std::vector<std::string_view> differing;
    before.VisitDifferingFields(after, [&differing](const char* field) { differing.emplace_back(field); });
    const std::vector<AttributeReference> references = GetReferences(before);
    if (references == GetReferences(after))
        for (const AttributeReference& reference : references)
            if (!IsSame(reference, reference))
                differing.emplace_back(reference.field);
    if (differing.empty())
        return;
    std::vector<ShownField> old = ShowFields(first, before), present = ShowFields(second, after);
    for (std::size_t i = 0; i < old.size(); ++i)
        if (std::ranges::find(differing, old[i].name) != differing.end())
            AddField(old[i].name, std::move(old[i].value), std::move(present[i].value));
}

}   // namespace

SetDifference CompareSets(const SetRef& first, const SetRef& second, Times times) {
    return SetComparer(first, second, times).Compare();
}

}   // namespace Host
