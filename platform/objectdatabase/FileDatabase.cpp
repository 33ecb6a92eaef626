#include <ODB/FileDatabase.hpp>

#include <new>
#include <utility>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include "ResultCodes.hpp"

namespace ODB {
FileDatabase::FileDatabase(IdSpace* idSpace) noexcept : space(idSpace != nullptr ? idSpace : GetDefaultIdSpace()) {}

int FileDatabase::AddIsolatedObject(const Ref<Object>& object, bool generateId) {
    if (!object)
        return NullArgument;
    try {
        objects.Reserve(objects.GetSize() + 1);
        if (generateId && object.GetIdSpace() == nullptr)
            Ref<Object>(object).GenerateId(space);
        const int status = Database::AddObject(object, false);
        if (status == 0)
            objects.Add(object);
        return status;
    } catch (const std::bad_alloc&) {
        return MemoryFull;
    }
}

int FileDatabase::Save(const ConstIRef<ICustomXMLRoot>& root, const IO::Location& folder,
                       Kest::Array<Kest::UniString>& messages) {
    const ICustomXMLRoot* const source = root.Get();
    if (source == nullptr)
        return NullArgument;
    try {
        WrittenLocations written(locations);   // ahead of the writing, which cannot be taken back
        const int status = source->CustomWriteXML(folder, &written, messages);
        if (status == 0)
            locations = std::move(written);
        return status;
    } catch (const std::bad_alloc&) {
        return MemoryFull;
    }
}

int FileDatabase::Load(const IRef<ICustomXMLRoot>& root, const IO::Location& document,
                       Kest::Array<Kest::UniString>& messages) {
    ICustomXMLRoot* const target = root.Get();
    if (target == nullptr)
        return NullArgument;
    const IdSpace::InputScope input(space);
    const std::size_t before = objects.GetSize();
    int status = MemoryFull;
    try {
        status = target->CustomReadXML(document, this, messages);
    } catch (const std::bad_alloc&) {
    }
    while (status != 0 && objects.GetSize() > before)
        objects.DeleteAt(objects.GetSize() - 1);
    return status;
}

IO::Location FileDatabase::FindLocation(const ConstRef<Object>& object) const {
    const IO::Location* const location = locations.Find(object);
    return location != nullptr ? *location : IO::Location();
}

}   // namespace ODB
