#include <Lum/LumStateIO.hpp>

#include <Lum/Object.hpp>

namespace Lum {

int LumStateIO::WriteState(const ODB::Object& object, Kest::OChannel& channel) const {
    const auto* const shared = dynamic_cast<const Object*>(&object);
    return shared != nullptr ? shared->WriteLumIsolatedState(channel) : object.WriteIsolatedState(channel);
}

int LumStateIO::ReadState(ODB::Object& object, Kest::IChannel& channel) const {
    auto* const shared = dynamic_cast<Object*>(&object);
    return shared != nullptr ? shared->ReadLumIsolatedState(channel) : object.ReadIsolatedState(channel);
}

}   // namespace Lum
