#pragma once

#include "kinds/KindTable.hpp"

#include <memory>
#include <string>
#include <vector>

#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Edits of the attributes of one kind. They are made in a working copy, one by one, and reach the set as a whole.
///
/// Each edit throws Failure when it cannot be done; whoever goes on after that has the edits before it.
class TypeEdit {
public:
    /// \param editedSet  must not be changed otherwise while this lives
    /// \throws Failure for a kind with an index outside 1 to 32766, which a working copy cannot have
    TypeEdit(const ODB::Ref<ADB::AttributeSet>& editedSet, const KindEntry& editedKind);
    ~TypeEdit();
    TypeEdit(const TypeEdit&) = delete;
    TypeEdit& operator=(const TypeEdit&) = delete;

    /// Adds an attribute with the fields of a new one, behind the largest index.
    void Add(const Kest::UniString& name);
    void Rename(short index, const Kest::UniString& name);
    /// Nothing when the attribute has been replaced.
    void Delete(short index);
    /// Deletes the attribute \p oldIndex, unless that has been done; what refers to it is to refer to \p newIndex.
    void Replace(short oldIndex, short newIndex);

    /// What refers to an attribute that is deleted without a successor, one line each.
    std::vector<std::string> FindOrphans() const;

    /// Writes the edits into the set; the references of all kinds, the fills and the active attribute follow. After
    /// that there are no more edits. \throws Failure when they cannot be written; the set is of no use then
    void Finish();

    /// What was done, one line each.
    const std::vector<std::string>& GetReport() const noexcept { return report; }

private:
    class WorkingCopy;

    bool IsThere(short index) const;
    void CheckIsThere(short index) const;
    void CheckName(const Kest::UniString& name, short bearer) const;
    std::string TextOf(short index) const;
    bool IsOrphan(short index) const;
    short GetSuccessor(short index) const;
    void ReindexReferences();
    void ReindexFills();
    void ReindexActiveAttribute(short active);

    ODB::Ref<ADB::AttributeSet> set;
    const KindEntry& kind;
    short typeId;
    std::unique_ptr<WorkingCopy> copy;
    Kest::HashTable<short, short> successors;   // by the indexes replaced
    std::vector<std::string> report;
};

}   // namespace Host
