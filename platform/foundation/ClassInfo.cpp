#include <Kest/ClassInfo.hpp>

#include <algorithm>

#include <Kest/ClassManager.hpp>

namespace Kest {

ClassInfo::ClassInfo(const char* className, const Guid& classId, ClassVersion currentVersion,
                     const ClassInfo* baseClass, std::initializer_list<const ClassProperty*> classProperties,
                     ConstructorFunction constructorFunction, std::initializer_list<OlderVersion> olderVersions)
    : name(className),
      id(classId),
      version(currentVersion),
      base(baseClass),
      properties(classProperties),
      constructor(constructorFunction),
      older(olderVersions) {
    ClassManager::Register(*this);
}

ClassInfo::~ClassInfo() {
    ClassManager::Unregister(*this);
}

ClassVersion ClassInfo::FindVersionFor(SystemVersion system) const noexcept {
    for (const OlderVersion& entry : older)
        if (entry.system == system)
            return entry.version;
    return version;
}

bool ClassInfo::IsCompatibleWith(const ClassInfo& other) const noexcept {
    for (const ClassInfo* info = this; info != nullptr; info = info->base)
        if (info == &other || info->id == other.id)
            return true;
    return false;
}

bool ClassInfo::HasProperty(const ClassProperty& property) const noexcept {
    return std::find(properties.begin(), properties.end(), &property) != properties.end();
}

Object* ClassInfo::CreateObject() const {
    return constructor != nullptr ? constructor() : nullptr;
}

}   // namespace Kest
