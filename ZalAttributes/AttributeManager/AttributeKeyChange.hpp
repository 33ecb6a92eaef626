#pragma once

#include <cstdint>

#include <Kest/UniString.hpp>

#include <ODB/Object.hpp>

#include <AttributeManager/AttributeIndex.hpp>
#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

/// A change of an attribute that may touch its name and index: made before the first write, closed after the last one
/// and before anything is announced. Between the two the attribute's fields are written, nothing else is called.
///
/// Making it makes room for the new keys, so that nothing can fail from then on.
class AttributeKeyChange {
public:
    /// \param newName, newIndex what the attribute will bear. \throws std::bad_alloc with nothing changed
    AttributeKeyChange(GeneralAttribute& changing, const Kest::UniString& newName, short newIndex);
    /// \param newNameHash the hash of the new name, letter case ignored, for who knows it already
    AttributeKeyChange(GeneralAttribute& changing, const Kest::UniString& newName, short newIndex,
                       std::uint32_t newNameHash);
    AttributeKeyChange(const AttributeKeyChange&) = delete;
    AttributeKeyChange& operator=(const AttributeKeyChange&) = delete;

    /// Moves the attribute to its new keys.
    void Close() noexcept;

    /// The index over the attribute's container, after it has seen all changes but those of the attribute itself; null
    /// for an attribute in no container.
    static AttributeIndex* FindIndex(const GeneralAttribute& attribute) noexcept;

private:
    static AttributeIndex* Prepare(const GeneralAttribute& changing, short newIndex);
    void MoveKeys() noexcept;

    GeneralAttribute& attribute;
    AttributeIndex* index;
    short oldIndex;
    bool renames;
    std::uint32_t oldHash = 0;
    std::uint32_t newHash;
    ODB::ModificationGate gate;
};

}   // namespace ADB
