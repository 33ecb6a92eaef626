#pragma once

#include <cstddef>

/// Collects the attributes that an attribute refers to; implemented by whoever asks.
class IUsedAttrCollection {
public:
    /// The attribute refers to attribute \p index of the type with ref id \p typeRefId.
    virtual void AddAttribute(unsigned int typeRefId, short index) = 0;

    /// The same for \p count indexes.
    virtual void AddAttributes(unsigned int typeRefId, const short* indexes, std::size_t count) = 0;

    /// Whether the collector has heard enough: the attribute may stop reporting.
    virtual bool IsSatisfied() const = 0;

    virtual ~IUsedAttrCollection() = default;
};
