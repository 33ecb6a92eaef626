#include <Kest/HashTableStream.hpp>

#include <Kest/Object.hpp>

namespace Kest {

const ClassInfo* GetHashTableClassInfo() {
    static const ClassInfo info("Kest::HashTable", Guid("{9D1E5A70-3C42-4B8F-A6D3-17F05E2B84C9}"), ClassVersion(1, 0),
                                Object::GetClassInfoStatic());
    return &info;
}

}   // namespace Kest
