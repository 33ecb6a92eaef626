#pragma once

#include <Kest/Export.hpp>
#include <Kest/UniString.hpp>

#include <cstdint>
#include <functional>

namespace Kest {

/// Whether \p text has a character other than Unicode white space. The empty text has none.
KEST_API bool ContainsNonWhitespace(const UniString& text) noexcept;

/// A name taken apart into stem and number: "Wall (2)" is stem "Wall" and number 2.
///
/// A number is a blank and, in parentheses, 1 to 999,999,999 in ASCII digits without a leading zero, at the very end.
/// Any other name is all stem, without a number. The stem may be empty.
class KEST_API NumberedName {
public:
    static constexpr std::uint32_t GreatestNumber = 999'999'999;

    explicit NumberedName(const UniString& name);

    /// \p stem as a stem, whatever it ends in.
    static NumberedName FromStem(const UniString& stem);

    const UniString& GetStem() const noexcept { return stem; }

    /// 0 when the name has none.
    std::uint32_t GetNumber() const noexcept { return number; }

    /// Where counting on from this name starts: the next number, 1 when it has none. May be GreatestNumber + 1.
    std::uint32_t GetFirstNumber() const noexcept { return number + 1; }

    /// The stem with \p numberOfName: "Wall (3)" for 3.
    UniString MakeName(std::uint32_t numberOfName) const;

private:
    UniString stem;
    std::uint32_t number = 0;
};

/// Sets \p result to \p base when \p isFree and \p filter accept it, else to the first name that both accept of
/// "stem (n)", "stem (n + 1)", ... for the stem of \p base and n where counting on from it starts: "Wall", "Wall (1)",
/// "Wall (2)", ...; "Wall (7)", "Wall (8)", ... Behind 999,999,999 the whole base becomes the stem and counting starts
/// at 1: "Wall (999999999)", "Wall (999999999) (1)", ...
///
/// \p filter may be empty, which accepts every name. It and \p isFree must accept some name in the end. \p result is
/// set last and may be \p base.
KEST_API void GenerateUniqueName(const UniString& base, UniString& result,
                                 const std::function<bool(const UniString&)>& isFree,
                                 const std::function<bool(const UniString&)>& filter);

}   // namespace Kest
