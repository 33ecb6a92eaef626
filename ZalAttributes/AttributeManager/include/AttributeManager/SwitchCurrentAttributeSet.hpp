#pragma once

#include <ODB/Ref.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class AttributeSet;

/// Makes a set, registered or not, or none the current one while it lives; then the set before it is current again,
/// none when that one has died. Switches nest.
class ADB_API SwitchCurrentAttributeSet {
public:
    explicit SwitchCurrentAttributeSet(const ODB::Ref<AttributeSet>& set);
    ~SwitchCurrentAttributeSet();
    SwitchCurrentAttributeSet(const SwitchCurrentAttributeSet&) = delete;
    SwitchCurrentAttributeSet& operator=(const SwitchCurrentAttributeSet&) = delete;

private:
    ODB::Ref<AttributeSet> previous;
};

}   // namespace ADB
