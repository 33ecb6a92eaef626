#pragma once

#include "Kind.hpp"

#include <vector>

namespace Host {

/// That an attribute names another one.
struct AttributeReference {
    const char* field;    ///< in which, or in an element of which, it stands
    unsigned int refId;   ///< of the kind of the other one
    short index;          ///< of the other one; never 0

    bool operator==(const AttributeReference&) const = default;
};

/// All references of \p attribute, in the order of its fields and of the elements in them.
std::vector<AttributeReference> GetReferences(const KindBase& attribute);

/// The same without those that have been in the list before.
std::vector<AttributeReference> GetDistinctReferences(const KindBase& attribute);

}   // namespace Host
