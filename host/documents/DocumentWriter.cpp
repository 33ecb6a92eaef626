#include "DocumentWriter.hpp"

#include "DebugCapture.hpp"
#include "Failure.hpp"
#include "StatusText.hpp"
#include "output/SafeText.hpp"

#include <IO/FileOChannel.hpp>
#include <IO/FileSave.hpp>
#include <IO/Files.hpp>
#include <IO/Location.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

namespace Host {

namespace {

using SetRef = ODB::ConstRef<ADB::AttributeSet>;

[[noreturn]] void Refuse(const std::string& shownPath, const Kest::UniString& problem, int status) {
    const std::string reason = problem.IsEmpty() ? TextOfStatus(status) : TextOfMessage(problem);
    throw Failure(shownPath + ": it cannot be saved there (" + reason +
                  "): check the folder, your rights and the room that is left");
}

void WriteFolder(const SetRef& set, const IO::Location& folder, const std::string& shownPath,
                 std::vector<std::string>& notes) {
    if (IO::IsFile(folder))
        throw Failure(shownPath + ": this is a file: name a folder, or a store that ends in .zas");
    Kest::Array<Kest::UniString> messages;
    const int status = set->CustomWriteXML(folder, nullptr, messages);
    if (status != 0)
        Refuse(shownPath, messages.IsEmpty() ? Kest::UniString() : messages.GetLast(),
               status);   // why the files failed
    for (const Kest::UniString& message : messages)
        notes.push_back(shownPath + ": " + TextOfMessage(message));
}

void WriteStore(const SetRef& set, SetForm form, const IO::Location& location, const std::string& shownPath) {
    if (IO::IsFolder(location))
        throw Failure(shownPath + ": this is a folder: name a file, or a folder that does not end in .zas");
    ADB::AttributeSetStore store;
    if (const int status = store.Update(set, static_cast<int>(form)); status != 0)
        Refuse(shownPath, Kest::UniString(), status);
    IO::FileSave save(location);
    IO::FileOChannel channel(save);
    store.WriteIsolatedState(channel);
    if (const int status = channel.Finish(); status != 0)
        Refuse(shownPath, save.GetProblem(), status);
}

}   // namespace

void WriteDocument(const SetRef& set, const std::string& path, SetForm form, std::vector<std::string>& notes) {
    const std::string shownPath = EscapeForMessage(path);
    const IO::Location location(Kest::UniString::FromUtf8(path));
    if (location.IsEmpty())
        throw Failure("the name of the target is empty: name a folder, or a store that ends in .zas");
    const DebugCapture debug;
    if (form == SetForm::Xml)
        WriteFolder(set, location, shownPath, notes);
    else
        WriteStore(set, form, location, shownPath);
}

void WriteTextFile(std::string_view text, const std::string& path) {
    const IO::Location location(Kest::UniString::FromUtf8(path));
    if (location.IsEmpty())
        throw Failure("the name of a file is empty: name one");
    IO::FileSave save(location);
    int status = save.Write(text.data(), text.size());
    if (status == 0)
        status = save.Finish();
    if (status != 0)
        Refuse(EscapeForMessage(path), save.GetProblem(), status);
}

}   // namespace Host
