#include "TypeEdit.hpp"

#include "Failure.hpp"
#include "NewIndexTable.hpp"
#include "Session.hpp"
#include "documents/AttributeText.hpp"
#include "documents/SetComparison.hpp"
#include "documents/SetFills.hpp"
#include "documents/StatusText.hpp"
#include "import/ImportCounts.hpp"
#include "kinds/AllKinds.hpp"
#include "kinds/References.hpp"

#include <algorithm>

#include <Kest/UniqueName.hpp>

#include <ZalUtil/FieldMask.hpp>

#include <AttributeManager/AttributeTypeSet.hpp>

namespace Host {

namespace {

using ADB::GeneralAttribute;
using AttributeRef = ODB::ConstRef<GeneralAttribute>;

// What the library refuses here was looked into before: there is no more to say than its code.
void Expect(int status, const std::string& edit) {
    if (status == ADB::Error::MemoryFull)
        throw std::bad_alloc();
    if (status != 0)
        throw Failure(edit + " cannot be done (" + TextOfStatus(status) + "): check the input first");
}

// Calls `call` with each attribute of the set that can refer to the kind, and its references to it.
template <class Call>
void ForEachReferrer(const ODB::ConstRef<ADB::AttributeSet>& set, unsigned int refId, Call&& call) {
    for (const KindEntry& kind : GetKinds()) {
        if (std::ranges::find(kind.refersTo, refId) == kind.refersTo.end())
            continue;
        set->EnumerateConstAttributes(TypeIdOf(kind.record.refId), ADB::SortByIndex, ADB::Ascending,
                                      [&](const AttributeRef& attribute) {
                                          const auto& referrer = dynamic_cast<const KindBase&>(*attribute);
                                          for (const AttributeReference& reference : GetDistinctReferences(referrer))
                                              if (reference.refId == refId)
                                                  call(referrer, reference);
                                      });
    }
}

}   // namespace

class TypeEdit::WorkingCopy : public ADB::AttributeTypeSet {
public:
    WorkingCopy(const ODB::Ref<ADB::AttributeSet>& source, short copiedTypeId)
        : AttributeTypeSet(source, copiedTypeId) {}
};

TypeEdit::TypeEdit(const ODB::Ref<ADB::AttributeSet>& editedSet, const KindEntry& editedKind)
    : set(editedSet),
      kind(editedKind),
      typeId(TypeIdOf(editedKind.record.refId)) {
    set.GetConst()->EnumerateConstAttributes(typeId, [](const AttributeRef& attribute) {
        if (attribute->GetIndex() < 1 || attribute->GetIndex() > static_cast<short>(MostAttributes))
            throw Failure(TextOfAttribute(*attribute) + " has an index outside 1 to " + std::to_string(MostAttributes) +
                          ", which cannot be edited: merge the input with another one first, to renumber it");
    });
    copy = std::make_unique<WorkingCopy>(set, typeId);
}

TypeEdit::~TypeEdit() = default;

void TypeEdit::Add(const Kest::UniString& name) {
    CheckName(name, 0);
    short largest = 0;
    Expect(copy->GetMaximumIndex(&largest), "looking for the largest index");
    if (largest >= static_cast<short>(MostAttributes))   // lower ones may be those of attributes that are deleted
        throw Failure("there is no index left behind the largest one for " + QuoteForPeople(name) + ": leave it out");
    const std::unique_ptr<KindBase> attribute(kind.sample->Clone());
    attribute->SetName(name);
    Expect(copy->Add(attribute.get()), "adding " + QuoteForPeople(name));
    report.push_back("added " + TextOf(attribute->GetIndex()));
}

void TypeEdit::Rename(short index, const Kest::UniString& name) {
    CheckIsThere(index);
    CheckName(name, index);
    const std::string before = TextOf(index);
    const std::unique_ptr<GeneralAttribute> attribute(copy->GetAttributeSet()->Clone(typeId, index));
    attribute->SetName(name);
    FieldMask nameField;
    nameField.Set(FieldMask::FieldIdx2FieldId(GeneralAttribute::GetFieldClassId(), GeneralAttribute::NameField));
    Expect(copy->Set(attribute.get(), nameField, true), "renaming " + before);
    report.push_back("renamed " + before + " to " + QuoteForPeople(name));
}

void TypeEdit::Delete(short index) {
    if (!IsThere(index) && GetSuccessor(index) != 0)
        return;
    CheckIsThere(index);
    const std::string deleted = TextOf(index);
    Expect(copy->Delete(index, true), "deleting " + deleted);
    report.push_back("deleted " + deleted);
}

void TypeEdit::Replace(short oldIndex, short newIndex) {
    const bool isDeleted = !IsThere(oldIndex) && IsOrphan(oldIndex);
    if (!isDeleted)
        CheckIsThere(oldIndex);
    CheckIsThere(newIndex);
    if (oldIndex == newIndex)
        throw Failure(TextOf(oldIndex) + " cannot replace itself: name another one behind the equals sign");
    const std::string replaced =
        isDeleted ? TextOfAttribute(*set.GetConst()->GetConstAttribute(typeId, oldIndex)) : TextOf(oldIndex);
    Expect(copy->SetAttributeReplaced(oldIndex, newIndex), "replacing " + replaced);
    Expect(copy->GetReplacedAttributes(&successors), "replacing " + replaced);
    if (!isDeleted)
        Expect(copy->Delete(oldIndex, true), "deleting " + replaced);
    report.push_back("replaced " + replaced + " by " + TextOf(newIndex));
}

std::vector<std::string> TypeEdit::FindOrphans() const {
    std::vector<std::string> orphans;
    for (const SetFill& fill : SetFills) {
        const short index = fill.get(*set.GetConst());
        if (kind.record.refId == Fill::Record.refId && IsOrphan(index))
            orphans.push_back("set: the " + std::string(fill.name) + " fill is " +
                              TextOfAttribute(*set.GetConst()->GetConstAttribute(typeId, index)));
    }
    ForEachReferrer(set, kind.record.refId, [&](const KindBase& referrer, const AttributeReference& reference) {
        if (IsOrphan(reference.index))
            orphans.push_back(TextOfAttribute(referrer) + ": " + reference.field + " refers to " +
                              TextOfAttribute(*set.GetConst()->GetConstAttribute(typeId, reference.index)));
    });
    return orphans;
}

void TypeEdit::Finish() {
    const short active = GetActiveIndex(set, kind.record.refId);
    Expect(copy->Synchronize(set, true), "writing the edits");
    ReindexReferences();
    ReindexFills();
    ReindexActiveAttribute(active);
}

bool TypeEdit::IsThere(short index) const {
    return copy->AttributeIndexExist(index) == 0;
}

void TypeEdit::CheckIsThere(short index) const {
    if (!IsThere(index))
        throw Failure("there is no " + std::string(kind.record.name) + ' ' + std::to_string(index) +
                      ": name one that is listed and not deleted");
}

// \param bearer  may have the name
void TypeEdit::CheckName(const Kest::UniString& name, short bearer) const {
    if (!Kest::ContainsNonWhitespace(name))
        throw Failure("a name is blank: give the attribute another one");
    short taken = 0;
    if (copy->AttributeNameToIndex(name, &taken) == 0 && taken != bearer)
        throw Failure("the name " + QuoteForPeople(name) + " is that of " + TextOf(taken) + ": choose another one");
}

std::string TypeEdit::TextOf(short index) const {
    Kest::UniString name;
    copy->AttributeIndexToName(index, name);
    return TextOfAttribute(kind.record.refId, index, name);
}

// Whether what refers to the index loses an attribute and gets none.
bool TypeEdit::IsOrphan(short index) const {
    if (set.GetConst()->AttributeIndexExist(typeId, index) != 0)
        return false;
    const short successor = GetSuccessor(index);
    return !IsThere(successor != 0 ? successor : index);
}

// 0 without one.
short TypeEdit::GetSuccessor(short index) const {
    const short* const successor = successors.Find(index);
    return successor != nullptr ? *successor : short{0};
}

void TypeEdit::ReindexReferences() {
    const NewIndexTable table = TakeNewIndexTable(copy->GenerateAttributeNewIndexTable());
    ForEachReferrer(set, kind.record.refId, [&](const KindBase& referrer, const AttributeReference& reference) {
        const short newIndex = GetNewAttributeIndex(table.get(), typeId, reference.index);
        if (newIndex != 0)
            report.push_back("reindexed " + TextOfAttribute(referrer) + ": " + reference.field + ' ' +
                             std::to_string(reference.index) + " -> " + std::to_string(newIndex));
    });
    for (const KindEntry& referring : GetKinds())
        if (const auto container = set.GetConst()->GetConstAttributeContainer(TypeIdOf(referring.record.refId)))
            container->ReindexAttributeReferences(table.get(), false, nullptr);
}

void TypeEdit::ReindexFills() {
    if (kind.record.refId != Fill::Record.refId)
        return;
    for (const SetFill& fill : SetFills) {
        const short index = fill.get(*set.GetConst()), newIndex = GetSuccessor(index);
        if (newIndex == 0)
            continue;
        fill.put(*set.GetConst(), newIndex);
        report.push_back("reindexed set: " + std::string(fill.name) + " fill " + std::to_string(index) + " -> " +
                         std::to_string(newIndex));
    }
}

// The active attribute that is gone gives way to its successor, or leaves the choice open.
void TypeEdit::ReindexActiveAttribute(short active) {
    if (active == 0 || IsThere(active))
        return;
    const short successor = GetSuccessor(active);
    Expect(set->SetActiveAttribute(typeId, set.GetConst()->GetAttribute(typeId, successor)),
           "choosing the active attribute");
    if (successor != 0)
        report.push_back("active " + std::string(kind.record.name) + ": " + std::to_string(active) + " -> " +
                         std::to_string(successor));
}

}   // namespace Host
