#pragma once

#include <Lum/Export.hpp>

namespace Lum {

/// An object that may have been made by a client of a shared project.
class LUM_API IClientCreatableObject {
public:
    /// Whether a client made the object and the server has not confirmed it yet.
    virtual bool IsClientCreated() const = 0;

    /// Sets or clears that mark. Tells no observer.
    virtual void SetClientCreated(bool clientCreated) = 0;

protected:
    ~IClientCreatableObject() = default;
};

}   // namespace Lum
