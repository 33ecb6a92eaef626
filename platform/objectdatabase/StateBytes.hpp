#pragma once

#include <string_view>

#include <Kest/OChannel.hpp>

namespace ODB {

class Object;

/// The isolated state of an object as bytes, in today's versions: equal bytes are equal contents.
class StateBytes : private Kest::OChannel {
public:
    /// Takes the bytes of \p object in place of those that were there.
    /// \returns 0, or a code of the channel or of the class; then no more bytes are taken
    int Take(const Object& object);
    std::string_view Get() const noexcept { return {GetBytes(), GetSize()}; }
};

}   // namespace ODB
