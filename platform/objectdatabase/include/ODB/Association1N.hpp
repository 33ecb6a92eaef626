#pragma once

#include <functional>
#include <utility>

#include <ODB/Association1NUntyped.hpp>

namespace ODB {

/// A one-to-many association between two classes, see Association1NUntyped. A one-way look costs no more than there.
template <class Left, class Right>
class Association1N : public Association1NUntyped {
public:
    Association1N(const Id& associationId, AssociationProperty associationProperties)
        : Association1NUntyped(associationId, Left::GetClassInfoStatic(), Right::GetClassInfoStatic(),
                               std::move(associationProperties)) {}

    Ref<Left> GetLeft(const Ref<Right>& right) const noexcept {
        return Ref<Left>(Association1NUntyped::GetLeft(Ref<Object>(right.GetInfo())).GetInfo());
    }
    ConstRef<Left> GetLeft(const ConstRef<Right>& right) const noexcept {
        return ConstRef<Left>(Association1NUntyped::GetLeft(ConstRef<Object>(right.GetInfo())).GetInfo());
    }

    using Association1NUntyped::AppendRight;
    using Association1NUntyped::EnumerateRight;

    /// Calls \p call with each right object of \p left, in link order.
    template <class Call>
    void ForEachRight(const Ref<Left>& left, Call&& call) const {
        RightWalk walk(*this, left);
        while (ObjectInfo* const record = walk.Next())
            call(Ref<Right>(record));
    }
    template <class Call>
    void ForEachRight(const ConstRef<Left>& left, Call&& call) const {
        RightWalk walk(*this, left);
        while (ObjectInfo* const record = walk.Next())
            call(ConstRef<Right>(record));
    }
};

}   // namespace ODB
