#pragma once

#include "KeyTaking.hpp"
#include "MergedInput.hpp"
#include "NewIndexTable.hpp"
#include "kinds/KindTable.hpp"

#include <unordered_set>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// The renumbering that the merge of one client makes, on both sides.
struct MergeIndexes {
    NewIndexTable ofClient = TakeNewIndexTable(CreateAttributeNewIndexTable());
    NewIndexTable ofServer = TakeNewIndexTable(CreateAttributeNewIndexTable());
};

/// The merge of one kind of a client's set into the server's; to be made kind by kind in the order of their references.
///
/// Both sides' references of the kind follow first; so they can be compared. The same are attributes with one id, and
/// of the others those with one name, letter case ignored, and the same content, or content of which one side knows the
/// name alone. Of those with one id the newer content wins, the server's when both are of one time, and its name and
/// index, unless another one keeps them. All others were made by the client: they give way where the server has the
/// name or the index, and are brought in under their ids.
class KindMerge {
public:
    KindMerge(const KindEntry& mergedKind, const ODB::Ref<ADB::AttributeSet>& clientSet,
              const ODB::Ref<ADB::AttributeSet>& serverSet, MergeIndexes& mergeIndexes, MergedInput& clientInput);

    /// \throws Failure when the server cannot hold it all
    void Merge();

private:
    using Attribute = ODB::Ref<ADB::GeneralAttribute>;
    struct Member {
        Attribute ofClient;
        Attribute ofServer{};   // null, until it is brought in, when the client has made it
        bool hasOneId = false;
        bool isNew = false;
    };

    void MendServerIndexes();
    void Pair();
    void PairById();
    void PairByName();
    void MergePair(const Member& pair);
    void TakeContent(const Member& pair);
    void TakeNames();
    void TakeIndexes();
    void ResolveConflicts();
    void Bring();
    Attribute BringOne(const Attribute& attribute);
    void Record();

    const KindEntry& kind;
    ODB::Ref<ADB::AttributeSet> client;
    ODB::Ref<ADB::AttributeSet> server;
    MergeIndexes& indexes;
    MergedInput& input;
    short typeId;
    std::vector<Member> members;               // the client's attributes, by their indexes
    std::unordered_set<short> pairedIndexes;   // of the server
    std::vector<KeyPair> newer;                // those with one id of which the server takes the client's content
};

}   // namespace Host
