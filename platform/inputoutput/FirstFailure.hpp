#pragma once

#include <exception>
#include <string>
#include <system_error>

#include <Kest/ChannelStatus.hpp>
#include <Kest/UniString.hpp>

namespace IO {

/// The first failure of an operation in many steps: its code, and one sentence for the user.
class FirstFailure {
public:
    /// \p newSystemCode is the code of what the system refuses.
    explicit FirstFailure(int newSystemCode) noexcept : systemCode(newSystemCode) {}

    int GetStatus() const noexcept { return status; }
    const Kest::UniString& GetProblem() const noexcept { return problem; }

    /// Whether \p error is none. When it is one, the sentence becomes: "<path>" <deed>: <what the system says>.
    bool Passes(const std::error_code& error, const char* deed, const std::string& path) noexcept;

    /// Fails with \p code; the sentence becomes: "<path>" <deed>. \returns the status
    int Refuse(int code, const char* deed, const std::string& path) noexcept;

    /// Runs \p step, unless something has failed. What throws for want of memory is a failure. \returns the status
    template <class Step>
    int Run(Step&& step) noexcept {
        try {
            if (status == Kest::ChannelStatus::None)
                step();
        } catch (const std::exception&) {
            NoteMemoryFull();
        }
        return status;
    }

private:
    template <class Sentence>
    void Note(int code, Sentence&& sentence) noexcept;
    void NoteMemoryFull() noexcept;

    int systemCode;
    int status = Kest::ChannelStatus::None;
    Kest::UniString problem;
};

}   // namespace IO
