#include "ProjectMerge.hpp"

#include "KindMerge.hpp"
#include "LooseReferences.hpp"
#include "Session.hpp"
#include "documents/SetFills.hpp"
#include "kinds/AllKinds.hpp"
#include "kinds/KindTable.hpp"

namespace Host {

namespace {

short Renumbered(const NewIndexTable& table, short fill) {
    const short newIndex = GetNewAttributeIndex(table.get(), TypeIdOf(Fill::Record.refId), fill);
    return newIndex != 0 ? newIndex : fill;
}

}   // namespace

ProjectMerge::ProjectMerge(const ODB::Ref<ADB::AttributeSet>& serverSet) : server(serverSet) {
    MergedInput& input = inputs.emplace_back();
    input.mended = ClearLooseReferences(server);
    for (const KindEntry& kind : GetKinds())
        server.GetConst()->EnumerateConstAttributes(
            TypeIdOf(kind.record.refId), ADB::SortByIndex, ADB::Ascending,
            [&](const ODB::ConstRef<ADB::GeneralAttribute>& attribute) {
                input.attributes.push_back(
                    {kind.record.refId, attribute->GetIndex(), attribute->GetName(), attribute, /*isNew*/ false});
            });
}

void ProjectMerge::Add(const ODB::Ref<ADB::AttributeSet>& client) {
    MergedInput& input = inputs.emplace_back();
    input.mended = ClearLooseReferences(client);
    MergeIndexes indexes;
    for (const KindEntry* const kind : GetKindsInReferenceOrder())
        KindMerge(*kind, client, server, indexes, input).Merge();
    for (const SetFill& fill : SetFills) {
        const short ours = fill.get(*server.GetConst()), theirs = fill.get(*client.GetConst());
        fill.put(*server.GetConst(),
                 ours != 0 ? Renumbered(indexes.ofServer, ours) : Renumbered(indexes.ofClient, theirs));
    }
}

}   // namespace Host
