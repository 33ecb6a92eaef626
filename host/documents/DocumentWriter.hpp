#pragma once

#include "SetForm.hpp"

#include <string>
#include <string_view>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Saves \p set at \p path (UTF-8): a folder of documents for SetForm::Xml, else a store. What was there before is
/// replaced as a whole, or stays when the save fails. Lines for the user are added to \p notes.
/// \throws Failure when it cannot be saved
void WriteDocument(const ODB::ConstRef<ADB::AttributeSet>& set, const std::string& path, SetForm form,
                   std::vector<std::string>& notes);

/// Saves \p text as the file \p path (UTF-8), in the same manner.
void WriteTextFile(std::string_view text, const std::string& path);

}   // namespace Host
