#pragma once

namespace ADB {

/// A new \p Implementation for a Create function: null when it cannot be made.
template <class Implementation>
Implementation* CreateInterface() noexcept {
    try {
        return new Implementation;
    } catch (...) {
        return nullptr;
    }
}

/// Deletes \p *object for a Dispose function and sets it to null; null is ignored.
template <class Interface>
void DisposeInterface(Interface** object) noexcept {
    if (object == nullptr)
        return;
    delete *object;
    *object = nullptr;
}

}   // namespace ADB
