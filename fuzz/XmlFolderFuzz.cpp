// A folder of documents, with the journal of an interrupted save.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include <Kest/DebugOutput.hpp>

#include <IO/Location.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// One folder per process: fuzzers run side by side.
fs::path MakeFolder() {
    const fs::path folder = fs::temp_directory_path() / ("zal-fuzz-" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

void Disturb(const fs::path& folder, Bytes bytes) {
    static constexpr const char* Files[] = {"Attribute.xml", "Attr_City.xml", "Attribute.journal", "Attr_City.xml.new"};
    const fs::path file = folder / Files[bytes[0] % std::size(Files)];
    const std::string text = fs::exists(file) ? ReadFile(file) : ReadFile(folder / "Attr_City.xml");
    WriteFile(file, MakeText(bytes.subspan(1), {text}));
}

void Run(Bytes bytes) {
    if (bytes.empty())
        return;
    DBSetSink([](const Kest::UniString&) {});
    Session session;
    session.AddStickers();
    const ODB::Ref<ADB::AttributeSet>& set = session.GetSet();
    const fs::path folder = MakeFolder();
    const IO::Location location(Kest::UniString(folder.c_str()));
    Kest::Array<Kest::UniString> messages;
    Require(set->CustomWriteXML(location, nullptr, messages) == 0, "a folder could not be written");
    Disturb(folder, bytes);
    IO::Location document(location);
    document.AppendToLocal(u"Attribute.xml");
    const int status = set->CustomReadXML(document, nullptr, messages);
    Require(set->CheckInvariants(), "the set is not whole");
    if (status == 0) {
        Require(set->CustomWriteXML(location, nullptr, messages) == 0, "what was read cannot be written");
        Require(set->CustomReadXML(document, nullptr, messages) == 0, "what was written cannot be read");
    }
    fs::remove_all(folder);
}

const Registration registration("XmlFolder", Run);

}   // namespace
}   // namespace Fuzz
