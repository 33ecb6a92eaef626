#include "InterruptedSave.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include <Kest/Crc32c.hpp>
#include <Kest/MemoryChannels.hpp>

#include "FileCalls.hpp"
#include "FileReading.hpp"

namespace IO {
namespace {

// The journal, little-endian. Names are UTF-16 with their count of units in front.
//   1   uint32 Magic | uint32 version | uint32 count | count times {UniString name | uint64 size | uint32 CRC-32C}
//       | uint32 CRC-32C of all before
constexpr std::uint32_t Magic = 0x4C4A415A;
constexpr std::uint32_t Version = 1;
constexpr std::size_t FixedSize = 4 * sizeof(std::uint32_t);
constexpr std::size_t FixedEntrySize = 2 * sizeof(std::uint32_t) + sizeof(std::uint64_t);
constexpr std::size_t PieceSize = std::size_t{1} << 16;

// Of a journal that can be valid: it names known documents only, each once.
std::size_t LargestSize(const FolderLayout& layout) {
    std::size_t size = FixedSize;
    for (const KnownDocument& document : layout.GetDocuments())
        size += FixedEntrySize + document.name.GetLength() * sizeof(char16_t);
    return size;
}

bool ReadEntry(const FolderLayout& layout, std::vector<JournalEntry>& entries, Kest::IChannel& channel) {
    Kest::UniString name;
    JournalEntry entry;
    channel.Read(name);
    channel.Read(entry.size);
    if (channel.Read(entry.checksum) != Kest::ChannelStatus::None)
        return false;
    entry.document = layout.Find(name);
    const auto isSame = [&](const JournalEntry& other) { return other.document == entry.document; };
    if (entry.document == FolderLayout::NoDocument || std::any_of(entries.begin(), entries.end(), isSame))
        return false;
    entries.push_back(entry);
    return true;
}

bool ParseJournal(const FolderLayout& layout, std::string_view bytes, std::vector<JournalEntry>& entries) {
    if (bytes.size() < FixedSize || bytes.size() > LargestSize(layout))
        return false;
    const std::size_t checkedSize = bytes.size() - sizeof(std::uint32_t);
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
    std::uint32_t magic = 0;
    std::uint32_t version = 0;
    std::uint32_t count = 0;
    channel.Read(magic);
    channel.Read(version);
    if (channel.ReadCount(count, FixedEntrySize) != 0 || magic != Magic || version != Version)
        return false;
    for (; count > 0; --count)
        if (!ReadEntry(layout, entries, channel))
            return false;
    std::uint32_t checksum = 0;
    return channel.GetPosition() == checkedSize && channel.Read(checksum) == 0 &&
           checksum == Kest::Crc32c(0, bytes.data(), checkedSize);
}

bool HasNewDocuments(const FolderLayout& layout, bool& has, FirstFailure& failure) {
    has = false;
    for (const KnownDocument& document : layout.GetDocuments()) {
        FileFacts facts;
        if (!failure.Passes(Inspect(document.newPath, facts), "cannot be looked at", document.newPath))
            return false;
        has = has || facts.IsThere();
    }
    return true;
}

// The new name goes first: a document that has it was not renamed, whatever its own name shows.
bool FindDocuments(const FolderLayout& layout, InterruptedSave& found, FirstFailure& failure) {
    found.state = found.entries.empty() ? InterruptedSave::State::Incomplete : InterruptedSave::State::Whole;
    for (JournalEntry& entry : found.entries) {
        const KnownDocument& document = layout.GetDocuments()[entry.document];
        bool isNew = false;
        if (!CompareContent(document.newPath, entry, isNew, failure) ||
            (!isNew && !CompareContent(document.path, entry, entry.isRenamed, failure)))
            return false;
        if (!isNew && !entry.isRenamed)
            found.state = InterruptedSave::State::Incomplete;
    }
    return true;
}

}   // namespace

bool FindInterruptedSave(const FolderLayout& layout, InterruptedSave& found, FirstFailure& failure) {
    const std::string& path = layout.GetJournal();
    OpenFile file;
    std::string bytes;
    found = InterruptedSave();
    const std::error_code error = file.OpenToRead(path);
    if (error == std::errc::no_such_file_or_directory)
        return true;
    if (!failure.Passes(error, "cannot be read", path) ||
        !failure.Passes(ReadUntil(file, bytes, LargestSize(layout) + 1), "cannot be read", path))
        return false;
    if (ParseJournal(layout, bytes, found.entries))
        return FindDocuments(layout, found, failure);
    found.entries.clear();
    bool hasNew = false;
    if (!HasNewDocuments(layout, hasNew, failure))
        return false;
    found.state = hasNew ? InterruptedSave::State::Unreadable : InterruptedSave::State::Passed;
    return true;
}

bool CompareContent(const std::string& path, const JournalEntry& entry, bool& isSame, FirstFailure& failure) {
    isSame = false;
    OpenFile file;
    const std::error_code error = file.OpenToRead(path);
    if (error == std::errc::no_such_file_or_directory)
        return true;
    if (!failure.Passes(error, "cannot be read", path))
        return false;
    if (file.GetFacts().size != entry.size)
        return true;
    const auto piece = std::make_unique<std::array<char, PieceSize>>();
    std::uint32_t checksum = 0;
    std::uint64_t size = 0;
    for (std::size_t got = PieceSize; got == PieceSize; size += got) {
        if (!failure.Passes(file.Read(piece->data(), PieceSize, got), "cannot be read", path))
            return false;
        checksum = Kest::Crc32c(checksum, piece->data(), got);
    }
    isSame = size == entry.size && checksum == entry.checksum;
    return true;
}

void WriteJournal(const FolderLayout& layout, const std::vector<JournalEntry>& entries, Kest::IByteSink& sink,
                  FirstFailure& failure) {
    Kest::MemoryOChannel journal;
    journal.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
    journal.Write(Magic);
    journal.Write(Version);
    journal.Write(static_cast<std::uint32_t>(entries.size()));
    for (const JournalEntry& entry : entries) {
        journal.Write(layout.GetDocuments()[entry.document].name);
        journal.Write(entry.size);
        journal.Write(entry.checksum);
    }
    journal.Write(Kest::Crc32c(0, journal.GetBytes(), journal.GetSize()));
    if (const int status = journal.GetStatus(); status != Kest::ChannelStatus::None)
        failure.Refuse(status, "cannot be made", layout.GetJournal());
    else if (sink.Write(journal.GetBytes(), journal.GetSize()) == Kest::ChannelStatus::None)
        sink.Finish();
}

}   // namespace IO
