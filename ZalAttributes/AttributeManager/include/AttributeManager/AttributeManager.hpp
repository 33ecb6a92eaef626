#pragma once

/// \file
/// The entry functions: the process-wide list of attribute sets, and the current one.
///
/// A host starts with CreateAttributeRegister and one RegisterAttributeType per kind, InitAttributeManager and
/// InitAttributeSetContainer, and ends with FreeAttributeSetContainer and DisposeAttributeRegister. Most code reaches
/// the attributes through the current set. A listed set belongs to the list, which deletes it; destroying the id space
/// in which it lives destroys it too, and leaves an entry without a set. A set that is taken off the list with
/// DeregisterAttributeSet belongs to whoever takes it off.
///
/// Set indexes are numbers from 1; a new set gets the smallest free one. Where a set is chosen because the current one
/// is killed, it is the first living one of the list: entries stand in the order of being added, but when one is
/// removed the last one takes its place. All of this is one state of the process, without locks: one thread at a time.

#include <Kest/Guid.hpp>

#include <ODB/IdSpace.hpp>
#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/Export.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/IAttributeSetProvider.hpp>
#include <AttributeManager/ISortRuleTable.hpp>

/// \name Start and end
/// @{

/// Takes \p attributeRegister as the register of the process and starts a new list of sets: one set with a container
/// for each registered type, whose ids are the registered ones where they are free, and which is made current. Sets
/// that were listed before are forgotten, not deleted.
/// \param attributeRegister stays the caller's and must live until FreeAttributeSetContainer; null: no types
/// \param idSpace where the set lives; null means the default space
/// \returns the set, or a null reference when it could not be made; then none is current
ADB_API ODB::Ref<ADB::AttributeSet> InitAttributeSetContainer(const ADB::IAttributeRegister* attributeRegister,
                                                              const ODB::IdSpace* idSpace);

/// Takes \p sortRules, which stay the caller's, as the rules of AttributeSet::SortAttributeType; null: none.
ADB_API void InitAttributeManager(const ADB::ISortRuleTable* sortRules);

/// Deletes every listed set, empties the list and forgets the current set and the register.
ADB_API void FreeAttributeSetContainer();
/// @}

/// \name Making sets
/// A new set has a container for each registered type, in ascending order of type ids; one that cannot be made is left
/// out. The current set stays.
/// @{

/// Makes and lists a set.
/// \param idSpace null means the default space
/// \param guid the id wanted for the set; the null GUID or an id that is taken gives a fresh one
/// \param useRegisteredGuids gives the containers the ids that were registered for them, where those are free
/// \returns the set, or a null reference with nothing changed
ADB_API ODB::Ref<ADB::AttributeSet> CreateAttributeSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid,
                                                       bool useRegisteredGuids);

/// Makes and lists a set with fresh ids. \returns its set index, or -1
ADB_API short NewAttributeSet(const ODB::IdSpace* idSpace);

/// Copies \p source with everything in it and lists the copy, unless it is listed already. Into another space the copy
/// takes the ids of the source; for null or the source's own space they are fresh.
/// \returns the copy; a set that \p target holds under the source's id already; a null reference, with nothing changed,
/// for a null source, when another id is taken in \p target, or when the copy cannot be made
ADB_API ODB::Ref<ADB::AttributeSet> CloneAttributeSet(ODB::ConstRef<ADB::AttributeSet> source, ODB::IdSpace* target);
/// @}

/// \name The list of sets
/// @{

/// Lists \p set, which may be null, unless it is listed already.
/// \returns the smallest free set index, under which it is listed now; of a set that was listed before this is not the
/// index. -1, with nothing changed, when there is no room for another one
ADB_API short RegisterAttributeSet(ODB::Ref<ADB::AttributeSet> set);

/// Takes \p set off the list, once; it is not deleted and stays current if it was. \returns 0, or
/// Error::SetNotRegistered
ADB_API int DeregisterAttributeSet(ODB::Ref<ADB::AttributeSet> set);

/// Whether \p set is alive and listed.
ADB_API bool IsValidAttributeSet(ODB::ConstRef<ADB::AttributeSet> set);

/// Deletes the set with \p index. When no set is current then, which is logged, the first one listed becomes current.
/// \returns 0; Error::NoSuchSet; Error::EmptySet for an entry without a set
ADB_API int FreeAttributeSet(short index);

/// Deletes \p set, listed or not, and takes it off the list once. When no set is current then, which is logged, the
/// first one listed becomes current. Nothing for a null reference.
ADB_API void DisposeAttributeSet(ODB::Ref<ADB::AttributeSet> set);
/// @}

/// \name The current set
/// @{
ADB_API ODB::Ref<ADB::AttributeSet> GetCurrentAttributeSet();
ADB_API ODB::ConstRef<ADB::AttributeSet> GetCurrentConstAttributeSet();
/// The set index of the current set; 0 without one, or when it is not listed.
ADB_API short GetCurrentAttributeSetIndex();

/// Makes the set with \p index current. Without such an entry a set is made, as by NewAttributeSet, and listed under
/// \p index besides its own.
/// \returns 0; Error::NoSuchSet for an index below 1; Error::EmptySet for an entry without a set; Error::MemoryFull
/// when a set could not be made
ADB_API int SelectAttributeSet(short index);

/// Makes the set with \p index current, none when the entry has no set. \returns 0, or Error::NoSuchSet
ADB_API int SwapAttributeSet(short index);

/// Makes \p set, which must be listed, current. \returns 0; Error::NullArgument; Error::SetNotRegistered
ADB_API int SetCurrentAttributeSet(ODB::ConstRef<ADB::AttributeSet> set);

/// Gives the current set, whatever the mode. One object of the library, never null.
ADB_API ADB::IAttributeSetProvider* GetCurrentAttributeSetProvider();
/// @}

namespace ADB {

/// \name A count for the host
/// One count per thread, from 0. Nothing in the library reads it: a host may use it to tell threads on which attributes
/// must not be touched.
/// @{

/// Adds 1 to the calling thread's count.
ADB_API void DisableAccesFromCurrentThread();
/// Takes 1 off the calling thread's count, unless it is 0.
ADB_API void EnableAccesFromCurrentThread();
/// The calling thread's count.
ADB_API int GetAccessCountOfCurrentThread();
/// @}

}   // namespace ADB
