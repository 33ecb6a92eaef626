#include "FirstFailure.hpp"

namespace IO {

template <class Sentence>
void FirstFailure::Note(int code, Sentence&& sentence) noexcept {
    if (status != Kest::ChannelStatus::None)
        return;
    status = code;
    try {
        problem = Kest::UniString::FromUtf8(sentence());
    } catch (const std::exception&) {   // no memory for the sentence: the code says enough
    }
}

bool FirstFailure::Passes(const std::error_code& error, const char* deed, const std::string& path) noexcept {
    if (error)
        Note(systemCode, [&] { return "\"" + path + "\" " + deed + ": " + error.message() + "."; });
    return !error;
}

int FirstFailure::Refuse(int code, const char* deed, const std::string& path) noexcept {
    Note(code, [&] { return "\"" + path + "\" " + deed + "."; });
    return status;
}

void FirstFailure::NoteMemoryFull() noexcept {
    Note(Kest::ChannelStatus::MemoryFull, [] { return std::string("There is not enough memory."); });
}

}   // namespace IO
