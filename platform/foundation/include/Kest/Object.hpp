#pragma once

#include <Kest/ClassInfo.hpp>
#include <Kest/Export.hpp>
#include <Kest/ObjectState.hpp>

namespace Kest {

class IChannel;
class OChannel;

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

    /// Reads the content. Nothing here.
    /// \returns 0, or a code of the channel (ChannelStatus) or of the class; then the object is as it was, unless its
    /// class says otherwise
    virtual int Read(IChannel& channel);

    /// Writes the content. Nothing here. \returns 0, or a code of the channel or of the class
    virtual int Write(OChannel& channel) const;

    /// Puts the content, as the object writes itself today, into \p state.
    /// \returns 0, or as Write, with \p state as it was
    virtual int Store(ObjectState& state) const;

    /// Takes the content from \p state, which Store of an object of the same class filled. \returns as Read
    virtual int Restore(const ObjectState& state);

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
