#pragma once

#include <ODB/Export.hpp>

namespace Kest {

class IChannel;
class OChannel;

}   // namespace Kest

namespace ODB {

class Object;

/// How the content of objects passes from a delta into the objects of its target when that is not by their isolated
/// states as they are: what WriteState leaves out does not arrive.
class ODB_API IsolatedStateIO {
public:
    virtual ~IsolatedStateIO();

    /// Writes what is to travel of the content of \p object, which carries the delta's content and has no id.
    /// \returns 0, or a code of the channel or of the class
    virtual int WriteState(const Object& object, Kest::OChannel& channel) const = 0;
    /// Reads that into \p object, which has its own content: what was not written stays. \returns as WriteState
    virtual int ReadState(Object& object, Kest::IChannel& channel) const = 0;
};

}   // namespace ODB
