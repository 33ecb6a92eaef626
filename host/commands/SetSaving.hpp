#pragma once

#include "Arguments.hpp"
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

/// The target that the option --out names: a store in the current version when its name says so, else documents.
/// \throws Failure when it is missing
Target GetTarget(const Arguments& arguments);

/// Saves \p set at \p target. \p out receives \p report, what was done before, and what was written, kind by kind;
/// \p notes what became of the inputs and the loss report.
/// \param importers  of all inputs
/// \returns Findings when an input was not read whole or the target does not carry everything
/// \throws Failure when it cannot be done, or when saving over an input would lose a part of it; when the set is saved
/// but \p out cannot be written, with \p notes complete
ExitCode Save(const ODB::ConstRef<ADB::AttributeSet>& set, std::span<const FileImporter* const> importers,
              const Target& target, std::string_view report, std::ostream& out, std::ostream& notes,
              Progress& progress);

/// What `import` and `convert` do: reads \p inputs into a set and saves it at \p target.
/// A set of documents that is the only input keeps its id, so that the same content makes the same bytes.
/// \returns and throws as Save
ExitCode ReadAndSave(std::string_view command, std::span<const std::string> inputs, const Target& target,
                     std::ostream& out, std::ostream& notes, Progress& progress);

}   // namespace Host
