#pragma once

#include <memory>

#include <Kest/Array.hpp>
#include <Kest/EventSource.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <ZalUtil/FieldMask.hpp>

#include <AttributeManager/AttributeTypeSetObserver.hpp>
#include <AttributeManager/Export.hpp>
#include <AttributeManager/IAttributeNewIndexTable.hpp>
#include <AttributeManager/IAttributeSetProvider.hpp>

namespace ODB {

class IdSpace;

}   // namespace ODB

namespace ADB {

class AttributeContainer;
class AttributeSet;
class GeneralAttribute;

/// The working copy of one attribute type of a set: an editor copies the type, adds, changes, deletes and replaces in
/// the copy, and writes the edits back with Synchronize.
///
/// The copy lives in a working set of its own, listed like any set (IsValidAttributeSet) and holding the one type. Four
/// records tell what was done since the copy was made or last recreated: which attributes were changed and in which
/// fields, which of those that were there before were deleted, which were added, and - since the type set itself was
/// made - which indexes were replaced by which. A type set whose working set was disposed by somebody else behaves like
/// one that has none: look-ups find nothing, edits return Error::UnknownType.
///
/// Operations return 0 or a code, those of AttributeSet besides the ones named here; a failed one leaves copy and
/// records as they were, unless it says otherwise. Editors derive their own class. Threads: one at a time.
class ADB_API AttributeTypeSet : public Kest::EventSource {
public:
    /// What is announced.
    enum Status : int {
        Created = 1,     ///< AttributeTypeSetObserver::AttributeCreated
        Changed = 2,     ///< AttributeTypeSetObserver::AttributeChanged
        Deleted = 3,     ///< AttributeTypeSetObserver::AttributeDeleted, with the attribute's index
        Recreated = 4,   ///< AttributeTypeSetObserver::AttributeRecreated
    };

    /// The two sets of a type set.
    class ADB_API AttributeTypeSetProvider : public IAttributeSetProvider {
    public:
        /// \param mode 1: the set that the copy was made from, or last recreated from; any other: the working set
        ODB::Ref<AttributeSet> GetAttributeSet(int mode) const override;
        ~AttributeTypeSetProvider() override;

    private:
        friend class AttributeTypeSet;

        ODB::Ref<AttributeSet> source;
        ODB::Ref<AttributeSet> working;
    };

    /// Disposes the working set and its id space, unless a sharing copy still has them.
    ~AttributeTypeSet() override;

    /// An independent copy with a working set of its own in the default id space, and the records; without observers.
    /// The caller owns it. \returns null, with nothing left behind, without a working set or when it cannot be made
    AttributeTypeSet* Clone() const;

    /// \name Editing
    /// @{

    /// Adds a copy of \p attribute, which stays the caller's, and announces it (created, with an empty mask). It gets
    /// the next index above the largest one, but none that was deleted since the last recreation; that index, and the
    /// name when it had to be made unique, come back in \p attribute.
    /// \returns Error::NullArgument; Error::MemoryFull when no index up to 32767 is left
    int Add(GeneralAttribute* attribute);

    /// Overwrites the attribute of the same index with the content of \p attribute, which stays the caller's, adds
    /// \p fields to its record, and announces them (changed), to the attribute's own observers too.
    /// \param touch dates \p attribute now first
    /// \returns Error::NullArgument; as AttributeSet::PutAttribute
    int Set(GeneralAttribute* attribute, const FieldMask& fields, bool touch);

    /// Deletes the attribute of \p index and announces that (deleted). With \p track the records follow: one that was
    /// added since the last recreation leaves no trace, any other is recorded as deleted.
    /// \returns Error::MemoryFull without such an attribute
    int Delete(short index, bool track);

    /// Records that references to \p oldIndex are to become references to \p newIndex. What was replaced by \p oldIndex
    /// before is replaced by \p newIndex from now on. Nothing is checked or announced. \returns 0, or Error::MemoryFull
    int SetAttributeReplaced(short oldIndex, short newIndex);
    /// @}

    /// \name What was done
    /// Each appends to its last argument; clones belong to the caller. \returns 0; Error::NullArgument;
    /// Error::MemoryFull with the argument as it was
    /// @{

    /// A clone of each new attribute, as the working copy has it, in the order of the record.
    int GetNewAttributes(Kest::Array<GeneralAttribute*>* attributes) const;
    /// For each changed attribute that is neither new nor deleted, in the order of the record, a clone of the attribute
    /// of its index in \p reference, with exactly the recorded fields taken from the working copy (and its user data if
    /// it has any, see GeneralAttribute::Synchronize). One that the working copy has no more is left out.
    /// \returns Error::MemoryFull also when \p reference lacks one, or has it as an object of another class
    int GetModifiedAttributes(ODB::ConstRef<AttributeSet> reference, Kest::Array<GeneralAttribute*>* attributes) const;
    int GetDeletedAttributes(Kest::Array<short>* indexes) const;
    /// Replaces the argument by a copy of the record, new indexes by old ones.
    int GetReplacedAttributes(Kest::HashTable<short, short>* indexes) const;

    /// The replacements as a renumbering, in which the type is used if there are any. The caller frees it with
    /// DisposeAttributeNewIndexTable. \returns null for want of memory
    IAttributeNewIndexTable* GenerateAttributeNewIndexTable() const;
    /// @}

    /// \name Looking up
    /// In the working copy, as in AttributeSet.
    /// @{
    /// Nothing for a null argument. \returns 0
    int GetNumber(short* number) const;
    int GetMaximumIndex(short* index) const;
    int AttributeIndexExist(short index) const;
    int AttributeIndexToName(short index, Kest::UniString& name) const;
    int AttributeNameToIndex(const Kest::UniString& name, short* index) const;
    int SortAttributeType(short ruleId, const char* extension, short* count, short*** handle) const;

    /// The working set; a null reference without one.
    ODB::Ref<AttributeSet> GetAttributeSet();
    /// Both sets; belongs to the type set.
    IAttributeSetProvider* GetAttributeSetProvider();
    short GetAttributeTypeId() const noexcept { return typeId; }
    /// @}

    /// \name Observers
    /// The list keeps no observer alive. Attaching an attached observer does nothing.
    /// @{
    void Attach(AttributeTypeSetObserver& observer);
    void Detach(AttributeTypeSetObserver& observer);
    /// @}

    /// \name Writing back
    /// @{

    /// Makes the working copy anew from \p newSource, in a new working set that takes the place of the old one, forgets
    /// all records but the replacements, and announces it (recreated).
    /// \returns 0; Error::NullArgument, with nothing changed, for a null or dead source or the working set itself; what
    /// AttributeSet::CopyAttributeTypeToSet returns, with the records empty and what could be copied in the copy
    /// \throws AttributeMemoryFullException when there is no new working set; then there is none, and no record
    int Recreate(ODB::ConstRef<AttributeSet> newSource);

    /// Writes the records into \p target: deletes, then modifies, then adds, each told to the target's observers, then
    /// recreates the working copy from it. An attribute that differs in nothing but its time is left alone; one that
    /// does gets the recorded fields, and the present time, and is announced once with them. What one of the two sets
    /// lacks, or has as an object of another class, is passed over. User data that were deleted in the copy stay in the
    /// target: taking over fields never removes them. What observers edit in the copy meanwhile is not written; all
    /// else is, even if they destroy the type set.
    /// \param keepFlag whether new attributes keep their indexes; else each gets the lowest free one
    /// \returns 0; Error::NullArgument, with nothing changed, for a null or dead target or the working set itself, and
    /// when the target is deleted meanwhile; the first code of an operation of the target, or of Recreate: what was
    /// written until then stays, the records too. The host calls Recreate then, to see what there is
    /// \throws AttributeMemoryFullException as Recreate
    int Synchronize(ODB::Ref<AttributeSet> target, bool keepFlag);
    /// @}

    /// Checks the working set and compares the records with it, as long as nobody else edits it; for debug builds and
    /// tests.
    bool CheckInvariants() const;

protected:
    /// Without a working set, of type 0.
    AttributeTypeSet();
    /// Copies the type \p attributeTypeId of \p source.
    /// \throws AttributeManagerException for a null or dead source; AttributeMemoryFullException when the working set
    /// cannot be made or the type cannot be copied into it, also for a type that the set has not. Nothing is left
    /// behind
    AttributeTypeSet(ODB::ConstRef<AttributeSet> source, short attributeTypeId);
    /// Shares the working set and its id space: what one edits the other sees, but each has its own records and
    /// observers. The last of those that share disposes them. For an independent copy there are Clone and Copy.
    AttributeTypeSet(const AttributeTypeSet& other);
    AttributeTypeSet& operator=(const AttributeTypeSet& other);

    /// Makes this a deep copy of \p other, with a new working set in this type set's own id space (the default one
    /// without one). Observers stay and are told nothing.
    /// \returns 0; Error::MemoryFull, also when \p other has no working set: then there is neither a working set nor
    /// any record. Copying itself does nothing
    int Copy(const AttributeTypeSet& other);

    /// Tells the observers, the one attached last first; of anything but Recreated only with a live \p attribute. Of a
    /// change the attribute's own observers are told then, too.
    void NotifyObservers(ODB::ConstRef<GeneralAttribute> attribute, Status status, const FieldMask& fields) const;

    /// Tells one observer; nothing for null.
    virtual void Notify(AttributeTypeSetObserver* observer, Status status, ODB::ConstRef<GeneralAttribute> attribute,
                        const FieldMask& fields) const;

private:
    class Workplace;   // a working set, shared by copies
    class Watch;       // an operation that announces
    class Writing;     // one Synchronize, once it no longer needs the type set

    // What was done, by index.
    struct Records {
        Kest::HashTable<short, FieldMask> modified;
        Kest::HashSet<short> deleted;
        Kest::HashSet<short> added;
        Kest::HashTable<short, short> replaced;
        Kest::HashSet<short> successors;   // the new indexes of `replaced`, and maybe some that were overwritten
    };

    const AttributeSet* FindWorkingSet() const;
    ODB::ConstRef<AttributeContainer> FindContainer() const;
    ODB::ConstRef<GeneralAttribute> FindAttribute(short index) const;
    short FindNextIndex(const AttributeContainer& container) const;
    int MakeWorkingSet(const std::shared_ptr<ODB::IdSpace>& space);
    int CopyIntoWorkingSet(const ODB::ConstRef<AttributeSet>& set);
    int TakeFrom(const AttributeTypeSet& other);
    void LeaveWorkingSet();

    AttributeTypeSetProvider provider;
    short typeId = 0;
    std::shared_ptr<ODB::IdSpace> idSpace;   // its own; null: the default one
    std::shared_ptr<Workplace> workplace;
    Records records;
    Watch* watches = nullptr;   // of the operations that run, the innermost first
};

}   // namespace ADB
