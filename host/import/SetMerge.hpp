#pragma once

#include "ImportCounts.hpp"

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Brings the attributes of \p source into \p target, kind by kind in the order of their references, which follow.
///
/// Reused is a stored attribute of the same name, letter case ignored, when Compare finds no difference but in name,
/// index, time and the mark of client-created attributes; or one with such content that bears the name with a number
/// behind, because it was renamed by an earlier merge: so merging a set twice adds nothing. What is known by name only
/// (CheckAttribute is false) is content with any stored attribute of its name, and gives way to one that is complete.
/// Everything else is stored as it is, or under a numbered name ("Wall (1)") when its own is taken.
/// \throws ReadError when \p target cannot hold all of it; what has been stored by then stays
ImportCounts MergeSet(const ODB::ConstRef<ADB::AttributeSet>& source, const ODB::Ref<ADB::AttributeSet>& target);

}   // namespace Host
