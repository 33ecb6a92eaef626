#pragma once

#include <Kest/Export.hpp>

/// \file
/// Zero-terminated byte strings in the system code page, which is UTF-8. A null text counts as empty unless said
/// otherwise; damaged bytes compare as U+FFFD.

/// How byte strings are compared. Hosts pass these numbers: they never change.
enum CHCaseType : int {
    CHCaseExact = 0,     ///< byte for byte
    CHCaseIgnored = 1,   ///< upper-case forms of the characters, as in Kest/CaseMapping.hpp
};

/// The code page of byte strings.
enum CHCharCode : int {
    CHSystemCharCode = 0,   ///< UTF-8; the only one there is, other values mean the same
};

/// Copies \p from, with its zero, to \p to, which must be large enough. Null \p to: nothing is written.
KEST_API void CHCopyC(const char* from, char* to);

/// Copies as many whole characters of \p from as fit into \p size bytes at \p to together with a zero. The two may
/// be the same. Nothing is written when either is null or \p size is below 1.
/// \returns the number of bytes written before the zero.
KEST_API int CHTruncate(const char* from, char* to, int size);

/// Whether the texts are equal, as \p caseType says (a CHCaseType).
KEST_API bool CHEqualCStrings(const char* a, const char* b, int caseType, int charCode);

/// Order of two texts, exactly that of Kest::UniString::Compare ignoring letter case. \p caseType makes no difference:
/// all lists of names are in one order.
/// \param aLength, bLength lengths in bytes, -1: up to the zero
/// \returns 0 when \p a comes before \p b, 1 when they are equal, 2 when it comes after.
KEST_API int CHCompareTexts(const char* a, int aLength, const char* b, int bLength, int caseType, int charCode);
