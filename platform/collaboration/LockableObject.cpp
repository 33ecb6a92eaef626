#include <Lum/LockableObject.hpp>

#include <Kest/ClassManager.hpp>

#include <Lum/Object.hpp>

namespace Lum {
namespace {

const Kest::ClassRegistration<LockableObject> objectRegistration;
const Kest::ClassRegistration<LockableObjectSet> setRegistration;

}   // namespace

const Kest::ClassInfo* LockableObject::GetClassInfoStatic() {
    static const Kest::ClassInfo info("Lum::LockableObject", Kest::Guid("{E5E0B1C2-0F54-4C37-8D4B-93B0A6C1D2F7}"),
                                      Kest::ClassVersion(1, 0), Object::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* LockableObjectSet::GetClassInfoStatic() {
    static const Kest::ClassInfo info("Lum::LockableObjectSet", Kest::Guid("{2B9D6C0E-7A13-4F68-B1E9-5C8F04A7D36B}"),
                                      Kest::ClassVersion(2, 1), LockableObject::GetClassInfoStatic());
    return &info;
}

}   // namespace Lum
