#pragma once

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

/// Whether \p one and \p other, of one kind, are equal in everything but what may differ between an attribute and the
/// stored one that stands for it: name, index, time and the mark of client-created attributes.
bool HasSameContent(const ADB::GeneralAttribute& one, const ADB::GeneralAttribute& other);

}   // namespace Host
