#pragma once

#include <Kest/ClassInfo.hpp>
#include <Kest/Export.hpp>
#include <Kest/Guid.hpp>

namespace Kest {

/// The process-wide list of class records, by GUID.
class KEST_API ClassManager {
public:
    ClassManager() = delete;

    /// The record of the class with this GUID, or null. The null GUID belongs to no class.
    static const ClassInfo* Find(const Guid& classId);

    /// A new, empty object of the class with this GUID, owned by the caller; null when no such class is known or it
    /// has no factory.
    static Object* CreateObject(const Guid& classId);

    /// While it lives, everything is written for a system of the given version; then for the one before.
    class KEST_API OutputVersionBlock {
    public:
        explicit OutputVersionBlock(ClassInfo::SystemVersion version) noexcept;
        ~OutputVersionBlock();
        OutputVersionBlock(const OutputVersionBlock&) = delete;
        OutputVersionBlock& operator=(const OutputVersionBlock&) = delete;

    private:
        ClassInfo::SystemVersion previous;
    };

    /// The system version that is written for: that of the innermost OutputVersionBlock, else 0, which is today's.
    static ClassInfo::SystemVersion GetOutputVersion() noexcept;

private:
    friend class ClassInfo;
    static void Register(const ClassInfo& info);
    static void Unregister(const ClassInfo& info) noexcept;
};

/// Makes sure that the record of \p Class is announced when its library is loaded: define one per class, as a static
/// in the class's source.
template <class Class>
class ClassRegistration {
public:
    ClassRegistration() { (void)Class::GetClassInfoStatic(); }
};

}   // namespace Kest
