#pragma once

#include <utility>

#include <Kest/UniString.hpp>
#include <Kest/UniqueName.hpp>

#include "NumberedNameRuns.hpp"

namespace ADB {

/// \p base when it is free, else the first numbered name that is, counting on from it; a blank base counts as
/// "Generated Attribute Name (1)".
/// \param isTaken called with a name. \param runs remembers what it said was taken
template <class IsTaken>
Kest::UniString FindFreeName(const Kest::UniString& base, NumberedNameRuns& runs, IsTaken&& isTaken) {
    static const Kest::UniString nameForBlank(u"Generated Attribute Name (1)");
    const Kest::UniString& wanted = Kest::ContainsNonWhitespace(base) ? base : nameForBlank;
    if (!isTaken(wanted))
        return wanted;
    return runs.FindFree(Kest::NumberedName(wanted), [&](const Kest::UniString& name) { return !isTaken(name); });
}

}   // namespace ADB
