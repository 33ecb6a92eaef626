#include "MainDocument.hpp"

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <Kest/UniString.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLIChannelException.hpp>

#include <IO/FolderView.hpp>

namespace Host {

namespace {

// The documents that lie in the folder, or wait in it to take the place of others.
std::vector<Kest::UniString> FindDocumentNames(const IO::Location& folder) {
    constexpr std::string_view waiting = ".new";
    std::set<std::string> found;
    const std::string path = folder.ToUtf8();
    std::error_code error;
    std::filesystem::directory_iterator files(std::u8string(path.begin(), path.end()), error);
    for (; !error && files != std::filesystem::directory_iterator(); files.increment(error)) {
        const std::u8string name = files->path().filename().u8string();
        std::string document(name.begin(), name.end());
        if (document.ends_with(waiting))
            document.resize(document.size() - waiting.size());
        if (document.starts_with("Attr_") && document.ends_with(".xml"))
            found.insert(std::move(document));
    }
    std::vector<Kest::UniString> names{MainDocumentName};
    for (const std::string& name : found)
        names.push_back(Kest::UniString::FromUtf8(name));
    return names;
}

bool IsOfStore(const std::string& text) {
    try {
        const Kest::XMLIChannel channel(text, "AttributeSetStore");
        return true;
    } catch (const KestXML::XMLIChannelException&) {
        return false;
    }
}

Kest::Guid FindSetId(const std::string& text) {
    Kest::Guid id;
    try {
        Kest::XMLIChannel channel(text, "AttributeSet");
        channel.Read("Id", id);
    } catch (const KestXML::XMLIChannelException&) {   // whoever reads it says what is wrong
    }
    return id;
}

}   // namespace

MainDocument LookAtMainDocument(const IO::Location& folder) {
    IO::FolderView view(folder, FindDocumentNames(folder));
    std::string text;
    if (view.Open() != 0 || view.ReadFile(MainDocumentName, text) != 0)
        return {};
    return {.isOfStore = IsOfStore(text), .setId = FindSetId(text)};
}

}   // namespace Host
