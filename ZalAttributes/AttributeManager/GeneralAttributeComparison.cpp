#include <algorithm>
#include <utility>

#include <AttributeManager/AttributeNewIndexTable.hpp>
#include <AttributeManager/GeneralAttribute.hpp>

#include "AttributeKeyChange.hpp"

namespace ADB {
namespace {

bool HasEqualBytes(const RegTblData& one, const RegTblData& other) {
    return one.IsSameStorage(other) || (one.GetSize() == other.GetSize() &&
                                        std::equal(one.GetBytes(), one.GetBytes() + one.GetSize(), other.GetBytes()));
}

short WithoutClientCreated(short flags) {
    return static_cast<short>(flags & ~GeneralAttribute::ClientCreated);
}

}   // namespace

FieldMask GeneralAttribute::Compare(ODB::ConstRef<GeneralAttribute> other) const {
    FieldMaskT<GeneralAttribute> differing;
    if (!other)
        return differing;
    if (name != other->name)
        differing.Set(NameField);
    if (index != other->index)
        differing.Set(IndexField);
    if (flags != other->flags)
        differing.Set(FlagsField);
    if (modificationTime != other->modificationTime)
        differing.Set(ModificationTimeField);
    if (!HasEqualBytes(memo, other->memo))
        differing.Set(UserDataField);
    return differing;
}

bool GeneralAttribute::IsEqual(ODB::ConstRef<GeneralAttribute> other) const {
    return other && name == other->name && index == other->index &&
           WithoutClientCreated(flags) == WithoutClientCreated(other->flags) && memo.IsSameStorage(other->memo) &&
           modificationTime == other->modificationTime;
}

bool GeneralAttribute::HasMemoData() const {
    return !memo.IsEmpty();
}

bool GeneralAttribute::HasSameMemoData(ODB::ConstRef<GeneralAttribute> other) const {
    return other && memo.IsSameStorage(other->memo);
}

void GeneralAttribute::Copy(ODB::ConstRef<GeneralAttribute> other) {
    if (!other)
        return;
    IsolatedState content(*other);
    if (!other->HasMemoData())
        content.memo = memo;
    Take(std::move(content));
}

GeneralAttribute& GeneralAttribute::operator=(const GeneralAttribute& other) {
    if (this == &other)
        return *this;
    const RegTblData oldMemo(memo);
    Take(IsolatedState(other));
    Lum::Object::operator=(other);
    char** snapshot = nullptr;
    oldMemo.GetRegTbl(&snapshot);   // null when it cannot be had
    TakeSnapshot(snapshot);
    return *this;
}

void GeneralAttribute::Synchronize(ODB::ConstRef<GeneralAttribute> other, const FieldMask& fields) {
    if (!other || other.Get() == this)
        return;
    const FieldMaskT<GeneralAttribute> taken(fields);
    const bool takesName = taken.Test(NameField);
    Kest::UniString otherName(takesName ? other->name : name);
    const short newIndex = taken.Test(IndexField) ? other->index : index;
    AttributeKeyChange change(*this, otherName, newIndex);
    std::swap(name, otherName);
    index = newIndex;
    if (taken.Test(FlagsField))
        flags = other->flags;
    if (taken.Test(ModificationTimeField))
        modificationTime = other->modificationTime;
    if (other->HasMemoData())
        memo = other->memo;
    change.Close();
    if (takesName)
        TellOldName(otherName);
}

void GeneralAttribute::ReindAttr(IAttributeNewIndexTable*) {}

void GeneralAttribute::CollectUsedAttrs(IUsedAttrCollection&) const {}

void GeneralAttribute::CollectUsedLibPartNames(IUsedLibPartCollection&) const {}

}   // namespace ADB
