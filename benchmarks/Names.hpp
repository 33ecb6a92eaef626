#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {

/// \p count names as drawings have them, distinct whatever their letter case, the same in every run: \p shortest to
/// \p longest UTF-16 units long, a fifth of them not ASCII.
std::vector<std::u16string> MakeNames(std::size_t count, std::size_t shortest = 8, std::size_t longest = 40);

/// The name in another letter case: still the same name to whoever ignores letter case.
std::u16string InOtherCase(std::u16string_view name);

/// A name of the same length that MakeNames never makes.
std::u16string MakeAbsent(std::u16string_view name);

/// \p count numbers from 0, in an order that is random and the same in every run.
std::vector<std::size_t> MakeRandomOrder(std::size_t count);

}   // namespace Bench
