#pragma once

#include <memory>
#include <new>

#include <AttributeManager/IAttributeNewIndexTable.hpp>

namespace Host {

struct DisposeNewIndexTable {
    void operator()(ADB::IAttributeNewIndexTable* table) const { DisposeAttributeNewIndexTable(&table); }
};

/// A renumbering that is ours.
using NewIndexTable = std::unique_ptr<ADB::IAttributeNewIndexTable, DisposeNewIndexTable>;

/// \throws std::bad_alloc
inline NewIndexTable TakeNewIndexTable(ADB::IAttributeNewIndexTable* made) {
    if (made == nullptr)
        throw std::bad_alloc();
    return NewIndexTable(made);
}

}   // namespace Host
