#include <Kest/Object.hpp>

#include <Kest/DebugOutput.hpp>

namespace Kest {
namespace {

constexpr int InvalidObject = -7003;

}   // namespace

Object::~Object() = default;

bool Object::IsValid() const {
    return true;
}

bool Object::IsInstanceOf(const ClassInfo& info) const {
    return IsValid() && GetClassInfo()->IsCompatibleWith(info);
}

const ClassInfo* Object::GetClassInfoStatic() {
    static const ClassInfo info("Kest::Object", Guid("{5D8E5A56-3A4B-4C55-8B0E-51C8A2B5E701}"), ClassVersion(1, 0),
                                nullptr);
    return &info;
}

const ClassInfo* Object::GetClassInfo() const {
    return GetClassInfoStatic();
}

void Object::Print() const {
    DBPrintf("%s\n", GetClassInfo()->GetName());
}

void Object::Dump() const {
    Print();
}

int Object::CheckState() const {
    return IsValid() ? 0 : InvalidObject;
}

}   // namespace Kest
