#pragma once

#include <Kest/Array.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/UniString.hpp>

#include <IO/Location.hpp>

#include <ODB/Export.hpp>
#include <ODB/ICustomXMLRoot.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class IdSpace;

/// The way from an id space to documents and back: knows which objects were read and where each was written to.
///
/// It owns neither; objects live and die in their space.
class ODB_API FileDatabase {
public:
    /// \param idSpace where the objects live; null means the default space
    explicit FileDatabase(IdSpace* idSpace) noexcept;
    FileDatabase(const FileDatabase&) = delete;
    FileDatabase& operator=(const FileDatabase&) = delete;

    IdSpace* GetIdSpace() const noexcept { return space; }

    /// Puts \p object under the control of the database, without linking it to anything, and keeps it among GetObjects.
    /// Links that it has already stay. With \p generateId an object without an id gets a fresh one in the space.
    /// \returns 0, -7001 for a null or dead reference, or -108 when memory runs out; then it is not kept
    int AddIsolatedObject(const Ref<Object>& object, bool generateId);

    /// The objects that were added, each once, in that order.
    const Kest::HashSet<Ref<Object>>& GetObjects() const noexcept { return objects; }

    /// Writes the documents of \p root into \p folder and remembers where each object went, instead of where it went
    /// before.
    /// \param messages receives what the user should know
    /// \returns 0, -7001 without a root, -108 when memory runs out, or what CustomWriteXML returns; then no location is
    /// remembered anew
    int Save(const ConstIRef<ICustomXMLRoot>& root, const IO::Location& folder, Kest::Array<Kest::UniString>& messages);

    /// Lets \p root read \p document, with the space as input space. The objects that it adds are kept.
    /// \returns 0, -7001 without a root, -108 when memory runs out, or what CustomReadXML returns; then none is kept
    int Load(const IRef<ICustomXMLRoot>& root, const IO::Location& document, Kest::Array<Kest::UniString>& messages);

    /// The document that \p object was last written to; no place when it was not written.
    IO::Location FindLocation(const ConstRef<Object>& object) const;

private:
    IdSpace* space;
    Kest::HashSet<Ref<Object>> objects;
    WrittenLocations locations;
};

}   // namespace ODB
