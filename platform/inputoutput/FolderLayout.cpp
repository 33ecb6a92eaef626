#include "FolderLayout.hpp"

#include <algorithm>
#include <string_view>

#include <Kest/ChannelStatus.hpp>

#include "FileCalls.hpp"

namespace IO {
namespace {

constexpr const char16_t* LockName = u"Attribute.lock";
constexpr const char16_t* JournalName = u"Attribute.journal";
constexpr std::u16string_view NewSuffix = u".new";
constexpr const char* LinkedSuffix = ".zal-linked";   // beside a link's target nothing else tells that a file is ours

}   // namespace

FolderLayout::FolderLayout(const Location& folder, std::span<const Kest::UniString> knownNames)
    : place(folder),
      folderPath(folder.ToUtf8()) {
    documents.reserve(knownNames.size());
    for (const Kest::UniString& name : knownNames)
        documents.push_back({name, std::string(), std::string()});
}

bool FolderLayout::Locate(FirstFailure& failure) {
    if (!AreNamesUsable()) {
        failure.Refuse(Kest::ChannelStatus::WrongCall, "was given document names that cannot be used", folderPath);
        return false;
    }
    journalPath = PathOf(JournalName);
    newJournalPath = PathOf(Kest::UniString(JournalName) + NewSuffix);
    for (KnownDocument& document : documents) {
        const std::string plain = PathOf(document.name);
        document.path = plain;
        if (!failure.Passes(ResolveLinks(document.path), "cannot be followed", document.path))
            return false;
        document.newPath = document.path == plain ? plain + Kest::UniString(NewSuffix).ToCStr()
                                                  : HiddenBeside(document.path, LinkedSuffix);
    }
    return true;
}

std::string FolderLayout::JournalIn(const std::string& folder) {
    return folder + '/' + Kest::UniString(JournalName).ToCStr();
}

std::string FolderLayout::LockIn(const std::string& folder) {
    return folder + '/' + Kest::UniString(LockName).ToCStr();
}

std::size_t FolderLayout::Find(const Kest::UniString& name) const noexcept {
    const auto found = std::find_if(documents.begin(), documents.end(),
                                    [&](const KnownDocument& document) { return document.name == name; });
    return found == documents.end() ? NoDocument : static_cast<std::size_t>(found - documents.begin());
}

// Each name is a plain one, and no two files that we may make have the same, also where letter case does not count.
bool FolderLayout::AreNamesUsable() const {
    std::vector<Kest::UniString> names{LockName, JournalName};
    for (const KnownDocument& document : documents)
        names.push_back(document.name);
    std::vector<Kest::UniString> taken;
    for (const Kest::UniString& name : names) {
        if (Location().AppendToLocal(name) != 0)
            return false;
        taken.push_back(name.ToUpper());
        taken.push_back((name + NewSuffix).ToUpper());
    }
    const auto before = [](const Kest::UniString& a, const Kest::UniString& b) { return a.GetView() < b.GetView(); };
    std::sort(taken.begin(), taken.end(), before);
    return std::adjacent_find(taken.begin(), taken.end()) == taken.end();
}

std::string FolderLayout::PathOf(const Kest::UniString& name) const {
    Location file = place;
    file.AppendToLocal(name);   // cannot fail: the names were looked at
    return file.ToUtf8();
}

}   // namespace IO
