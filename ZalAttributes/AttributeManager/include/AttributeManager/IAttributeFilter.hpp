#pragma once

#include <ODB/Ref.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class GeneralAttribute;

/// Chooses the attributes that take part in something; made by the caller.
class ADB_API IAttributeFilter {
public:
    virtual ~IAttributeFilter() = default;

    /// Whether \p attribute, one of the source set, takes part. It must not change either set.
    virtual bool Accepts(ODB::ConstRef<GeneralAttribute> attribute) = 0;
};

}   // namespace ADB
