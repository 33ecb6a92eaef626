#pragma once

#include <cstdint>

/// \file
/// Simple upper-casing as a two-stage table, made by GenerateCaseMappingTable.py.
namespace Kest {

/// For each run of 256 code points, its row in CaseDeltas.
extern const std::uint8_t CaseRows[0x1100];

/// What to add, modulo 65536 within the plane, to a code point to make it upper-case. The generator sees to it that no
/// mapping leaves its plane or changes a leading surrogate: code that walks over units relies on both.
extern const std::uint16_t CaseDeltas[][256];

}   // namespace Kest
