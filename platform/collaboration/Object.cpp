#include <Lum/Object.hpp>

#include <Lum/Properties.hpp>

namespace Lum {

const Kest::ClassInfo* const Object::dynamicClass = Object::GetClassInfoStatic();

const Kest::ClassInfo* Object::GetClassInfoStatic() {
    static const Kest::ClassInfo info("Lum::Object", Kest::Guid("{6C4D1A53-2E8B-4C54-9E0A-7A41C1D7B9F4}"),
                                      Kest::ClassVersion(1, 0), ODB::DynamicObject::GetClassInfoStatic(), {&LumClass});
    return &info;
}

Object::IsolatedState* Object::CreateIsolatedState() const {
    return new IsolatedState;
}

std::size_t Object::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

}   // namespace Lum
