#pragma once

#include <cstdint>

#include <Kest/Array.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/Export.hpp>

namespace ADB {

/// The end of every attribute iterator.
struct AttributeEnd {};

/// What both iterators have in common: a snapshot of references, taken when the iterator is made, and a position that
/// never passes its end.
template <class Reference, class Iterator>
class AttributeSnapshot {
public:
    const Reference& operator*() const { return attributes[position]; }
    Iterator& operator++() {
        if (position < attributes.GetSize())
            ++position;
        return static_cast<Iterator&>(*this);
    }
    Iterator operator++(int) {
        const Iterator before = static_cast<const Iterator&>(*this);
        ++*this;
        return before;
    }
    friend bool operator==(const AttributeSnapshot& iterator, AttributeEnd) {
        return iterator.position >= iterator.attributes.GetSize();
    }

protected:
    Kest::Array<Reference> attributes;
    std::uint32_t position = 0;
};

/// Walks over the attributes that a container had when the iterator was made.
class ADB_API AttributeContainer::AttributeIterator
    : public AttributeSnapshot<ODB::Ref<GeneralAttribute>, AttributeIterator> {
public:
    /// \param container may be null: the iterator is empty then
    AttributeIterator(const ODB::Ref<AttributeContainer>& container, SortMethod method, SortOrder order);
};

/// The same for reading.
class ADB_API AttributeContainer::AttributeConstIterator
    : public AttributeSnapshot<ODB::ConstRef<GeneralAttribute>, AttributeConstIterator> {
public:
    /// \param container may be null: the iterator is empty then
    AttributeConstIterator(const ODB::ConstRef<AttributeContainer>& container, SortMethod method, SortOrder order);
};

}   // namespace ADB
