#pragma once

#include <Kest/Guid.hpp>
#include <Kest/UniString.hpp>

#include <concepts>
#include <cstdint>
#include <functional>
#include <type_traits>

namespace Kest {

/// What HashTable and HashSet ask a key for. Hosts specialise it for their own key types; equal keys must have equal
/// hashes. The tables mix and seed every result themselves, so that a specialisation may be as plain as the identity.
template <class T>
struct Hash;

/// Integers, characters, `bool` and enumerations: their value.
template <class T>
requires std::integral<T> || std::is_enum_v<T>
struct Hash<T> {
    std::uint64_t operator()(T key) const noexcept { return static_cast<std::uint64_t>(key); }
};

/// Pointers: their address, not what they point to.
template <class T>
struct Hash<T*> {
    std::uint64_t operator()(T* key) const noexcept { return std::hash<T*>()(key); }
};

/// Text: its code units exactly; letter case counts.
template <>
struct Hash<UniString> {
    std::uint64_t operator()(const UniString& key) const noexcept { return HashOf(key); }
};

template <>
struct Hash<Guid> {
    std::uint64_t operator()(const Guid& key) const noexcept { return HashOf(key); }
};

}   // namespace Kest
