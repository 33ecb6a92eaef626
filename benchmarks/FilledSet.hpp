#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <Kest/MemoryHandle.hpp>

#include <AttributeManager/AttributeManager.hpp>

#include "Names.hpp"

namespace Bench {

inline constexpr std::size_t TypeCount = 16;

/// The smallest kinds that a host can have, sixteen of them.
template <std::size_t Number>
class Sort : public ADB::GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x53525430 + Number;   // 'SRT0' and so on

    Sort() : GeneralAttribute(GetClassInfoStatic()) {}
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo classInfo("Sort", MakeGuid(1), Kest::ClassVersion(1, 0),
                                               GeneralAttribute::GetClassInfoStatic(), {},
                                               [] { return static_cast<Kest::Object*>(new Sort); });
        return &classInfo;
    }
    static Kest::Guid MakeGuid(std::uint8_t series) {
        Kest::Guid::Bytes bytes{0x5A, 0x17, series, static_cast<std::uint8_t>(Number)};
        bytes.back() = 1;
        return Kest::Guid(bytes);
    }
    unsigned int GetAttributeTypeId() const override { return RefId; }
    Sort* Clone() const override { return new Sort(*this); }
};

template <std::size_t Number>
void Register(ADB::IAttributeRegister& kinds) {
    using Kind = Sort<Number>;
    kinds.RegisterAttributeType(Kind::RefId, {1, Kind::RefId}, Kind::GetClassInfoStatic()->GetId(), Kind::MakeGuid(2),
                                Kest::UniString::Printf("Sort %d", static_cast<int>(Number)), LumCB::PermissionID::None,
                                LumCB::PermissionID::None, 0);
}

enum class UserData { None, FortyBytes };

template <std::size_t Number>
void Fill(ADB::AttributeSet& set, const std::vector<std::u16string>& names, UserData userData) {
    char** data = BMPtrToHandle("forty bytes of somebody else's user data", 40);
    const auto typeId = static_cast<short>(Number + 1);
    for (const std::u16string& name : names) {
        Sort<Number> attribute;
        attribute.SetName(Kest::UniString(name));
        if (userData == UserData::FortyBytes)
            attribute.SetUserData(7, Number, 0x5757, 1, 0, data);
        set.GetAttributeContainer(typeId)->NewAttribute(ODB::ConstRef<ADB::GeneralAttribute>(&attribute), false, true);
    }
    BMKillHandle(&data);
}

inline void Require(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

/// The library in use: sixteen kinds are registered, and there is a set of equally many attributes of each, or of the
/// first few.
class FilledSet {
public:
    FilledSet(std::size_t attributesPerType, std::size_t filledTypes, UserData userData)
        : kinds(CreateAttributeRegister()) {
        Make(std::make_index_sequence<TypeCount>(), MakeNames(attributesPerType), filledTypes, userData);
    }
    ~FilledSet() {
        FreeAttributeSetContainer();
        DisposeAttributeRegister(&kinds);
    }
    FilledSet(const FilledSet&) = delete;
    FilledSet& operator=(const FilledSet&) = delete;

    const ODB::Ref<ADB::AttributeSet>& Get() const { return set; }

private:
    template <std::size_t... Numbers>
    void Make(std::index_sequence<Numbers...>, const std::vector<std::u16string>& names, std::size_t filledTypes,
              UserData userData) {
        (Register<Numbers>(*kinds), ...);
        set = InitAttributeSetContainer(kinds, nullptr);
        ((Numbers < filledTypes ? Fill<Numbers>(*set, names, userData) : void()), ...);
    }

    ADB::IAttributeRegister* kinds;
    ODB::Ref<ADB::AttributeSet> set;
};

}   // namespace Bench
