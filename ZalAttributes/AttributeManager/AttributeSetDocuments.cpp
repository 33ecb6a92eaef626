#include <AttributeManager/AttributeSet.hpp>

#include <ODB/Database.hpp>
#include <ODB/FileDatabase.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

#include "AttributeDocuments.hpp"
#include "AttributeSetBuilding.hpp"
#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

constexpr const char* DocumentName = "AttributeSet";

struct FillElement {
    Kest::XMLName name;
    short AttributeSet::Fills::*fill;
};

// In the order of the document.
constexpr FillElement FillElements[] = {
    {"SolidFill", &AttributeSet::Fills::solid},         {"EmptyFill", &AttributeSet::Fills::empty},
    {"PercentFill25", &AttributeSet::Fills::percent25}, {"PercentFill50", &AttributeSet::Fills::percent50},
    {"PercentFill75", &AttributeSet::Fills::percent75},
};

}   // namespace

int AttributeSet::CustomWriteXML(const IO::Location& folder, ODB::WrittenLocations* written,
                                 Kest::Array<Kest::UniString>& messages) const {
    return CatchMemoryFull([&] {
        AttributeDocuments::Writer writer(folder, DocumentName, messages);
        if (const int status = writer.Open(); status != 0)
            return status;
        if (written != nullptr)
            written->Put(ODB::ConstRef<AttributeSet>(this), writer.GetLocation());
        Kest::XMLOChannel& main = writer.GetMain();
        main.BeginDocument();
        if (const int status = Lum::Object::WriteIsolatedStateXML(main); status != 0)
            return status;
        for (const FillElement& element : FillElements)
            main.Write(element.name, fills.*element.fill);
        const int status = writer.WriteTypes(*this, written);
        return status != 0 ? status : writer.Commit();
    });
}

int AttributeSet::CustomReadXML(const IO::Location& document, ODB::FileDatabase* database,
                                Kest::Array<Kest::UniString>& messages) {
    return CatchMemoryFull([&] {
        AttributeDocuments::Reader reader(document, DocumentName, messages);
        Fills newFills;
        short count = 0;
        int status = reader.Read(AttributeDocuments::Main, [&](Kest::XMLIChannel& channel) {
            if (const int read = Lum::Object::ReadIsolatedStateXML(channel); read != 0)
                return read;
            for (const FillElement& element : FillElements)
                channel.Read(element.name, newFills.*element.fill);
            return AttributeDocuments::Reader::ReadTypeCount(channel, count);
        });
        if (status != 0)
            return status;
        TakeFills(newFills);
        const ODB::Ref<AttributeSet> self(this);
        status = reader.ReadTypes(count, [&](Kest::XMLIChannel& channel, short typeId) {
            if (!self)   // an observer has deleted the set
                return int{Error::NullArgument};
            const int made = MakeContainer(typeId, database);
            return made != 0 ? made : LoadAttributeTypeFromXMLFile(channel, typeId, Kest::PlatformSign::LittleEndian);
        });
        return status != 0 || database == nullptr ? status : database->AddIsolatedObject(self, true);
    });
}

// Makes a container of the type, unless there is one, and adds it to the database.
int AttributeSet::MakeContainer(short typeId, ODB::FileDatabase* database) {
    if (const ODB::Ref<AttributeContainer> own = GetAttributeContainer(typeId))
        return database != nullptr ? database->AddIsolatedObject(own, false) : 0;
    const IAttributeRegister* const types = ::GetAttributeRegister();
    if (types == nullptr || typeId > types->GetAttributeTypeNumber())
        return Error::UnknownType;
    ODB::IdSpace* const space = GetIdSpace() != nullptr ? GetIdSpace() : ODB::GetInputIdSpace();
    const ODB::Ref<AttributeContainer> container(MakeRegisteredContainer(*types, typeId, space, true).release());
    ODB::Database::AddObject(container, false);
    int status = database != nullptr ? database->AddIsolatedObject(container, false) : 0;
    if (status == 0)
        status = CatchMemoryFull([&] { return AddAttributeContainer(container); });
    if (status != 0)
        ODB::Database::DeleteObject(container);
    return status;
}

}   // namespace ADB
