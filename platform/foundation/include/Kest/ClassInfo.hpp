#pragma once

#include <initializer_list>
#include <vector>

#include <Kest/ClassProperty.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/Export.hpp>
#include <Kest/Guid.hpp>

namespace Kest {

class Object;

/// The record of one class: its name, its identity in streams, its current version, its base and its traits.
///
/// Every class has exactly one record, a static that lives as long as the library that defines the class. A record
/// announces itself to the ClassManager when it is made and withdraws when it dies, so that a class from a second
/// shared object can be found, and is forgotten when that object is unloaded.
class KEST_API ClassInfo {
public:
    /// Makes an empty object of the class; the caller owns it.
    using ConstructorFunction = Object* (*)();

    /// Version of a whole system that reads what we write; 0 stands for today's.
    using SystemVersion = int;

    /// The version of the class that a system of an older version understands.
    struct OlderVersion {
        SystemVersion system;
        ClassVersion version;
    };

    /// \param className the qualified name, a literal
    /// \param classId the class's fixed GUID
    /// \param currentVersion the version that is written today
    /// \param baseClass the record of the base class, null for a root
    /// \param classProperties the traits of this class; those of the base are not inherited
    /// \param constructorFunction the factory, null for a class that cannot be made from its GUID
    /// \param olderVersions for the systems that understand another version than the current one
    ClassInfo(const char* className, const Guid& classId, ClassVersion currentVersion, const ClassInfo* baseClass,
              std::initializer_list<const ClassProperty*> classProperties = {},
              ConstructorFunction constructorFunction = nullptr,
              std::initializer_list<OlderVersion> olderVersions = {});
    ~ClassInfo();
    ClassInfo(const ClassInfo&) = delete;
    ClassInfo& operator=(const ClassInfo&) = delete;

    const char* GetName() const noexcept { return name; }
    const Guid& GetId() const noexcept { return id; }
    ClassVersion GetVersion() const noexcept { return version; }
    /// The version of the class that a system of version \p system understands.
    ClassVersion GetVersionFor(SystemVersion system) const noexcept {
        return system == 0 ? version : FindVersionFor(system);
    }
    const ClassInfo* GetBase() const noexcept { return base; }

    /// Whether an object of this class can stand where one of \p other is asked for: the same class or one derived.
    bool IsCompatibleWith(const ClassInfo& other) const noexcept;

    /// Whether the class itself carries \p property.
    bool HasProperty(const ClassProperty& property) const noexcept;

    /// Whether CreateObject can make an object.
    bool IsConstructible() const noexcept { return constructor != nullptr; }

    /// A new, empty object of the class, owned by the caller; null when the class has no factory.
    Object* CreateObject() const;

private:
    ClassVersion FindVersionFor(SystemVersion system) const noexcept;

    const char* name;
    Guid id;
    ClassVersion version;
    const ClassInfo* base;
    std::vector<const ClassProperty*> properties;
    ConstructorFunction constructor;
    std::vector<OlderVersion> older;
};

}   // namespace Kest
