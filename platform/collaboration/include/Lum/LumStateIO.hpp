#pragma once

#include <ODB/IsolatedStateIO.hpp>

#include <Lum/Export.hpp>

namespace Lum {

/// Passes contents as shared projects exchange them (Object::WriteLumIsolatedState): what only makes sense on one
/// client, such as the mark of client-created objects, does not arrive. Objects of other classes pass as they are.
class LUM_API LumStateIO : public ODB::IsolatedStateIO {
public:
    int WriteState(const ODB::Object& object, Kest::OChannel& channel) const override;
    int ReadState(ODB::Object& object, Kest::IChannel& channel) const override;
};

}   // namespace Lum
