#pragma once

#include "kinds/AllKinds.hpp"

#include <cstddef>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <Kest/MemoryHandle.hpp>

namespace HostTests {

using namespace Host;

inline constexpr short OldReference = 5;
inline constexpr short NewReference = 7;

// Makes a value another one; what refers to attributes then refers to OldReference, the next time to NewReference.
template <class Value>
void Change(Value& value) {
    if constexpr (std::is_same_v<Value, bool>)
        value = !value;
    else if constexpr (std::is_same_v<Value, short>)
        value = value == OldReference ? NewReference : OldReference;
    else if constexpr (std::is_arithmetic_v<Value>)
        value += 1;
    else if constexpr (std::is_same_v<Value, Kest::UniString>)
        value += u"x";
    else if constexpr (HasFields<Value>)
        ForEachField<Value>([&value](const auto& field) { Change(value.*field.member); });
    else if constexpr (requires { value.emplace_back(); })
        Change(value.emplace_back());
    else
        Change(value ? *value : value.emplace());
}

template <class Kind, std::size_t Index>
constexpr auto FieldAt() {
    return std::get<Index>(Kind::FieldsType::Fields());
}

template <class Kind, std::size_t Index>
void ChangeField(Kind& attribute) {
    auto value = attribute.Get().*FieldAt<Kind, Index>().member;
    Change(value);
    attribute.template Set<FieldAt<Kind, Index>().member>(value);
}

// Calls `call` with the place of each field as a constant.
template <class Kind, class Call>
void ForEachPlace(Call&& call) {
    constexpr std::size_t Count = std::tuple_size_v<decltype(Kind::FieldsType::Fields())>;
    [&call]<std::size_t... Index>(std::index_sequence<Index...>) {
        (call(std::integral_constant<std::size_t, Index>()), ...);
    }
    (std::make_index_sequence<Count>());
}

template <class Kind>
void ChangeAll(Kind& attribute) {
    ForEachPlace<Kind>([&attribute](auto place) { ChangeField<Kind, place()>(attribute); });
}

// Gives \p attribute a record of the owner ('HOST', 'TEST') with the byte \p byte.
inline void SetRecord(ADB::GeneralAttribute& attribute, char byte) {
    char** data = BMPtrToHandle(&byte, 1);
    attribute.SetUserData(FourCharacters("HOST"), FourCharacters("TEST"), 0x5757, 3, 7, data);
    BMKillHandle(&data);
}

// Calls `call` with an empty attribute of every kind.
template <class Call>
void ForEachKind(Call&& call) {
    [&call]<class... Kinds>(std::type_identity<std::tuple<Kinds...>>) {
        (call(Kinds()), ...);
    }(std::type_identity<AllKinds>());
}

// An attribute of every kind, every field changed \p times times.
inline std::vector<std::unique_ptr<KindBase>> MakeChangedKinds(int times) {
    std::vector<std::unique_ptr<KindBase>> attributes;
    ForEachKind([&]<class Kind>(const Kind&) {
        auto attribute = std::make_unique<Kind>();
        for (int i = 0; i < times; ++i)
            ChangeAll(*attribute);
        attribute->SetName(Kest::UniString::Printf("name %d", times));
        attribute->SetIndex(static_cast<short>(times));
        attribute->SetFlags(static_cast<short>(times));
        attribute->SetModificationTime(times);
        SetRecord(*attribute, static_cast<char>(times));
        attributes.push_back(std::move(attribute));
    });
    return attributes;
}

}   // namespace HostTests
