#pragma once

#include <ODB/ConflictResolver.hpp>

namespace ODB {

/// Who decides about the conflicts of a merge: a resolver or, without one, nobody, and all are refused.
class Conflicts {
public:
    using Decision = ConflictResolver::Decision;

    explicit Conflicts(ConflictResolver* conflictResolver) noexcept : resolver(conflictResolver) {}

    template <class... Parameters>
    Decision Ask(Decision (ConflictResolver::*question)(const Parameters&...), const Parameters&... parts) const {
        return resolver != nullptr ? (resolver->*question)(parts...) : Decision::Refuse;
    }

private:
    ConflictResolver* resolver;
};

}   // namespace ODB
