#pragma once

#include <cstdint>

#include <Kest/Array.hpp>
#include <Kest/Hash.hpp>

#include <ZalUtil/Export.hpp>

namespace ZalUtil {

/// Whoever attaches data to objects of others: a module of the application, by two numbers.
struct Owner {
    unsigned int id1 = 0;
    unsigned int id2 = 0;

    friend bool operator==(const Owner&, const Owner&) = default;
};

/// Owners in the order in which they were added.
using OwnerList = Kest::Array<Owner>;

/// Told of the owners of external data.
class ZALUTIL_API ICBOwnerFound {
public:
    /// There are data of \p owner. Called once per owner; the data may be changed from here.
    virtual void OwnerFound(const Owner& owner) = 0;
    virtual ~ICBOwnerFound() = default;
};

/// What a check of memo data found. Values other than 0 belong to the kinds of memo data that check something.
enum class MemoCheckResult : int { NoFindings = 0 };

}   // namespace ZalUtil

template <>
struct Kest::Hash<ZalUtil::Owner> {
    std::uint64_t operator()(const ZalUtil::Owner& owner) const noexcept {
        return std::uint64_t{owner.id1} << 32 | owner.id2;
    }
};
