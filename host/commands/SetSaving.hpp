#pragma once

#include "Command.hpp"
#include "documents/SetForm.hpp"
#include "import/FileImport.hpp"

#include <ostream>
#include <span>
#include <string>

namespace Host {

/// A target and the form in which it is to be written.
struct Target {
    std::string path;
    SetForm form;
};

/// What `import` and `convert` do: reads \p inputs into a set and saves it at \p target. \p out receives what was
/// written, kind by kind; \p notes what became of the inputs and the loss report.
/// A set of documents that is the only input keeps its id, so that the same content makes the same bytes.
/// \returns Findings when an input was not read whole or the target does not carry everything
/// \throws Failure when it cannot be done, or when saving over an input would lose a part of it; when the set is saved
/// but \p out cannot be written, with \p notes complete
ExitCode ReadAndSave(std::string_view command, std::span<const std::string> inputs, const Target& target,
                     std::ostream& out, std::ostream& notes, Progress& progress);

}   // namespace Host
