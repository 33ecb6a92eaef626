#pragma once

/// \file
/// The folder of documents that stores and sets are written to: a main document with a list of the types, and a
/// document for each of the first sixteen types. Documents are numbered by type id, the main one has number 0.

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include <Kest/Array.hpp>
#include <Kest/ByteSink.hpp>
#include <Kest/UniString.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <IO/FolderSave.hpp>
#include <IO/FolderView.hpp>
#include <IO/Location.hpp>

#include <ODB/ICustomXMLRoot.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace ADB::AttributeDocuments {

inline constexpr short Main = 0;
inline constexpr short LastType = 16;   ///< types beyond it have no document

/// File names, by number.
std::span<const Kest::UniString> GetNames();

/// What the user should know, with the name of the document that it is about in front.
class Messages {
public:
    explicit Messages(Kest::Array<Kest::UniString>& newTarget) noexcept : target(newTarget) {}

    /// Without memory for it the message is dropped.
    void Add(const Kest::UniString& fileName, const Kest::UniString& text) const noexcept;

private:
    Kest::Array<Kest::UniString>& target;
};

/// Hands on what a channel has to say, when it dies; the channel must outlive it.
template <class Channel>
class MessageGuard {
public:
    MessageGuard(Channel& newChannel, const Kest::UniString& newFileName, const Messages& newTarget)
        : channel(newChannel),
          fileName(newFileName),
          target(newTarget) {
        channel.SetMessages(&gathered);
    }
    ~MessageGuard() {
        channel.SetMessages(nullptr);
        for (const Kest::UniString& text : gathered)
            target.Add(fileName, text);
    }
    MessageGuard(const MessageGuard&) = delete;
    MessageGuard& operator=(const MessageGuard&) = delete;

private:
    Channel& channel;
    const Kest::UniString& fileName;
    const Messages& target;
    Kest::Array<Kest::UniString> gathered;
};

/// Writes such a folder as a whole: without a Commit that succeeds, nothing in it is replaced.
class Writer {
public:
    /// \param newDocumentName of the root elements; a literal. \throws std::bad_alloc
    Writer(const IO::Location& folder, const char* newDocumentName, Kest::Array<Kest::UniString>& newMessages);
    /// Tells what was wrong with the files.
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// Makes the main document. \returns 0; -7003 when it cannot be made
    int Open();
    /// Its location.
    const IO::Location& GetLocation() const noexcept { return locations[Main]; }
    /// Its channel, after Open; the document is not begun.
    Kest::XMLOChannel& GetMain() noexcept { return *main; }

    /// Lists the types in the main document and writes the document of each.
    /// \param written receives the documents of containers and attributes; may be null
    /// \returns 0, -7003 when a document cannot be made, or a code of the set or of the channel
    int WriteTypes(const AttributeSet& set, ODB::WrittenLocations* written);

    /// Ends the main document and makes all documents the folder's. \returns 0, or a code of the channel
    int Commit();

    /// Instead of the types and of Commit, when the types cannot be had: a main document that is there stays, with the
    /// documents of its types; where there is none, what was written of ours is left, with its end missing.
    void LeaveUnfinished() noexcept;

private:
    int WriteType(const AttributeSet& set, short typeId, ODB::WrittenLocations* written);
    int PutMain(const std::string& text);

    const char* documentName;
    Messages messages;
    Kest::Array<IO::Location> locations;   // by number
    IO::FolderSave save;
    Kest::IByteSink* mainSink = nullptr;
    Kest::StringSink mainText;
    std::optional<Kest::XMLOChannel> main;
    std::optional<MessageGuard<Kest::XMLOChannel>> mainGuard;
};

/// Reads such a folder, all of its documents as one save has left them.
class Reader {
public:
    using ReadContent = std::function<int(Kest::XMLIChannel&)>;
    using ReadType = std::function<int(Kest::XMLIChannel&, short typeId)>;

    /// \param newDocument the location of the main document; the others stand beside it under their fixed names
    /// \param newDocumentName of the root elements; a literal
    Reader(const IO::Location& newDocument, const char* newDocumentName,
           Kest::Array<Kest::UniString>& newMessages) noexcept
        : document(newDocument),
          documentName(newDocumentName),
          messages(newMessages) {}

    /// Has \p content read the document \p number, and ends it. \returns 0; -7003 when it cannot be opened, which goes
    /// to the debug output too; what \p content returns, or a code of the channel
    int Read(short number, const ReadContent& content);

    /// Reads the list of the types in the main document: their number, as it was written.
    static int ReadTypeCount(Kest::XMLIChannel& channel, short& count);

    /// Has \p content read the document of each type up to \p count, to the first error.
    int ReadTypes(short count, const ReadType& content);

private:
    std::unique_ptr<Kest::XMLIChannel> Open(short number) noexcept;
    int ReadFile(short number, std::string& bytes, Kest::UniString& problem);
    int OpenFolder();
    Kest::UniString GetFileName(short number) const;
    bool IsAbsent(short number) const;
    void Refuse(short number, const Kest::UniString& reason) const noexcept;

    const IO::Location& document;
    const char* documentName;
    Messages messages;
    std::optional<IO::FolderView> view;   // made when the first document is read
    bool isFolderOpen = false;
};

}   // namespace ADB::AttributeDocuments
