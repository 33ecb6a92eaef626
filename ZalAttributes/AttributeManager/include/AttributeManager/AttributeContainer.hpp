#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include <Kest/Array.hpp>
#include <Kest/Guid.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/PagedArray.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Association1N.hpp>
#include <ODB/Ref.hpp>

#include <Lum/IResolvableObjectSet.hpp>
#include <Lum/Object.hpp>
#include <Lum/PermissionID.hpp>

#include <AttributeManager/Export.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/GeneralAttributeObserver.hpp>
#include <AttributeManager/SortMethod.hpp>

namespace Kest {

class InputFrame;
class OutputFrame;

}   // namespace Kest

namespace ODB {

class Delta;

}   // namespace ODB

namespace ADB {

class AttributeIndex;
class AttributeIndexTables;

/// All attributes of one attribute type in one attribute set.
///
/// Invariants: whatever enters through NewAttribute gets an index and a name of its own, letter case ignored
/// (PutAttribute trusts its caller); the container observes each of its attributes. Ownership: the set owns the
/// container, the container its attributes; deleting an owner deletes what it owns. Threads: one at a time.
///
/// Finding by index or name, adding, renaming, renumbering and deleting cost the same whatever the number of
/// attributes.
class ADB_API AttributeContainer : public Lum::Object,
                                   public Lum::IResolvableObjectSet,
                                   public GeneralAttributeObserver {
public:
    using AttributeAssociation = ODB::Association1N<AttributeContainer, GeneralAttribute>;

    /// The fields of a container, without its attributes.
    class ADB_API IsolatedState : public Lum::Object::IsolatedState {
    public:
        IsolatedState() = default;
        IsolatedState(const IsolatedState&) = default;
        IsolatedState& operator=(const IsolatedState&) = default;
        bool ReturnTo(ODB::Object& object) noexcept override;

        LumCB::PermissionID createPermission = LumCB::PermissionID::None;
        LumCB::PermissionID deleteModifyPermission = LumCB::PermissionID::None;
        Kest::UniString typeName;
        unsigned int refId = 0;
        std::uint64_t lastUpdatedStamp = 0;
        ODB::Ref<GeneralAttribute> activeAttribute;
    };

    class AttributeIterator;
    class AttributeConstIterator;

    AttributeContainer();
    /// Copies the fields, not the attributes.
    AttributeContainer(const AttributeContainer& other);
    /// \param attributeRefId ref id of the type
    /// \param guid the id wanted; the null GUID, no id space or an id that is taken there gives a fresh one
    /// \param idSpace where the container lives; null means the default space
    AttributeContainer(unsigned int attributeRefId, const Kest::Guid& guid, ODB::IdSpace* idSpace,
                       const Kest::UniString& name, LumCB::PermissionID createPermissionId,
                       LumCB::PermissionID deleteModifyPermissionId);
    ~AttributeContainer() override;
    AttributeContainer& operator=(const AttributeContainer& other);

    static const Kest::ClassInfo* GetClassInfoStatic();
    static Kest::Object* ConstructorFunction();
    AttributeContainer* Clone() const override;

    /// \name Streams
    /// Codes: 0, those of the channel (Kest::ChannelStatus), of the attributes' own readers and writers, and those
    /// named here. A later version is passed over, noted on the debug output and answered with 0. Readers tell the
    /// set's observers of the active attribute alone.
    /// @{

    /// Replaces the attributes by those of a stream. Fields stay, but for the stamp and the active attribute.
    /// Attributes keep their stored ids where those are free in the container's id space; of two with one index or one
    /// name, letter case ignored, the later one gets a free one. Those that fail CheckAttribute are mended by
    /// CorrectAttribute. \returns 0; Error::UnknownType for a type that is not registered; Error::MemoryFull. A stream
    /// that is damaged on opening changes nothing; after any other error the container is empty
    int Read(Kest::IChannel& channel) override;
    int Write(Kest::OChannel& channel) const override;

    /// Reads the fields. On an error nothing is changed.
    int ReadIsolatedState(Kest::IChannel& channel) override;

    /// Writes an element "Attribute" for each attribute, in ascending index order.
    int WriteXML(Kest::XMLOChannel& channel) const override;

    IsolatedState* CreateIsolatedState() const override;
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override;
    /// The active attribute is looked up by its id in the container's own id space.
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override;
    int WriteIsolatedState(Kest::OChannel& channel) const override;
    std::size_t GetIsolatedSize() const override;

    /// The fields, as shared projects exchange them.
    int WriteLumIsolatedState(Kest::OChannel& channel) const override;
    int ReadLumIsolatedState(Kest::IChannel& channel) override;

    /// Writes an element "Attributes" with the type's name, its ref id and its attributes.
    /// \returns 0; the channel keeps an error, and ending the document returns it
    int SaveAttributeTypeToXMLFile(Kest::XMLOChannel& channel) const;

    /// Replaces the attributes by those that SaveAttributeTypeToXMLFile wrote, otherwise as Read. No attribute is
    /// active afterwards; links are in the order of the document. \param platform of the system that wrote the document
    /// \returns 0; Error::WrongCall, with nothing changed, for a document of another type; Error::UnknownType;
    /// Error::MemoryFull; codes of the channel. After any other error the container is empty
    int LoadAttributeTypeFromXMLFile(Kest::XMLIChannel& channel, Kest::PlatformSign platform);

    /// Replaces the attributes by those of an old attribute file: a number of 4 bytes, then attributes in their object
    /// streams. Of two with one index the later one stays.
    /// \param length bytes of the type's data in the channel, the leading number included
    /// \param platform of the system that wrote the file
    /// \returns 0, also when there is no leading number, with nothing changed then; Error::UnknownType;
    /// Error::MemoryFull; Error::WrongCall for a record without bytes or of an object that is no attribute. After an
    /// error the container is empty
    int LoadAttributeTypeFromFile(Kest::IChannel& channel, int length, Kest::PlatformSign platform);
    /// @}

    /// The association that links a container to its attributes and carries their AttributeIndex.
    static const AttributeAssociation& GetAttributeAssociation();

    /// \name Fields
    /// @{
    LumCB::PermissionID GetCreatePermissionID() const override { return createPermission; }
    LumCB::PermissionID GetDeleteModifyPermissionID() const override { return deleteModifyPermission; }
    const Kest::UniString& GetTypeName() const noexcept { return typeName; }
    void SetTypeName(const Kest::UniString& name);
    /// The ref id of the attribute type.
    unsigned int GetRefId() const noexcept { return refId; }
    /// The stamp at which the set last brought the container up to date; 0 when new or reset.
    std::uint64_t GetContainerLastUpdatedStamp() const noexcept { return lastUpdatedStamp; }
    /// Does not count as a change.
    void SetContainerLastUpdatedStamp(std::uint64_t stamp);
    /// @}

    /// \name Looking up
    /// Names are found in any letter case. What is not found gives a null reference. An index is taken as 16 bits.
    /// @{
    ODB::Ref<GeneralAttribute> GetAttribute(unsigned int index) const;
    ODB::ConstRef<GeneralAttribute> GetConstAttribute(unsigned int index) const;
    ODB::Ref<GeneralAttribute> GetAttribute(const Kest::UniString& name) const;
    ODB::ConstRef<GeneralAttribute> GetConstAttribute(const Kest::UniString& name) const;

    /// \returns 0; Error::NotLoadable when the attribute is known but not available; Error::NoSuchIndex
    int AttributeIndexExist(unsigned int index) const;
    /// \returns as AttributeIndexExist; \p name is written on 0 only
    int AttributeIndexToName(unsigned int index, Kest::UniString& name) const;
    /// \param index receives the index on 0; may be null. \returns 0, or Error::NoSuchName
    int AttributeNameToIndex(const Kest::UniString& name, short* index) const;

    unsigned int GetAttributeNumber() const noexcept;
    /// The largest index, 0 when there is none above 0.
    short GetAttributeMaximumIndex() const noexcept;
    /// The owning set, null when there is none.
    ODB::Ref<AttributeSet> GetAttributeSet() const;
    ODB::ConstRef<AttributeSet> GetConstAttributeSet() const;
    /// @}

    /// \name Active attribute
    /// @{

    /// The active attribute; while there is none, the attribute with the lowest index, which does not become active.
    ODB::Ref<GeneralAttribute> GetActiveAttribute() const;
    ODB::ConstRef<GeneralAttribute> GetConstActiveAttribute() const;

    /// Makes \p attribute the active one and tells the set's observers (active attribute changed), unless it is the
    /// active one already. A null or dead reference clears the choice.
    /// \returns 0, or Error::ForeignAttribute, with nothing changed, when \p attribute is not ours
    int SetActiveAttribute(const ODB::Ref<GeneralAttribute>& attribute);
    /// @}

    /// Newest modification stamp of the container and its attributes: a count of changes, not a time.
    std::uint64_t GetLastAttributeModificationStamp() const;

    /// \name Adding, replacing, deleting
    /// The container's own operations tell the set's observers nothing of what they add or delete; the set's do.
    /// @{

    /// Stores a clone of \p source, dated now when \p touch is set, under a free name and a free index, searched
    /// upwards from its own when \p keepIndex is set, from 1 otherwise. The container owns the clone; \p source stays
    /// the caller's. \returns the clone, or a null reference with nothing left behind
    ODB::Ref<GeneralAttribute> NewAttribute(ODB::ConstRef<GeneralAttribute> source, bool keepIndex, bool touch);

    /// The same under the identity (\p guid, \p idSpace) and with the index searched from \p hint; the time stays. The
    /// null GUID gives a fresh id. \returns the clone; a null reference, with nothing left behind, also for a null id
    /// space or a taken GUID
    ODB::Ref<GeneralAttribute> NewAttribute(ODB::ConstRef<GeneralAttribute> source, short hint, const Kest::Guid& guid,
                                            ODB::IdSpace* idSpace);

    /// Overwrites the attribute of \p index with the content of \p source, index and name included, without checks of
    /// uniqueness. \p changedFields receives the fields that differed; when there are none, nothing is written.
    /// \returns 0; Error::NotLoadable without such an attribute; Error::WrongCall for a source of another class;
    /// Error::NullArgument for a null source or mask; Error::MemoryFull with the target's old user data gone at worst
    int PutAttribute(ODB::ConstRef<GeneralAttribute> source, unsigned int index, FieldMask* changedFields);

    /// Deletes the attribute of \p index. \returns 0, or Error::NotLoadable without one
    int DeleteAttribute(unsigned int index);

    /// Empties the container, see ResetContainer. \returns 0
    int DeleteAttributeType();

    /// The first free index of \p hint, \p hint + 1, ..., 32766, then 1, 2, ...; a hint outside 1 to 32766 counts as 1.
    /// \param taken the indexes in use, the container's own when null
    /// \returns \p hint itself when all of 1 to 32766 are taken
    short GenerateUniqueIndex(short hint, const Kest::HashSet<short>* taken) const;

    /// \p base when it is free, letter case ignored, else a numbered name: "Wall (1)", "Wall (2)", ... A blank base
    /// counts as "Generated Attribute Name (1)".
    /// \param taken the names in use, in upper case; the container's own when null
    Kest::UniString GenerateUniqueName(const Kest::UniString& base, const Kest::HashSet<Kest::UniString>* taken) const;
    /// @}

    /// \name Maintenance
    /// @{

    /// Gives every attribute whose name, letter case ignored, an earlier one bears a unique name, through SetName.
    /// \returns 0
    int CheckContainer();

    /// Clears stamp, active attribute and links. The attributes lose their owner, so the database destroys them: their
    /// observers hear SourceDestroyed, the set's observers nothing.
    void ResetContainer();

    /// Observes every attribute, for attributes that came into being without the container.
    void AttachAttributeObservers();

    /// Hands \p callback to every attribute, in ascending index order.
    void LookupExternalDataHandlers(ZalUtil::ICBOwnerFound* callback) const;
    /// Has every attribute remove the user data of \p owners, in ascending index order.
    void DeleteExternalDataHandlers(const ZalUtil::OwnerList& owners);

    /// Checks the index against the attributes, the links and the observers; for debug builds and tests.
    bool CheckInvariants() const;
    /// @}

    /// \name Shared projects
    /// @{

    /// The association that links containers to their attributes, and any other that makes its left side resolve the
    /// conflicts of its right side.
    Kest::PagedArray<Kest::Guid, 8> GetAssociationsForModificationDetection() const override;

    /// As the form with a table, with none.
    void ResolveConflicts(const ODB::ConstIRef<Lum::IResolvableObjectSet>& other) override;

    /// Makes the client-created attributes fit: one whose name is blank or taken, letter case ignored, by an attribute
    /// that is not client-created, here or in \p other (where every attribute counts), gets a generated name, which no
    /// other client-created attribute has either; one whose index is taken in the same sense gets the next one that no
    /// attribute of both has. Clashes among client-created attributes alone stay: see CheckContainer. The changes are
    /// announced as SetName and SetIndex do, and reported in the log and on the debug output.
    /// \param other the counterpart, normally the server's container; null or this container itself: none
    /// \param table receives the new indexes, by old ones, and the type as used; may be null
    /// \throws std::bad_alloc; the attributes that came first are resolved and recorded then
    void ResolveConflicts(const ODB::ConstIRef<Lum::IResolvableObjectSet>& other, IAttributeNewIndexTable* table);

    /// Tells of a delta that was merged: observes each attribute of the container that is new in \p delta and tells the
    /// set's observers (created); of each that is modified in it, tells them (changed), with all general fields, since
    /// a delta does not know which of them were other. \returns 0, or Error::MemoryFull with the rest untold
    int MergePostProcess(const ODB::Delta* delta);
    /// @}

    /// \name Other id spaces
    /// @{

    /// Copies the container with its attributes, their order and ids, and the active attribute.
    /// \returns the copy; what \p target holds under the container's id already; a null reference, with \p target
    /// unchanged, for a null target, the container's own space, or when the copy cannot be made
    ODB::Ref<AttributeContainer> CopyToIdSpace(ODB::IdSpace* target) const;

    /// Moves the container with its attributes, unless \p target is null, the own space or holds one of their ids.
    /// \throws std::bad_alloc with nothing changed
    void MoveToIdSpace(ODB::IdSpace* target);
    /// @}

    /// \name Walking
    /// What is visited is what the container held at the start; attributes deleted since are left out.
    /// @{
    void EnumerateAttributes(const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const;
    void EnumerateConstAttributes(const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const;
    void EnumerateAttributes(SortMethod method, SortOrder order,
                             const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const;
    void EnumerateConstAttributes(SortMethod method, SortOrder order,
                                  const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const;

    /// An attribute of the probe's class whose content equals the probe's, name, index, flags and modification time
    /// left out: the one with the probe's name, else the one with the lowest index; a null reference without one.
    ODB::ConstRef<GeneralAttribute> FindSimilar(ODB::ConstRef<GeneralAttribute> probe) const;

    /// Has every attribute that refers to an index which \p table changes replace it (ReindAttr), and dates it now. A
    /// new index of 0, or equal to the old one but for its sign, is no change.
    /// \param onlyClientCreated leaves the other attributes out
    /// \param reindexed receives the indexes of the attributes changed; may be null
    void ReindexAttributeReferences(IAttributeNewIndexTable* table, bool onlyClientCreated,
                                    Kest::HashSet<short>* reindexed) const;
    /// @}

    using GeneralAttributeObserver::NameChanged;
    /// The rename of an attribute through PutAttribute comes by here. Nothing is done.
    void NameChanged(ODB::Ref<GeneralAttribute> attribute, const Kest::UniString& oldName) override;

private:
    class ConflictResolution;
    friend class AttributeIndex;
    friend class AttributeKeyChange;
    friend class AttributeSet;
    friend class ContainerCopy;
    friend class ContainerFilling;
    friend class GeneralAttribute;

    void AttributeChanged(ODB::ConstRef<GeneralAttribute> attribute, const FieldMask& fields) override;
    int TellMerged(const ODB::Delta& delta);
    int WriteVersion12(Kest::OChannel& channel, const Kest::OutputFrame& frame, short flagFilter) const;
    int ReadVersion12(Kest::IChannel& channel, const Kest::InputFrame& frame);
    int WriteIsolatedStateVersion2(Kest::OChannel& channel) const;
    int WriteIsolatedStateVersion3(Kest::OChannel& channel) const;
    int ReadIsolatedStateVersion2(Kest::IChannel& channel, IsolatedState& state);
    int ReadIsolatedStateVersion3(Kest::IChannel& channel, IsolatedState& state);
    int WriteFields(Kest::OChannel& channel) const;
    int ReadFields(Kest::IChannel& channel, IsolatedState& state) const;
    int WriteLockableSet(Kest::OChannel& channel) const;
    int ReadLockableSet(Kest::IChannel& channel, IsolatedState& state);
    int WriteDescription(Kest::OChannel& channel) const;
    int ReadDescription(Kest::IChannel& channel, IsolatedState& state) const;
    void TakeContent(IsolatedState&& content);
    int ReadActiveAttribute(Kest::IChannel& channel, ODB::Ref<GeneralAttribute>& active) const;
    int ReadXMLAttributes(Kest::XMLIChannel& channel);
    int ReadFileAttributes(Kest::IChannel& channel, std::int64_t size);
    void CompleteAttributes();
    int PutNewAttribute(GeneralAttribute* attribute, unsigned int hint, bool touch);
    static void Overwrite(const ODB::Ref<GeneralAttribute>& target, const ODB::ConstRef<GeneralAttribute>& source);
    ODB::Ref<GeneralAttribute> PutClone(const GeneralAttribute& source, short hint, const Kest::Guid* guid,
                                        ODB::IdSpace* idSpace, bool touch);
    ODB::ObjectInfo* FindRecord(unsigned int index) const noexcept;
    ODB::ObjectInfo* FindRecord(const Kest::UniString& name) const noexcept;
    ODB::ConstRef<GeneralAttribute> GetLowestAttribute() const;
    bool Owns(const ODB::Ref<GeneralAttribute>& attribute) const noexcept;
    AttributeIndexTables* FindTables() const noexcept;
    template <class Take>
    void CollectAttributes(SortMethod method, SortOrder order, Take&& take) const;

    LumCB::PermissionID createPermission = LumCB::PermissionID::None;
    LumCB::PermissionID deleteModifyPermission = LumCB::PermissionID::None;
    Kest::UniString typeName;
    unsigned int refId = 0;
    std::uint64_t lastUpdatedStamp = 0;
    AttributeIndex* attributeIndex = nullptr;   // over the attributes, while there is one
    ODB::Ref<GeneralAttribute> activeAttribute;
};

}   // namespace ADB
