#pragma once

#include <cstddef>
#include <memory>

#include <Kest/Export.hpp>

namespace Kest {

/// The content of an object, as it writes itself, kept in memory: see Object::Store.
struct KEST_API ObjectState {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
};

}   // namespace Kest
