#pragma once

#include <string>

#include <Kest/UniString.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

/// How messages speak of an attribute of the kind with ref id \p refId: "Layer 3 "Wall"". Fit for a terminal.
std::string TextOfAttribute(unsigned int refId, short index, const Kest::UniString& name);
std::string TextOfAttribute(const ADB::GeneralAttribute& attribute);

/// \p name between quotation marks, fit for a terminal.
std::string QuoteForPeople(const Kest::UniString& name);

}   // namespace Host
