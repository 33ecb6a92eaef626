#pragma once

#include <cstdint>
#include <functional>
#include <map>

#include <Kest/CaseMapping.hpp>
#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>
#include <Kest/UniqueName.hpp>

namespace ADB {

/// Remembers, by stem, runs of numbers that are known to be taken ("Wall (1)" to "Wall (500)"), so that adding many
/// names of one stem need not try them all again.
///
/// Invariant: every number of a run is taken. What is taken without being remembered costs a try, nothing else. Names
/// that go must be reported.
class NumberedNameRuns {
public:
    /// The first name from \p base's counting on that \p isFree accepts; the names that were found taken are
    /// remembered.
    Kest::UniString FindFree(const Kest::NumberedName& base, const std::function<bool(const Kest::UniString&)>& isFree);

    /// \p name is not taken any more.
    void Forget(const Kest::UniString& name) noexcept;

    void Clear() noexcept { stems.Clear(); }

private:
    using Runs = std::map<std::uint32_t, std::uint32_t>;   // first number to the one behind the last, apart

    static void Remember(Runs& runs, std::uint32_t first, std::uint32_t end);

    struct HashStem {
        std::uint64_t operator()(const Kest::UniString& stem) const noexcept { return Kest::HashIgnoringCase(stem); }
    };
    struct EqualStems {
        bool operator()(const Kest::UniString& one, const Kest::UniString& other) const noexcept {
            return Kest::IsEqualIgnoringCase(one, other);
        }
    };

    Kest::HashTable<Kest::UniString, Runs, HashStem, EqualStems> stems;
};

}   // namespace ADB
