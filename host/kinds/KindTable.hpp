#pragma once

#include "Kind.hpp"

#include <span>
#include <string_view>
#include <vector>

namespace Host {

/// What the application knows of a kind without knowing its class.
struct KindEntry {
    KindRecord record;
    std::vector<unsigned int> refersTo;   ///< ref ids of the kinds that its fields refer to
    const KindBase* sample;               ///< an empty attribute; lives as long as the process
};

/// All kinds, in the order in which documents hold them.
std::span<const KindEntry> GetKinds();

/// All kinds, each behind those that it refers to, otherwise in the order of GetKinds: the order in which attributes
/// can be brought in with their references.
std::span<const KindEntry* const> GetKindsInReferenceOrder();

/// The kind whose name is \p name, the case of ASCII letters ignored; null when there is none.
const KindEntry* FindKind(std::string_view name);
/// The kind with the ref id \p refId; null when there is none.
const KindEntry* FindKind(unsigned int refId);

/// Announces all kinds to \p kinds, which must be empty: they get the type ids 1, 2, ... in the order of GetKinds.
void RegisterKinds(ADB::IAttributeRegister& kinds);

}   // namespace Host
