#pragma once

#include <compare>
#include <string>

#include <Kest/Guid.hpp>
#include <Kest/Hash.hpp>

namespace ODB {

/// The identity of an object inside an id space.
class Id {
public:
    constexpr Id() noexcept = default;
    explicit Id(const Kest::Guid& idGuid) noexcept : guid(idGuid) {}
    /// From the text form of a GUID; damaged text gives the null id.
    explicit Id(const char* text) : guid(text) {}

    const Kest::Guid& GetGuid() const noexcept { return guid; }
    bool IsNull() const noexcept { return guid.IsNull(); }
    std::string ToString() const { return guid.ToText(); }

    friend bool operator==(const Id& left, const Id& right) noexcept { return left.guid == right.guid; }

private:
    Kest::Guid guid;
};

/// Stands for no identity. Where an id is asked for, it means: generate a fresh one.
inline const Id NullId;

}   // namespace ODB

template <>
struct Kest::Hash<ODB::Id> {
    auto operator()(const ODB::Id& id) const noexcept { return Kest::Hash<Kest::Guid>()(id.GetGuid()); }
};
