#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include <ODB/IdReadingScope.hpp>

#include <AttributeManager/AttributeContainer.hpp>

#include "AttributeIndexTables.hpp"

namespace ADB {

/// Fills a container, which has been emptied, with attributes that are read: what the readers of whole containers
/// share.
///
/// Attributes are made and identified as they are read. They enter the container later, all with keys of their own
/// (Add for each, then ConnectAll), or at once, each in place of one with its index (Replace). All or nothing: without
/// Keep in the end, everything read is destroyed and the container is empty. While it lives, references are read as
/// ODB::IdReadingScope says.
///
/// Operations return 0, Error::MemoryFull, Error::WrongCall for a class that is no attribute's, or what the reader of
/// an attribute returns. \throws std::bad_alloc
class ContainerFilling {
public:
    explicit ContainerFilling(AttributeContainer& target);
    ~ContainerFilling();
    ContainerFilling(const ContainerFilling&) = delete;
    ContainerFilling& operator=(const ContainerFilling&) = delete;

    /// Finds the class of the container's attributes. Comes first. \returns 0, or Error::UnknownType
    int FindKind();

    /// Makes room: \p count attributes are said to come.
    void Expect(int count);

    /// Makes an attribute that \p read fills, and notes whether an earlier one has its index or name.
    /// \param read called with the attribute; returns a code
    template <class Read>
    int Add(Read&& read) {
        const int status = ReadNext(std::forward<Read>(read));
        if (status == 0)
            NoteKeys();
        return status;
    }

    /// Gives those that came with a key of an earlier one a free index, then a free name, in the order of their coming;
    /// then each enters the container and is completed, when it is not complete.
    int ConnectAll();

    /// Makes an attribute that \p read fills, deletes the container's one of the same index and lets it enter.
    template <class Read>
    int Replace(Read&& read) {
        const int status = ReadNext(std::forward<Read>(read));
        return status == 0 ? TakePlace() : status;
    }

    /// What was read stays.
    void Keep() noexcept;

private:
    template <class Read>
    int ReadNext(Read&& read) {
        std::unique_ptr<GeneralAttribute> attribute;
        if (const int status = Make(attribute); status != 0)
            return status;
        if (const int status = read(*attribute); status != 0)
            return status;
        Identify(std::move(attribute));
        return 0;
    }
    int Make(std::unique_ptr<GeneralAttribute>& attribute);
    void Identify(std::unique_ptr<GeneralAttribute> attribute);
    void NoteKeys();
    int Renumber(GeneralAttribute& attribute);
    int Rename(GeneralAttribute& attribute);
    int TakePlace();
    int ConnectNext();

    AttributeContainer& container;
    ODB::IdReadingScope identities;
    const Kest::ClassInfo* kind = nullptr;       // null when no class bears the type's GUID
    const void* checkedType = nullptr;           // of the last object that was found to be an attribute
    std::vector<GeneralAttribute*> attributes;   // ours from `connected` on
    std::size_t connected = 0;
    AttributeIndexTables keys;   // of what was read, but for keys that wait in the lists below to be replaced
    std::vector<GeneralAttribute*> indexClashes;
    std::vector<GeneralAttribute*> nameClashes;
    bool isKept = false;
};

}   // namespace ADB
