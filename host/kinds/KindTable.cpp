#include "KindTable.hpp"

#include "AllKinds.hpp"
#include "readers/TextLines.hpp"

#include <algorithm>
#include <tuple>
#include <type_traits>

#include <Kest/ClassManager.hpp>

#include <ZalUtil/Owner.hpp>

namespace Host {

namespace {

// The owner of what this application attaches to attributes; the second number is the kind's ref id.
constexpr unsigned int HostOwner = FourCharacters("HOST");

template <class... Kinds>
std::vector<KindEntry> MakeEntries(std::type_identity<std::tuple<Kinds...>>) {
    static const std::tuple<Kest::ClassRegistration<Kinds>...> registrations;
    static const std::tuple<Kinds...> samples;
    return {KindEntry{Kinds::Record, GetReferredKinds<typename Kinds::FieldsType>(), &std::get<Kinds>(samples)}...};
}

// Depth first; references between kinds make no circle, which a test holds.
void AddWithReferences(const KindEntry& kind, std::vector<const KindEntry*>& order) {
    if (std::find(order.begin(), order.end(), &kind) != order.end())
        return;
    for (const unsigned int refId : kind.refersTo)
        AddWithReferences(*FindKind(refId), order);
    order.push_back(&kind);
}

}   // namespace

std::span<const KindEntry> GetKinds() {
    static const std::vector<KindEntry> entries = MakeEntries(std::type_identity<AllKinds>());
    return entries;
}

std::span<const KindEntry* const> GetKindsInReferenceOrder() {
    static const std::vector<const KindEntry*> inOrder = [] {
        std::vector<const KindEntry*> order;
        for (const KindEntry& kind : GetKinds())
            AddWithReferences(kind, order);
        return order;
    }();
    return inOrder;
}

const KindEntry* FindKind(std::string_view name) {
    const auto found = std::ranges::find_if(
        GetKinds(), [name](const KindEntry& kind) { return EqualsIgnoringCase(kind.record.name, name); });
    return found != GetKinds().end() ? &*found : nullptr;
}

const KindEntry* FindKind(unsigned int refId) {
    const auto found =
        std::ranges::find_if(GetKinds(), [refId](const KindEntry& kind) { return kind.record.refId == refId; });
    return found != GetKinds().end() ? &*found : nullptr;
}

void RegisterKinds(ADB::IAttributeRegister& kinds) {
    for (const auto& [record, refersTo, sample] : GetKinds())
        kinds.RegisterAttributeType(record.refId, ZalUtil::Owner{HostOwner, record.refId}, Kest::Guid(record.classId),
                                    Kest::Guid(record.containerId), record.typeName, LumCB::PermissionID::None,
                                    LumCB::PermissionID::None, 0);
}

}   // namespace Host
