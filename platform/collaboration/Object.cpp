#include <Lum/Object.hpp>

#include <Kest/Frames.hpp>

#include <Lum/Properties.hpp>

namespace Lum {

const Kest::ClassInfo* const Object::dynamicClass = Object::GetClassInfoStatic();

const Kest::ClassInfo* Object::GetClassInfoStatic() {
    static const Kest::ClassInfo info("Lum::Object", Kest::Guid("{6C4D1A53-2E8B-4C54-9E0A-7A41C1D7B9F4}"),
                                      Kest::ClassVersion(1, 0), ODB::DynamicObject::GetClassInfoStatic(), {&LumClass});
    return &info;
}

int Object::Read(Kest::IChannel& channel) {
    return ReadIdentity(channel, *GetClassInfoStatic());
}

int Object::Write(Kest::OChannel& channel) const {
    return WriteIdentity(channel, *GetClassInfoStatic());
}

int Object::ReadIsolatedState(Kest::IChannel& channel) {
    return ReadIdentity(channel, *GetClassInfoStatic());
}

int Object::WriteIsolatedState(Kest::OChannel& channel) const {
    return WriteIdentity(channel, *GetClassInfoStatic());
}

int Object::WriteLumIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    return frame.Close();
}

int Object::ReadLumIsolatedState(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    return frame.Close();
}

Object::IsolatedState* Object::CreateIsolatedState() const {
    return new IsolatedState;
}

std::size_t Object::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

}   // namespace Lum
