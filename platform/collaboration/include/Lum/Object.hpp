#pragma once

#include <ODB/Object.hpp>

#include <Lum/Export.hpp>

namespace Lum {

/// An object of the database that takes part in shared projects.
class LUM_API Object : public ODB::DynamicObject {
public:
    class LUM_API IsolatedState : public ODB::DynamicObject::IsolatedState {};

    static const Kest::ClassInfo* GetClassInfoStatic();

    /// The record that the dynamic classes of the layers above derive from.
    static const Kest::ClassInfo* const dynamicClass;

    int Read(Kest::IChannel& channel) override;
    int Write(Kest::OChannel& channel) const override;
    int ReadIsolatedState(Kest::IChannel& channel) override;
    IsolatedState* CreateIsolatedState() const override;
    int WriteIsolatedState(Kest::OChannel& channel) const override;
    std::size_t GetIsolatedSize() const override;

    /// Writes the isolated state as shared projects exchange it: an empty frame here.
    /// \returns 0, or a code of the channel or of the class
    virtual int WriteLumIsolatedState(Kest::OChannel& channel) const;
    /// Reads what WriteLumIsolatedState wrote. \returns as Read
    virtual int ReadLumIsolatedState(Kest::IChannel& channel);

protected:
    explicit Object(const Kest::ClassInfo* objectClass) noexcept : DynamicObject(objectClass) {}
    Object(const Object&) noexcept = default;
    Object& operator=(const Object&) noexcept = default;
};

}   // namespace Lum
