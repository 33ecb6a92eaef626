#pragma once

#include <new>

#include <AttributeManager/AttributeErrors.hpp>

namespace ADB {

/// The code that \p call returns; Error::MemoryFull when it runs out of memory.
template <class Call>
int CatchMemoryFull(Call&& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return Error::MemoryFull;
    }
}

}   // namespace ADB
