#include "SetComparison.hpp"

#include "Session.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <Kest/MemoryHandle.hpp>

namespace Host {

namespace {

using ADB::AttributeSet;
using ADB::GeneralAttribute;
using SetRef = ODB::ConstRef<AttributeSet>;

// A record of user data.
class UserDataRecord {
public:
    UserDataRecord(const GeneralAttribute& attribute, const ZalUtil::Owner& owner) {
        if (attribute.GetUserData(owner.id1, owner.id2, &platform, &version, &flags, &data) != 0)
            throw std::bad_alloc();
    }
    ~UserDataRecord() { BMKillHandle(&data); }
    UserDataRecord(const UserDataRecord&) = delete;
    UserDataRecord& operator=(const UserDataRecord&) = delete;

    short GetVersion() const noexcept { return version; }

    // Whether both are there or neither, and all but the versions is equal.
    bool HasSameContent(const UserDataRecord& other) const {
        if (data == nullptr || other.data == nullptr)
            return data == other.data;
        const std::size_t size = GetSize();
        return platform == other.platform && flags == other.flags && size == other.GetSize() &&
               (size == 0 || std::memcmp(*data, *other.data, size) == 0);
    }

private:
    std::size_t GetSize() const { return static_cast<std::size_t>(BMGetHandleSize(data)); }

    unsigned short platform = 0;
    short version = 0;
    unsigned int flags = 0;
    char** data = nullptr;
};

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
        text += ' ' + std::to_string(difference.index) + " \"" + ReplaceControls(difference.name) + '"';
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
    const auto fillsOf = [](const SetRef& set) {
        return std::vector<std::pair<const char*, short>>{{"solid", set->GetSolidFill()},
                                                          {"empty", set->GetEmptyFill()},
                                                          {"25 %", set->GetPercentFill(AttributeSet::PercentFill25)},
                                                          {"50 %", set->GetPercentFill(AttributeSet::PercentFill50)},
                                                          {"75 %", set->GetPercentFill(AttributeSet::PercentFill75)}};
    };
    const auto fills = fillsOf(original), otherFills = fillsOf(copy);
    std::vector<Difference> differences;
    for (std::size_t i = 0; i < fills.size(); ++i)
        if (fills[i].second != otherFills[i].second)
            differences.push_back({.aspect = Aspect::Fill, .detail = fills[i].first});
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

std::string TextOf(const ZalUtil::Owner& owner) {
    const auto codeText = [](unsigned int code) {
        std::string text;
        for (int shift = 24; shift >= 0; shift -= 8)
            text += static_cast<char>(code >> shift & 0xFF);
        const bool isText = std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
        return isText ? text : Kest::UniString::Printf("0x%08x", code).ToCStr();
    };
    return codeText(owner.id1) + '/' + codeText(owner.id2);
}

}   // namespace Host
