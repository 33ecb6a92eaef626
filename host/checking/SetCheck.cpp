#include "SetCheck.hpp"

#include "Session.hpp"
#include "documents/AttributeText.hpp"
#include "documents/SetFills.hpp"
#include "documents/UserDataRecord.hpp"
#include "import/ImportCounts.hpp"
#include "kinds/AllKinds.hpp"
#include "kinds/KindTable.hpp"
#include "kinds/References.hpp"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <utility>

#include <Kest/UniqueName.hpp>

#include <ZalUtil/MemoRecord.hpp>

namespace Host {

namespace {

using ADB::GeneralAttribute;
using SetRef = ODB::ConstRef<ADB::AttributeSet>;

// The check of one kind.
class KindCheck {
public:
    KindCheck(const SetRef& checkedSet, const KindEntry& checkedKind, std::vector<std::string>& foundFaults)
        : set(checkedSet),
          kind(checkedKind),
          faults(foundFaults) {}

    void Check() {
        const short typeId = TypeIdOf(kind.record.refId);
        set->EnumerateConstAttributes(typeId, ADB::SortByIndex, ADB::Ascending,
                                      [this](const ODB::ConstRef<GeneralAttribute>& attribute) {
                                          CheckName(*attribute);
                                          CheckIndex(*attribute);
                                          CheckUserData(*attribute);
                                          CheckContent(dynamic_cast<const KindBase&>(*attribute));
                                      });
        CheckActiveAttribute();
    }

private:
    void Add(const GeneralAttribute& attribute, const std::string& fault) {
        faults.push_back(TextOfAttribute(attribute) + ": " + fault);
    }

    void CheckName(const GeneralAttribute& attribute) {
        if (!Kest::ContainsNonWhitespace(attribute.GetName()))
            Add(attribute, "the name is blank");
        const auto [namesake, isFirst] = names.emplace(attribute.GetName().ToUpper(), &attribute);
        if (!isFirst)
            Add(attribute, "the name is that of " + TextOfAttribute(*namesake->second) + ", letter case ignored");
    }

    void CheckIndex(const GeneralAttribute& attribute) {
        const short index = attribute.GetIndex();
        if (index < 1 || index > static_cast<short>(MostAttributes))
            Add(attribute, "the index is outside 1 to " + std::to_string(MostAttributes));
        const auto [earlier, isFirst] = indexes.emplace(index, &attribute);
        if (!isFirst)
            Add(attribute, "the index is that of " + TextOfAttribute(*earlier->second));
    }

    void CheckUserData(const GeneralAttribute& attribute);
    void CheckContent(const KindBase& attribute);
    void CheckActiveAttribute();

    const SetRef& set;
    const KindEntry& kind;
    std::vector<std::string>& faults;
    std::unordered_map<Kest::UniString, const GeneralAttribute*> names;   // in upper case
    std::unordered_map<short, const GeneralAttribute*> indexes;
};

void KindCheck::CheckUserData(const GeneralAttribute& attribute) {
    if (!attribute.HasMemoData())
        return;
    const GeneralAttribute::IsolatedState content(attribute);
    int size = 0;
    const char* const table = content.memo.GetRegTblPtr(&size);
    ZalUtil::MemoRecordWalk walk(table, static_cast<std::size_t>(size));
    ZalUtil::MemoRecord record;
    std::vector<ZalUtil::Owner> owners;
    std::size_t end = 0;
    for (; walk.Next(record); end = record.GetEnd()) {
        if (std::ranges::find(owners, record.owner) != owners.end())
            Add(attribute, "the user data hold two records of " + TextOf(record.owner));
        owners.push_back(record.owner);
    }
    if (end != static_cast<std::size_t>(size))
        Add(attribute, "the user data are damaged: from byte " + std::to_string(end) + " on there is no whole record");
}

void KindCheck::CheckContent(const KindBase& attribute) {
    if (!attribute.CheckAttribute())
        Add(attribute, "only its name is known, because others refer to it");
    for (const AttributeReference& reference : GetDistinctReferences(attribute))
        if (set->AttributeIndexExist(TypeIdOf(reference.refId), reference.index) != 0)
            Add(attribute, std::string(reference.field) + " refers to " + FindKind(reference.refId)->record.name + ' ' +
                               std::to_string(reference.index) + ", which is not there");
}

void KindCheck::CheckActiveAttribute() {
    const ODB::ConstRef<ADB::AttributeContainer> container =
        set->GetConstAttributeContainer(TypeIdOf(kind.record.refId));
    ADB::AttributeContainer::IsolatedState state;
    if (!container || container->StoreIsolatedState(&state) != 0)
        throw std::bad_alloc();
    const ODB::ConstRef<GeneralAttribute> active = state.activeAttribute;
    if (active.GetId().IsNull() || (active && active->GetConstAttributeContainer() == container))
        return;
    faults.push_back(std::string(kind.record.name) + ": the active attribute " + active.GetId().ToString() +
                     " is not there");
}

}   // namespace

std::vector<std::string> FindFaults(const SetRef& set) {
    std::vector<std::string> faults;
    for (const KindEntry& kind : GetKinds())
        KindCheck(set, kind, faults).Check();
    for (const SetFill& fill : SetFills) {
        const short index = fill.get(*set);
        if (index != 0 && set->AttributeIndexExist(TypeIdOf(Fill::Record.refId), index) != 0)
            faults.push_back("set: the " + std::string(fill.name) + " fill is Fill " + std::to_string(index) +
                             ", which is not there");
    }
    return faults;
}

}   // namespace Host
