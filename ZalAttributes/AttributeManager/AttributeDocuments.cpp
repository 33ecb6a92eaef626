#include "AttributeDocuments.hpp"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include <Kest/DebugOutput.hpp>
#include <Kest/XMLIChannelException.hpp>
#include <Kest/XMLTag.hpp>

#include <IO/Files.hpp>

#include <ODB/Delta.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/ReadReport.hpp>

namespace ADB::AttributeDocuments {
namespace {

constexpr Kest::XMLName TypesElement = "RegisteredAttributes";
constexpr Kest::XMLName TypeCountElement = "NumberOfRegisteredAttributes";
constexpr const char16_t* JournalName = u"Attribute.journal";   // of IO::FolderSave

short GetRegisteredTypeCount() {
    const IAttributeRegister* const types = ::GetAttributeRegister();
    return types != nullptr ? types->GetAttributeTypeNumber() : short{0};
}

IO::Location FolderOf(const IO::Location& place) {
    return place.IsEmpty() ? IO::Location(u".") : place;
}

IO::Location LocationIn(const IO::Location& folder, const Kest::UniString& name) {
    IO::Location place(folder);
    place.AppendToLocal(name);
    return place;
}

void NoteOwned(const ODB::ConstRef<AttributeContainer>& container, const IO::Location& location,
               ODB::WrittenLocations& written) {
    for (const ODB::Ref<ODB::Object>& object :
         ODB::DetermineOwnedObjectSet({ODB::Ref<ODB::Object>(container.GetInfo())}))
        written.Put(object, location);
}

}   // namespace

std::span<const Kest::UniString> GetNames() {
    static const Kest::UniString names[] = {
        u"Attribute.xml",
        u"Attr_City.xml",
        u"Attr_CompWall.xml",
        u"Attr_DimStand.xml",
        u"Attr_Fill.xml",
        u"Attr_Layer.xml",
        u"Attr_LayerComb.xml",
        u"Attr_LineType.xml",
        u"Attr_Material.xml",
        u"Attr_PenTable.xml",
        u"Attr_RoomCat.xml",
        u"Attr_MarkupStyle.xml",
        u"Attr_Profile.xml",
        u"Attr_MEPSystem.xml",
        u"Attr_OperationProfile.xml",
        u"Attr_GraphicOverride.xml",
        u"Attr_BuildingMaterial.xml",
    };
    static_assert(std::size(names) == LastType + 1);
    return names;
}

void Messages::Add(const Kest::UniString& fileName, const Kest::UniString& text) const noexcept {
    try {
        target.Push(fileName + u": " + text);
    } catch (const std::bad_alloc&) {   // the code says enough
    }
}

Writer::Writer(const IO::Location& folder, const char* newDocumentName, Kest::Array<Kest::UniString>& newMessages)
    : documentName(newDocumentName),
      messages(newMessages),
      save(FolderOf(folder), GetNames()) {
    for (const Kest::UniString& name : GetNames())
        locations.Push(LocationIn(folder, name));
}

Writer::~Writer() {
    if (!save.GetProblem().IsEmpty())
        messages.Add(GetNames()[Main], save.GetProblem());
}

int Writer::Open() {
    if (save.Begin() != 0 || save.CreateFile(GetNames()[Main], mainSink) != 0)
        return Error::WrongCall;
    main.emplace(mainText, documentName);
    mainGuard.emplace(*main, GetNames()[Main], messages);
    return Error::None;
}

int Writer::WriteTypes(const AttributeSet& set, ODB::WrittenLocations* written) {
    const short count = GetRegisteredTypeCount();
    Kest::XMLTag list(*main, TypesElement);
    int status = main->Write(TypeCountElement, count);
    for (short typeId = 1; status == 0 && typeId <= std::min(count, LastType); ++typeId)
        status = WriteType(set, typeId, written);
    for (int typeId = LastType + 1; status == 0 && typeId <= count; ++typeId)
        messages.Add(GetNames()[Main],
                     Kest::UniString::Printf("Type %d (%s) is not written", typeId,
                                             ::GetAttributeRegister()->GetTypeName(static_cast<short>(typeId))));
    return status != 0 ? status : list.Close();
}

int Writer::WriteType(const AttributeSet& set, short typeId, ODB::WrittenLocations* written) {
    const std::size_t number = static_cast<std::size_t>(typeId);
    Kest::IByteSink* sink = nullptr;
    if (save.CreateFile(GetNames()[number], sink) != 0)
        return Error::WrongCall;
    Kest::XMLOChannel channel(*sink, documentName);
    const MessageGuard guard(channel, GetNames()[number], messages);
    channel.BeginDocument();
    const ODB::ConstRef<AttributeContainer> container = set.GetConstAttributeContainer(typeId);
    if (container && written != nullptr)
        NoteOwned(container, locations[number], *written);
    if (const int status = set.SaveAttributeTypeToXMLFile(channel, typeId); status != 0)
        return status;
    return channel.EndDocument();
}

int Writer::Commit() {
    const int status = main->EndDocument();
    return status != 0 ? status : PutMain(mainText.GetText());
}

int Writer::PutMain(const std::string& text) {
    if (const int status = mainSink->Write(text.data(), text.size()); status != 0)
        return status;
    if (const int status = mainSink->Finish(); status != 0)
        return status;
    return save.Commit();
}

void Writer::LeaveUnfinished() noexcept {
    const Kest::UniString& name = GetNames()[Main];
    try {
        if (IO::IsFile(GetLocation())) {
            messages.Add(name, u"No memory for the attributes: nothing was saved, the earlier documents stand");
            return;
        }
        messages.Add(name, u"No memory for the attributes: none was saved, and this document has no end");
        if (main->EndDocument() == 0)
            PutMain(mainText.GetText().substr(0, mainText.GetText().rfind("</")));
    } catch (const std::bad_alloc&) {   // then nothing is left
    }
}

int Reader::Read(short number, const ReadContent& content) {
    const std::unique_ptr<Kest::XMLIChannel> channel = Open(number);
    if (!channel)
        return Error::WrongCall;
    const MessageGuard guard(*channel, GetNames()[static_cast<std::size_t>(number)], messages);
    if (const int status = content(*channel); status != 0)
        return status;
    // Whoever reads a type reports what it passed over there itself.
    const std::size_t reported = number == Main ? 0 : channel->GetSkippedElementCount();
    const int status = channel->EndDocument();
    if (status == 0 && channel->GetSkippedElementCount() > reported)
        ReadReport::Add({.kind = ReadReport::ElementSkipped, .name = GetFileName(number)});
    return status;
}

int Reader::ReadTypeCount(Kest::XMLIChannel& channel, short& count) {
    Kest::XMLITag list(channel, TypesElement);
    channel.Read(TypeCountElement, count);
    return list.Close();
}

int Reader::ReadTypes(short count, const ReadType& content) {
    int status = 0;
    for (short typeId = 1; status == 0 && typeId <= std::min(count, LastType); ++typeId)
        status = Read(typeId, [&](Kest::XMLIChannel& channel) { return content(channel, typeId); });
    if (status == 0 && count > LastType) {
        messages.Add(GetNames()[Main], Kest::UniString::Printf("Types %d to %d are not read", LastType + 1, count));
        ReadReport::Add({.kind = ReadReport::TypeSkipped, .name = document.GetLastLocalName()});
    }
    for (int typeId = std::max<int>(count, 0) + 1; status == 0 && typeId <= LastType; ++typeId)
        if (const Kest::UniString& name = GetNames()[static_cast<std::size_t>(typeId)]; view->Contains(name))
            ReadReport::Add({.kind = ReadReport::TypeSkipped, .name = name});
    return status;
}

std::unique_ptr<Kest::XMLIChannel> Reader::Open(short number) noexcept {
    try {
        std::string bytes;
        Kest::UniString problem;
        const int status = ReadFile(number, bytes, problem);
        if (status == 0)
            return std::make_unique<Kest::XMLIChannel>(std::move(bytes), documentName);
        if (status == Kest::ChannelStatus::MemoryFull)
            throw std::bad_alloc();
        if (status == Kest::ChannelStatus::ReadFailed && IsAbsent(number))
            ReadReport::Add({.kind = ReadReport::FileMissing, .name = GetFileName(number)});
        Refuse(number, problem);
    } catch (const KestXML::XMLIChannelException& exception) {
        Refuse(number, exception.GetMessage());
    } catch (const std::bad_alloc&) {
        DBPrintf("Exception in FileOpenXML");
    }
    return nullptr;
}

Kest::UniString Reader::GetFileName(short number) const {
    return number == Main ? document.GetLastLocalName() : GetNames()[static_cast<std::size_t>(number)];
}

// A folder that the system does not let us see into may have it.
bool Reader::IsAbsent(short number) const {
    const Kest::UniString name = GetFileName(number);
    IO::Location folder(document);
    folder.DeleteLastLocalName();
    folder = FolderOf(folder);
    const IO::Location location = LocationIn(folder, name);
    const bool canTell = isFolderOpen || !IO::IsFolder(folder);
    return canTell && !IO::IsFile(location) && !IO::IsFolder(location) && !view->Contains(name);
}

void Reader::Refuse(short number, const Kest::UniString& reason) const noexcept {
    DBPrintf("Exception in FileOpenXML: %s", reason);
    messages.Add(GetNames()[static_cast<std::size_t>(number)], reason);
}

int Reader::ReadFile(short number, std::string& bytes, Kest::UniString& problem) {
    const Kest::UniString& name = GetNames()[static_cast<std::size_t>(number)];
    int status = view ? 0 : OpenFolder();
    if (status == 0 && number == Main && document.GetLastLocalName() != name) {
        problem = document.GetPath() + u" cannot be read";
        return IO::ReadFile(document, bytes);   // the host's own copy, which no save knows
    }
    if (status == 0)
        status = view->ReadFile(name, bytes);
    if (status != 0)
        problem = view->GetProblem();
    return status;
}

int Reader::OpenFolder() {
    IO::Location folder(document);
    folder.DeleteLastLocalName();
    view.emplace(FolderOf(folder), GetNames());
    const int status = view->Open();
    isFolderOpen = status == 0;
    if (isFolderOpen && IO::IsFile(LocationIn(FolderOf(folder), JournalName)))
        ReadReport::Add({.kind = ReadReport::SavePending});
    return status;
}

}   // namespace ADB::AttributeDocuments
