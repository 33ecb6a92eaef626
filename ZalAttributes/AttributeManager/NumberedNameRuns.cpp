#include "NumberedNameRuns.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ADB {

Kest::UniString NumberedNameRuns::FindFree(const Kest::NumberedName& base,
                                           const std::function<bool(const Kest::UniString&)>& isFree) {
    Runs* const known = stems.Find(base.GetStem());
    Runs& runs = known != nullptr ? *known : stems.Put(base.GetStem(), Runs());
    const std::uint32_t first = base.GetFirstNumber();
    for (std::uint32_t number = first; number <= Kest::NumberedName::GreatestNumber; ++number) {
        const auto behind = runs.upper_bound(number);
        if (behind != runs.begin() && std::prev(behind)->second > number) {
            number = std::prev(behind)->second - 1;
            continue;
        }
        Kest::UniString name = base.MakeName(number);
        if (isFree(name)) {
            if (number > first)
                Remember(runs, first, number);
            return name;
        }
    }
    const Kest::UniString whole = base.GetNumber() != 0 ? base.MakeName(base.GetNumber()) : base.GetStem();
    return FindFree(Kest::NumberedName::FromStem(whole), isFree);   // no number is left: the whole base is the stem
}

void NumberedNameRuns::Remember(Runs& runs, std::uint32_t first, std::uint32_t end) {
    auto run = runs.upper_bound(first);
    if (run != runs.begin() && std::prev(run)->second >= first)
        --run;
    else
        run = runs.emplace_hint(run, first, end);
    run->second = std::max(run->second, end);
    for (auto next = std::next(run); next != runs.end() && next->first <= run->second; next = runs.erase(next))
        run->second = std::max(run->second, next->second);
}

void NumberedNameRuns::Forget(const Kest::UniString& name) noexcept {
    if (stems.IsEmpty() || name.IsEmpty() || name[name.GetLength() - 1] != u')')
        return;
    try {
        const Kest::NumberedName numbered(name);
        Runs* const runs = numbered.GetNumber() != 0 ? stems.Find(numbered.GetStem()) : nullptr;
        if (runs == nullptr)
            return;
        const std::uint32_t number = numbered.GetNumber();
        auto run = runs->upper_bound(number);
        if (run == runs->begin() || (--run)->second <= number)
            return;
        const std::uint32_t end = std::exchange(run->second, number);
        if (run->first == number)
            runs->erase(run);
        if (number + 1 < end)
            runs->emplace(number + 1, end);
    } catch (...) {   // no memory to remember with: start anew
        stems.Clear();
    }
}

}   // namespace ADB
