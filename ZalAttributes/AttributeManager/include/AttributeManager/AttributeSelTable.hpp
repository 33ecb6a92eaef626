#pragma once

#include <Kest/Array.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>

#include <AttributeManager/Export.hpp>
#include <AttributeManager/IAttributeSelTable.hpp>

namespace ADB {

/// The library's selection. It belongs to no attribute set; copies are deep.
class ADB_API AttributeSelTable : public IAttributeSelTable {
public:
    int SelectAttribute(short typeId, short index) override;
    int DeselectAttribute(short typeId, short index) override;
    bool IsAttributeSelected(short typeId, short index) const override;

    /// The selected indexes of the type in the order in which they were selected; null for a type that never had any.
    const Kest::Array<short>* FindSelected(short typeId) const;

private:
    // The selected indexes of one type: in order, and for finding.
    class Selection {
    public:
        void Add(short index);
        void Remove(short index);
        bool Contains(short index) const { return members.Contains(index); }
        const Kest::Array<short>& GetInOrder() const noexcept { return order; }

    private:
        Kest::Array<short> order;
        Kest::HashSet<short> members;
    };

    Kest::HashTable<short, Selection> types;
};

}   // namespace ADB
