#pragma once

#include <Lum/Export.hpp>

namespace Lum {

/// An object with data that make sense in a shared project only.
class LUM_API ILumSpecificDataContainer {
public:
    /// Removes those data, when the object leaves the shared project.
    virtual void ClearLumSpecificData() = 0;

protected:
    ~ILumSpecificDataContainer() = default;
};

}   // namespace Lum
