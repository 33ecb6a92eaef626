#pragma once

#include <cstddef>
#include <functional>

#include <Kest/EventObserver.hpp>
#include <Kest/EventSource.hpp>
#include <Kest/Guid.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Association1N.hpp>
#include <ODB/Ref.hpp>

#include <Lum/Object.hpp>

#include <ZalUtil/FieldMask.hpp>
#include <ZalUtil/ICustomXMLRootObject.hpp>
#include <ZalUtil/Owner.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeSetObserver.hpp>
#include <AttributeManager/Export.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/SortMethod.hpp>

namespace Kest {

class OutputFrame;

}   // namespace Kest

namespace ODB {

class Delta;

}   // namespace ODB

namespace ADB {

class IAttributeFilter;

/// The attributes of one document: a container for each attribute type, and the five fills that stand for the
/// document's fill styles.
///
/// Most operations take a type id, find the container of the type and ask it; the set adds the checks of names and
/// indexes, renames what clashes, and tells its observers. Without a container of the type (a type id below 1 has none)
/// codes are Error::UnknownType, references null, numbers 0 and names empty. Ownership: the set owns its containers,
/// they own their attributes; who owns the set says AttributeManager.hpp. Threads: one at a time.
///
/// An operation that fails leaves the set as it was. An attribute that is handed over as `attribute` stays the caller's
/// and must not be stored in a container itself; it may come back with another name, index, flags or id.
class ADB_API AttributeSet : public Lum::Object,
                             public Kest::EventSource,
                             public Kest::EventObserver,
                             public ZalUtil::ICustomXMLRootObject {
public:
    using ContainerAssociation = ODB::Association1N<AttributeSet, AttributeContainer>;

    /// What NotifyObservers announces.
    enum Status : int {
        Created = 1,         ///< AttributeSetObserver::AttributeCreated
        Changed = 2,         ///< AttributeSetObserver::AttributeChanged
        Deleted = 3,         ///< AttributeSetObserver::AttributeDeleted, with the attribute's index
        TypeRestored = 4,    ///< AttributeSetObserver::AttributeTypeRestored
        ActiveChanged = 5,   ///< AttributeSetObserver::ActiveAttributeChanged
    };

    /// The fills that stand for a percentage.
    enum PercentFillTypes : int { PercentFill25 = 0, PercentFill50 = 1, PercentFill75 = 2 };

    /// What FindMatchingAttributeForPax found.
    enum AttributeForPaxFoundResult : int {
        PaxMatchNone = 0,      ///< no attribute of that name
        PaxMatchDiffers = 1,   ///< a script-made attribute of that name, with other content
        PaxMatchFound = 2,     ///< an attribute of that name that no script made, or one with the same content
    };

    /// The indexes of the fills.
    struct Fills {
        short solid = 0;
        short empty = 0;
        short percent25 = 0;
        short percent50 = 0;
        short percent75 = 0;
    };

    /// The content of a set without its containers.
    class ADB_API IsolatedState : public Lum::Object::IsolatedState {
    public:
        bool ReturnTo(ODB::Object& object) noexcept override;

        Fills fills;
    };

    /// A set without containers and without an id, for readers.
    AttributeSet();
    /// A set without containers.
    /// \param idSpace where the set lives; null means the default space
    /// \param guid the id wanted; the null GUID or an id that is taken there gives a fresh one
    AttributeSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid);
    AttributeSet& operator=(const AttributeSet&) = delete;
    ~AttributeSet() override;

    static const Kest::ClassInfo* GetClassInfoStatic();
    static Kest::Object* ConstructorFunction();
    /// The fills alone: a copy has no containers. CloneAttributeSet copies everything.
    AttributeSet* Clone() const override;

    /// \name Streams
    /// Codes: 0, those of the channel (Kest::ChannelStatus) and those of AttributeContainer. A later version is passed
    /// over, noted on the debug output and answered with 0.
    /// @{

    /// Replaces the attributes of all containers by those of a stream; types that it does not hold are empty then. The
    /// fills stay. A stream that is damaged on opening changes nothing; after any other error each container is empty
    /// or whole.
    int Read(Kest::IChannel& channel) override;
    /// Writes the containers that hold attributes; older versions leave some types out. The fills are not written.
    int Write(Kest::OChannel& channel) const override;

    /// The fills.
    int ReadIsolatedState(Kest::IChannel& channel) override;
    IsolatedState* CreateIsolatedState() const override;
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override;
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override;
    int WriteIsolatedState(Kest::OChannel& channel) const override;
    std::size_t GetIsolatedSize() const override;

    /// Nothing of the set travels in shared projects; its containers travel themselves.
    int WriteLumIsolatedState(Kest::OChannel& channel) const override;
    int ReadLumIsolatedState(Kest::IChannel& channel) override;
    /// @}

    /// \name Documents
    /// A folder with "Attribute.xml", which holds the fills, and a file for each of the first sixteen types.
    /// @{

    /// Writes the folder as a whole: whatever fails, it holds the old documents or the new ones.
    /// \param written receives the document of the set, of each container and of each attribute; may be null
    /// \param messages receives what the user should know, types beyond the sixteenth among it
    /// \returns 0; Error::WrongCall when a document cannot be made; codes of the channel
    int CustomWriteXML(const IO::Location& folder, ODB::WrittenLocations* written,
                       Kest::Array<Kest::UniString>& messages) const override;
    /// Reads such a folder, into the set's own container of each type or, where it has none, a new one. Tells the set's
    /// observers (created) of the attributes of each type, as LoadAttributeTypeFromXMLFile does.
    /// \param document the location of "Attribute.xml", which may have another name; the others stand beside it
    /// \param database receives the container of each type that is read and, at the end, the set; may be null
    /// \returns 0; Error::WrongCall when a document cannot be opened; Error::UnknownType for a type that is not
    /// registered; Error::NullArgument when an observer deletes the set; Error::MemoryFull; codes of the channel and of
    /// AttributeContainer::LoadAttributeTypeFromXMLFile. When the main document is at fault, nothing is changed. After
    /// another error the fills and the types read so far are the new ones, the type at fault is empty or as it was, the
    /// others are as they were
    int CustomReadXML(const IO::Location& document, ODB::FileDatabase* database,
                      Kest::Array<Kest::UniString>& messages) override;
    /// @}

    /// \name Loading a type
    /// Each replaces the attributes of a type and, on 0 and on Error::NoSuchIndex, tells the observers (created) of
    /// every attribute that the type now holds. \returns 0; Error::UnknownType; Error::NoSuchIndex as a warning: some
    /// records were not taken, the others are there; codes of AttributeContainer's loaders, as which it is left after
    /// an error
    /// @{

    /// From \p length bytes at \p data, of an old attribute file; see AttributeContainer::LoadAttributeTypeFromFile.
    /// Below 1 the type is emptied and nobody is told.
    int LoadAttributeTypeFromFile(char* data, short typeId, int length, Kest::PlatformSign platform);
    /// The same from a channel that stands at the type's data.
    int LoadAttributeTypeFrom900File(Kest::IChannel& channel, short typeId, int length, Kest::PlatformSign platform);
    /// From the resource \p resourceId of \p module, of the type's ref id (see Kest/Resource.hpp), which holds such
    /// data. A resource that is missing or empty empties the type.
    int LoadAttributeTypeFromResource(short typeId, long long module, short resourceId);
    /// From a document; see AttributeContainer::LoadAttributeTypeFromXMLFile.
    int LoadAttributeTypeFromXMLFile(Kest::XMLIChannel& channel, short typeId, Kest::PlatformSign platform);
    /// Writes the type to a document; see AttributeContainer::SaveAttributeTypeToXMLFile.
    /// \returns 0, or Error::UnknownType
    int SaveAttributeTypeToXMLFile(Kest::XMLOChannel& channel, short typeId) const;
    /// @}

    /// The association that links a set to its containers and carries their AttributeTypeIdIndex.
    static const ContainerAssociation& GetContainerAssociation();

    /// \name Fills
    /// Indexes of fill attributes, which nobody checks; 0 is none. The setters change the set although they are const.
    /// @{
    short GetSolidFill() const noexcept { return fills.solid; }
    void SetSolidFill(short index) const;
    short GetEmptyFill() const noexcept { return fills.empty; }
    void SetEmptyFill(short index) const;
    /// 0 for a \p type that is none of the three.
    short GetPercentFill(PercentFillTypes type) const noexcept;
    /// Nothing for a \p type that is none of the three.
    void SetPercentFill(PercentFillTypes type, short index) const;
    /// @}

    /// \name Containers
    /// @{
    ODB::Ref<AttributeContainer> GetAttributeContainer(short typeId) const;
    ODB::ConstRef<AttributeContainer> GetConstAttributeContainer(short typeId) const;
    /// All containers, in the order in which they were added.
    ODB::RefList<AttributeContainer> GetAttributeContainerList() const;
    ODB::ConstRefList<AttributeContainer> GetAttributeContainerConstList() const;
    /// Links \p container to the set, which owns it from now on. A second container of one type is kept, but not found
    /// by its type id. \returns 0, or Error::NullArgument. \throws std::bad_alloc with nothing changed
    int AddAttributeContainer(ODB::Ref<AttributeContainer> container);
    /// @}

    /// \name Looking up
    /// As in AttributeContainer.
    /// @{
    ODB::Ref<GeneralAttribute> GetAttribute(short typeId, short index) const;
    ODB::Ref<GeneralAttribute> GetAttribute(short typeId, const Kest::UniString& name) const;
    ODB::ConstRef<GeneralAttribute> GetConstAttribute(short typeId, short index) const;
    ODB::ConstRef<GeneralAttribute> GetConstAttribute(short typeId, const Kest::UniString& name) const;
    int AttributeIndexExist(short typeId, short index) const;
    int AttributeIndexToName(short typeId, short index, Kest::UniString& name) const;
    int AttributeNameToIndex(short typeId, const Kest::UniString& name, short* index) const;
    unsigned int GetAttributeNumber(short typeId) const;
    short GetAttributeMaximumIndex(short typeId) const;
    /// The name of the attribute of \p index, empty without one.
    Kest::UniString GetAttributeName(short typeId, short index) const;
    /// The attribute with the lowest index.
    ODB::Ref<GeneralAttribute> GetFirstValidAttribute(short typeId) const;
    /// The attribute whose name comes first, letter case ignored.
    ODB::Ref<GeneralAttribute> GetFirstValidAttributeByName(short typeId) const;
    /// A copy of the attribute of \p index, owned by the caller; null without such an attribute.
    /// \throws std::bad_alloc
    GeneralAttribute* Clone(short typeId, short index) const;
    /// @}

    /// \name Active attribute
    /// As in AttributeContainer.
    /// @{
    ODB::Ref<GeneralAttribute> GetActiveAttribute(short typeId) const;
    ODB::ConstRef<GeneralAttribute> GetConstActiveAttribute(short typeId) const;
    /// Announces the active attribute, unless it stays.
    int SetActiveAttribute(short typeId, const ODB::Ref<GeneralAttribute>& attribute);
    /// @}

    /// \name Walking
    /// What is visited is what there was at the start; what was deleted since is left out. The forms without a type id
    /// visit the types in the order in which their containers were added.
    /// @{
    void EnumerateAttributeContainers(const std::function<void(const ODB::Ref<AttributeContainer>&)>& call) const;
    void
    EnumerateConstAttributeContainers(const std::function<void(const ODB::ConstRef<AttributeContainer>&)>& call) const;
    void EnumerateAttributes(const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const;
    void EnumerateAttributes(short typeId, const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const;
    void EnumerateAttributes(short typeId, SortMethod method, SortOrder order,
                             const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const;
    void EnumerateConstAttributes(const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const;
    void EnumerateConstAttributes(short typeId,
                                  const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const;
    void EnumerateConstAttributes(short typeId, SortMethod method, SortOrder order,
                                  const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const;
    /// @}

    /// \name Adding, replacing, deleting
    /// @{

    /// Whether an attribute may bear \p name: with \p replacing as the attribute of \p index.
    /// \returns 0; Error::UnknownType; Error::EmptyName; Error::NameUsed when another attribute of the type has the
    /// name, letter case ignored
    int CheckBeforeNewAttribute(short typeId, const Kest::UniString& name, bool replacing, int index) const;

    /// Stores a copy of \p attribute, dated now when \p touch is set, and tells the observers (created). A name that is
    /// empty or taken is replaced in \p attribute, except that of a script-made attribute; the index, the attribute's
    /// own with \p keepIndex, else the lowest free one, comes back in \p attribute.
    /// \returns 0; Error::UnknownType; Error::NullArgument; Error::NoSuchIndex when an index to keep is below 1 or
    /// taken; Error::NameUsed, with index 0 in \p attribute, when a script-made attribute clashes;
    /// Error::MemoryFull
    int NewAttribute(short typeId, GeneralAttribute* attribute, bool keepIndex, bool touch);

    /// Stores a copy of \p attribute under the id \p guid of the set's space (the null GUID: a fresh id) and tells the
    /// observers (created). Its kind gives the type; the name is made unique. \p attribute may be stored somewhere.
    /// \param error receives the code when not null: 0; Error::ForeignAttribute for a null or dead reference;
    /// Error::UnknownType; Error::NoSuchIndex as above; Error::MemoryFull, also for an id that is taken
    /// \param touch has no effect: the time stays
    /// \returns the stored attribute, or a null reference
    ODB::Ref<GeneralAttribute> NewAttribute(ODB::ConstRef<GeneralAttribute> attribute, int* error, bool keepIndex,
                                            bool touch, const Kest::Guid& guid);

    /// Gives \p attribute the index of the stored attribute of its name (letter case ignored) when that one has the
    /// same content, index aside; else stores a copy as NewAttribute does, counting the name of a script-made attribute
    /// up until it is free. \returns 0 in both cases; as NewAttribute; Error::NameUsed when after as many names as
    /// there are attributes, and one, none is free
    int AddAttribute(short typeId, GeneralAttribute* attribute, bool touch);

    /// Adds an attribute that a library part's script made, or brings an earlier one of its name up to date: marks
    /// \p attribute as script-made, completes it (CorrectAttribute) and does what FindMatchingAttributeForPax found:
    /// none: stores a copy, marked as client-created, under a fresh id; differs: overwrites; found: stores nothing. In
    /// the end \p attribute has the index of the stored one.
    /// \returns 0; Error::NullArgument; as FindMatchingAttributeForPax, NewAttribute or PutAttribute
    int AddPaxAttribute(short typeId, GeneralAttribute* attribute);

    /// Looks for the stored attribute that a script's \p attribute means. Content is compared as AddPaxAttribute would
    /// store it, name and modification time left out.
    /// \param result receives what was found, on 0
    /// \param index receives the index of the stored attribute of that name, 0 without one
    /// \returns 0; Error::UnknownType; Error::EmptyName; Error::MemoryFull
    int FindMatchingAttributeForPax(short typeId, const GeneralAttribute& attribute, AttributeForPaxFoundResult& result,
                                    short& index) const;

    /// Overwrites the stored attribute of \p attribute's index with its content, dating \p attribute now first when
    /// \p touch is set, and tells the observers (changed) which fields differed, nobody when none did.
    /// \returns 0; Error::UnknownType; Error::NullArgument; Error::EmptyName; Error::NameUsed when an attribute of
    /// another index has the name; Error::NotLoadable without such an index; Error::WrongCall for another kind;
    /// Error::MemoryFull, with the user data of the stored attribute gone at worst
    int PutAttribute(short typeId, GeneralAttribute* attribute, bool touch);

    /// Deletes the attribute of \p index and, with \p notify, tells the observers (deleted).
    /// \returns 0; Error::UnknownType; as AttributeContainer::AttributeIndexExist
    int DeleteAttribute(short typeId, short index, bool notify);

    /// Deletes all attributes of the type and tells the observers (type restored). \returns 0, or Error::UnknownType
    int DeleteAttributeType(short typeId);

    /// Deletes all attributes of all types; tells nobody. \returns 0
    int Clear();
    /// @}

    /// \name Other sets
    /// @{

    /// Makes the attributes of this set equal to those of \p source, a set in another id space, by identity: an
    /// attribute whose id an attribute of the source has takes its content, unless both are of different classes, when
    /// it stays; one that has no counterpart is deleted; what is new in the source is added under its id, with its
    /// index and name where those are free, else with free ones. Nobody is told but the observers of the attributes
    /// deleted. Active attributes are not looked at.
    /// \param filter chooses the attributes of the source that take part; null: all
    /// \param delta receives what was done, besides what is in it: modified, deleted and new attributes and their
    /// links; may be null. What it refuses to record is not done, and its code returned
    /// \returns 0; Error::NullArgument; Error::WrongCall, with nothing changed, for a source in this set's id space;
    /// Error::MemoryFull when an attribute could not be added: the rest of its type is left out then, the other types
    /// are done, and the delta says what was done; the same when one could not be brought up to date or deleted, which
    /// stays as it was where its class can take its content back without memory (ODB::Object::IsolatedState::ReturnTo);
    /// Error::NullArgument, with the rest undone, when an observer deletes either set
    int Replace(ODB::ConstRef<AttributeSet> source, IAttributeFilter* filter, ODB::Delta* delta);

    /// CopyAttributeTypeToSet of every registered type, going on after failures.
    /// \returns 0; Error::NullArgument; else the first other code
    int CopyAttributeSet(ODB::Ref<AttributeSet> target) const;

    /// Replaces the attributes of the type in \p target by copies of this set's, with the same indexes and active
    /// attribute, in the same order, under fresh ids. The target's observers hear of each that goes (deleted), before
    /// any goes, of each that comes (created), and of the active attribute, when one was chosen in the source. At last
    /// the target's container is stamped as brought up to date with the source's newest modification. Onto itself it
    /// does nothing.
    /// \returns 0; Error::NullArgument; Error::UnknownType, with nothing changed, when either set lacks the type; as
    /// NewAttribute, with those before it copied; Error::NullArgument, too, when an observer deletes either set
    int CopyAttributeTypeToSet(ODB::Ref<AttributeSet> target, short typeId) const;

    /// An attribute of this set that \p attribute may be merged with, see AttributeContainer::FindSimilar; a null
    /// reference without one, without a container of its kind, or for a null or dead reference.
    ODB::ConstRef<GeneralAttribute> FindSimilar(ODB::ConstRef<GeneralAttribute> attribute) const;

    /// Merges \p delta into the set's id space (see ODB::MergeDelta: all or nothing) and tells of it: for undo and
    /// redo, with the deltas of an ODB::ChangeRecorder. Observers hear what they would have heard of edits with that
    /// result: the set's of each attribute that went (deleted, with the index that it had); then, type by type, of each
    /// that came (created); of each that changed the attribute's own observers, and through them the set's, with the
    /// fields that are other now; at last of types whose active attribute is another. Containers observe what came,
    /// those of other sets in the space too, whose observers hear nothing of it.
    /// \returns 0; else a code of ODB::MergeDelta, with nothing changed and nobody told
    int ApplyDelta(const ODB::Delta& delta);
    /// @}

    /// \name User data
    /// For the attributes of every container, as in AttributeContainer.
    /// @{
    void LookupExternalDataHandlers(ZalUtil::ICBOwnerFound* callback) const;
    void DeleteExternalDataHandlers(const ZalUtil::OwnerList& owners);
    /// @}

    /// Lists the indexes of the type's attributes by the host's sort rule \p ruleId (see InitAttributeManager).
    /// \param extension handed to the filter, in the system code page, cut to 255 bytes; null counts as empty
    /// \param count receives the number of indexes
    /// \param handle receives a new handle with the indexes, which the caller frees with BMKillHandle
    /// \returns 0; Error::NullArgument; Error::NoSortRule, before anything is called, when the rule lacks a function;
    /// as its functions
    int SortAttributeType(short typeId, short ruleId, const char* extension, short* count, short*** handle) const;

    /// \name Observers
    /// The list keeps no observer alive. Attaching an attached observer does nothing.
    /// @{
    void Attach(AttributeSetObserver& observer);
    void Detach(AttributeSetObserver& observer);

    /// Tells the observers, the one attached last first. Nobody is told of the creation, change or deletion of a null
    /// or dead \p attribute.
    /// \param fields the fields that changed, for Changed
    void NotifyObservers(short typeId, ODB::ConstRef<GeneralAttribute> attribute, Status status,
                         const FieldMask& fields) const;
    /// @}

    /// \name Other id spaces
    /// @{

    /// Copies the set with its containers and attributes, their order and ids, and the active attributes.
    /// \returns the copy; the set that \p target holds under the set's id already; a null reference, with \p target
    /// unchanged, for a null target, the set's own space, when an id of an object is taken there or memory runs out
    ODB::Ref<AttributeSet> CopyToIdSpace(ODB::IdSpace* target) const;

    /// Moves the set with its containers and attributes, unless \p target is null, the own space or holds the id of one
    /// of them. \throws std::bad_alloc with nothing moved
    void MoveToIdSpace(ODB::IdSpace* target);
    /// @}

    /// Checks the containers, their index and the links; for debug builds and tests.
    bool CheckInvariants() const;

private:
    class DeltaAnnouncement;
    class Replacement;
    class TypeCopy;

    AttributeSet(const AttributeSet& other);

    const AttributeContainer* FindContainer(short typeId) const;
    int WriteVersion12(Kest::OChannel& channel, const Kest::OutputFrame& frame) const;
    int WriteVersion34(Kest::OChannel& channel) const;
    int ReadVersion1234(Kest::IChannel& channel);
    int LoadAttributeTypeFromResourceToHandle(short typeId, long long module, short resourceId, char*** handle) const;
    int LoadType(short typeId, const std::function<int(AttributeContainer&)>& load);
    void AnnounceType(short typeId) const;
    void TakeFills(const Fills& newFills);
    int MakeContainer(short typeId, ODB::FileDatabase* database);
    int MakeNameFree(short typeId, GeneralAttribute& attribute) const;
    void AnnounceNew(const ODB::ConstRef<GeneralAttribute>& attribute) const;
    int StoreCopy(const ODB::ConstRef<GeneralAttribute>& attribute, bool keepIndex, const Kest::Guid& guid,
                  ODB::Ref<GeneralAttribute>& stored) const;
    static short Fills::*FindPercentFill(PercentFillTypes type) noexcept;
    void SetFill(short Fills::*fill, short index) const;

    mutable Fills fills;
};

}   // namespace ADB
