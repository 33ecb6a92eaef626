#pragma once

#include <Kest/ClassInfo.hpp>
#include <Kest/Export.hpp>

namespace Kest {

/// The root of everything that has a class record.
class KEST_API Object {
public:
    /// Whether the object is what it should be inside; a cheap test for assertions.
    virtual bool IsValid() const;

    /// Whether the object is valid and its class is \p info or derived from it.
    virtual bool IsInstanceOf(const ClassInfo& info) const;

    /// A copy on the heap, owned by the caller. The copy has the content alone: no identity, links or observers.
    /// \throws std::bad_alloc
    virtual Object* Clone() const = 0;

    virtual ~Object();

    /// The record of the object's own class.
    virtual const ClassInfo* GetClassInfo() const;
    static const ClassInfo* GetClassInfoStatic();

    /// Writes one line that names the object to the debug output.
    virtual void Print() const;

    /// Writes the object's content to the debug output; a class without a description of its own prints its line.
    virtual void Dump() const;

    /// \returns 0, or -7003 when the object is not valid.
    virtual int CheckState() const;

protected:
    Object() = default;
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
};

}   // namespace Kest
