#pragma once

#include <Kest/Array.hpp>
#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <IO/Location.hpp>

#include <ODB/Export.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class FileDatabase;

/// Which document each object was written to.
using WrittenLocations = Kest::HashTable<ConstRef<Object>, IO::Location>;

/// An object that is written as documents of its own, into a folder, rather than into one that others share.
class ODB_API ICustomXMLRoot {
public:
    /// Writes the documents into \p folder, all or none of them.
    /// \param written receives the document of each object; may be null
    /// \param messages receives what the user should know, one sentence each
    virtual int CustomWriteXML(const IO::Location& folder, WrittenLocations* written,
                               Kest::Array<Kest::UniString>& messages) const = 0;

    /// Reads what CustomWriteXML wrote.
    /// \param document the main document; the others stand beside it
    /// \param database receives the objects that were read; null: nobody does
    virtual int CustomReadXML(const IO::Location& document, FileDatabase* database,
                              Kest::Array<Kest::UniString>& messages) = 0;

    virtual ~ICustomXMLRoot();
};

}   // namespace ODB
