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
    Kest::UniString newName(other->name);
    AttributeKeyChange change(*this, newName, other->index);
    name = std::move(newName);
    index = other->index;
    flags = other->flags;
    modificationTime = other->modificationTime;
    if (other->HasMemoData())
        memo = other->memo;
    change.Close();
}

GeneralAttribute& GeneralAttribute::operator=(const GeneralAttribute& other) {
    if (this == &other)
        return *this;
    Kest::UniString newName(other.name);
    AttributeKeyChange change(*this, newName, other.index);
    Lum::Object::operator=(other);
    name = std::move(newName);
    index = other.index;
    flags = other.flags;
    modificationTime = other.modificationTime;
    char** snapshot = nullptr;
    memo.GetRegTbl(&snapshot);   // null when it cannot be had
    TakeSnapshot(snapshot);
    memo = other.memo;
    change.Close();
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
