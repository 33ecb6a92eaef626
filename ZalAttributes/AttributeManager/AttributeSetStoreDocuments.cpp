#include <AttributeManager/AttributeSetStore.hpp>

#include <memory>

#include <AttributeManager/AttributeErrors.hpp>

#include "AttributeDocuments.hpp"
#include "AttributeSetBuilding.hpp"
#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

constexpr const char* DocumentName = "AttributeSetStore";

}   // namespace

int AttributeSetStore::CustomWriteXML(const IO::Location& folder, ODB::WrittenLocations* written,
                                      Kest::Array<Kest::UniString>& messages) const {
    return CatchMemoryFull([&] {
        AttributeDocuments::Writer writer(folder, DocumentName, messages);
        if (const int status = writer.Open(); status != 0)
            return status;
        if (written != nullptr)
            written->Put(ODB::ConstRef<AttributeSetStore>(this), writer.GetLocation());
        writer.GetMain().BeginDocument();
        if (const int status = ODB::Object::WriteIsolatedStateXML(writer.GetMain()); status != 0)
            return status;
        const std::unique_ptr<TemporarySet> temporary = TemporarySet::Make();
        if (!temporary) {
            writer.LeaveUnfinished();
            return int{Error::None};
        }
        int status = Load(temporary->Get());
        if (status == 0)
            status = writer.WriteTypes(*temporary->Get().GetConst(), nullptr);
        return status != 0 ? status : writer.Commit();
    });
}

int AttributeSetStore::CustomReadXML(const IO::Location& document, ODB::FileDatabase*,
                                     Kest::Array<Kest::UniString>& messages) {
    return CatchMemoryFull([&] {
        AttributeDocuments::Reader reader(document, DocumentName, messages);
        std::unique_ptr<TemporarySet> temporary;
        short count = 0;
        int status = reader.Read(AttributeDocuments::Main, [&](Kest::XMLIChannel& channel) {
            if (const int read = ODB::Object::ReadXML(channel); read != 0)
                return read;
            temporary = TemporarySet::Make();
            return temporary ? AttributeDocuments::Reader::ReadTypeCount(channel, count) : int{Error::WrongCall};
        });
        if (status == 0)
            status = reader.ReadTypes(count, [&](Kest::XMLIChannel& channel, short typeId) {
                return temporary->Get().GetLogicalConst()->LoadAttributeTypeFromXMLFile(
                    channel, typeId, Kest::PlatformSign::LittleEndian);
            });
        return status != 0 ? status : Update(temporary->Get(), 0);
    });
}

}   // namespace ADB
