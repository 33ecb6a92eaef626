#include "DocumentReader.hpp"

#include "DebugCapture.hpp"
#include "Failure.hpp"
#include "MainDocument.hpp"
#include "SetForm.hpp"
#include "StatusText.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <string>

#include <Kest/Frames.hpp>
#include <Kest/MemoryChannels.hpp>

#include <IO/Files.hpp>
#include <IO/Location.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

namespace Host {

namespace {

constexpr char16_t Journal[] = u"Attribute.journal";   // stands in for the documents after an interrupted save

IO::Location LocationOf(const std::string& path) {
    return IO::Location(Kest::UniString::FromUtf8(path));
}

IO::Location In(IO::Location folder, const char16_t* name) {
    folder.AppendToLocal(name);
    return folder;
}

// Of a folder of documents, or of the main document in it.
IO::Location FolderOf(const std::string& path) {
    IO::Location folder = LocationOf(path);
    if (!IO::IsFolder(folder))
        folder.DeleteLastLocalName();
    return folder.IsEmpty() ? IO::Location(u".") : folder;
}

using Messages = Kest::Array<Kest::UniString>;

int ReadStoreDocuments(const IO::Location& document, const ODB::Ref<ADB::AttributeSet>& set, Messages& messages) {
    ADB::AttributeSetStore store;
    const int status = store.CustomReadXML(document, nullptr, messages);
    return status != 0 ? status : store.Load(set);
}

int ReadEitherDocuments(const IO::Location& folder, const ODB::Ref<ADB::AttributeSet>& set, Messages& messages) {
    const IO::Location document = In(folder, MainDocumentName);
    return LookAtMainDocument(folder).isOfStore ? ReadStoreDocuments(document, set, messages)
                                                : set->CustomReadXML(document, nullptr, messages);
}

// The first thing that the library said, in one line.
std::string Reason(const Messages& messages, const DebugCapture& debug, int status) {
    for (const Messages* const said : {&messages, &debug.GetTexts()})
        for (const Kest::UniString& text : *said)
            if (!text.IsEmpty())
                return TextOfMessage(text);
    return TextOfStatus(status);
}

// The version in which the set in a store was written, 0 when that cannot be told.
int GetStreamVersion(const ADB::AttributeSetStore& store) {
    Kest::MemoryIChannel channel(store.GetData(), store.GetDataSize());
    const Kest::InputFrame outer(channel, *ADB::AttributeSetStore::GetClassInfoStatic());
    const Kest::InputFrame frame(channel, *ADB::AttributeSet::GetClassInfoStatic());
    return frame.GetVersion().GetMajor();
}

}   // namespace

bool IsDocumentFolder(const std::string& path) {
    const IO::Location location = LocationOf(path);
    return IO::IsFolder(location) || location.GetLastLocalName() == MainDocumentName;
}

Kest::Guid FindStoredSetId(const std::string& path) {
    return IsDocumentFolder(path) ? LookAtMainDocument(FolderOf(path)).setId : Kest::Guid();
}

bool BeginsLikeStore(std::string_view bytes) {
    const Kest::Guid::Bytes mark = ADB::AttributeSetStore::GetClassInfoStatic()->GetId().GetBytes();
    return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin(), [](auto byte, char c) {
               return byte == static_cast<unsigned char>(c);
           });
}

void ReadDocuments(const std::string& path, const ODB::Ref<ADB::AttributeSet>& set, std::vector<std::string>& notes) {
    const std::string shown = EscapeForMessage(path);
    const IO::Location folder = FolderOf(path);
    if (!IO::IsFile(In(folder, MainDocumentName)) && !IO::IsFile(In(folder, Journal)))
        throw Failure(shown + ": this is a folder without Attribute.xml: name the files in it");

    const DebugCapture debug;
    Messages messages;
    if (const int status = ReadEitherDocuments(folder, set, messages); status != 0)
        throw Failure(shown + ": the documents cannot be read (" + Reason(messages, debug, status) +
                      "): get a complete copy of the folder");
    for (const Kest::UniString& message : messages)
        notes.push_back(shown + ": " + TextOfMessage(message));
}

void ReadStore(const std::string& path, std::string_view bytes, const ODB::Ref<ADB::AttributeSet>& set) {
    const std::string shown = EscapeForMessage(path);
    const DebugCapture debug;
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    ADB::AttributeSetStore store;
    int status = store.ReadIsolatedState(channel);
    if (status == 0 && channel.GetPosition() != bytes.size())
        throw Failure(shown + ": something stands behind the end of the store: get a complete copy of it");
    if (status == 0)
        status = store.Load(set);
    if (status != 0 && GetStreamVersion(store) == static_cast<int>(SetForm::Stream1))
        throw Failure(shown + ": attributes of stream version 1 cannot be read back: make the store anew from its "
                              "source with --stream-version 2 or above");
    if (status != 0)
        throw Failure(shown + ": the store cannot be read (" + TextOfStatus(status) + "): get a complete copy of it");
}

}   // namespace Host
