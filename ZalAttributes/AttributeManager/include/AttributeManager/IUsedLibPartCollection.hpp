#pragma once

#include <Kest/UniString.hpp>

/// Collects the names of the library parts that an attribute uses; implemented by whoever asks.
class IUsedLibPartCollection {
public:
    virtual void AddLibPartName(const Kest::UniString& name) = 0;

    /// Whether the collector has heard enough: the attribute may stop reporting.
    virtual bool IsSatisfied() const = 0;

    virtual ~IUsedLibPartCollection() = default;
};
