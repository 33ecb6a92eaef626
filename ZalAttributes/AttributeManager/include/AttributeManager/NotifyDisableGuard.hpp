#pragma once

#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

/// Switches the announcements of all attributes off while it lives; guards nest. NameChanged with the old name, the
/// events of sets and the indexes go on.
class ADB_API GeneralAttribute::NotifyDisableGuard {
public:
    explicit NotifyDisableGuard(bool disable) noexcept;
    ~NotifyDisableGuard();
    NotifyDisableGuard(const NotifyDisableGuard&) = delete;
    NotifyDisableGuard& operator=(const NotifyDisableGuard&) = delete;

    /// Whether any guard switches them off.
    static bool IsDisabledNotify() noexcept;

private:
    static int m_NotifyDisableNum;   // one thread at a time

    bool disabled;
};

}   // namespace ADB
