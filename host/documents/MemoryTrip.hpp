#pragma once

#include "SetComparison.hpp"
#include "SetForm.hpp"

#include <cstddef>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// What became of a set that was written in a form and read again, all in memory.
struct MemoryTrip {
    std::size_t bytes = 0;   ///< written
    int writeStatus = 0;
    int readStatus = 0;
    std::vector<Difference> differences;   ///< what came back differs in; none when it could not be read
    bool isRepeatable = true;              ///< what came back, written again, gives the same bytes
};

/// Makes the trip. The XML is that of the kinds' documents, which the fills are not in, so they count as kept there.
MemoryTrip MakeMemoryTrip(const ODB::ConstRef<ADB::AttributeSet>& set, SetForm form);

/// Whether \p form cannot carry what \p difference is about, by its nature.
bool IsExplained(SetForm form, const Difference& difference) noexcept;

/// Whether sets come back from \p form at all: attributes of stream version 1 are written without a record of user
/// data, but read with one.
bool CanBeReadBack(SetForm form) noexcept;

}   // namespace Host
