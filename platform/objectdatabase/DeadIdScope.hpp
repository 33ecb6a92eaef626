#pragma once

namespace ODB {

/// While one lives, a reference to an object that is gone is written with its id, as if the object were there: for
/// contents of another time, which may be taken back together with that object.
class DeadIdScope {
public:
    DeadIdScope() noexcept;
    ~DeadIdScope();
    DeadIdScope(const DeadIdScope&) = delete;
    DeadIdScope& operator=(const DeadIdScope&) = delete;

    static bool IsOpen() noexcept;

private:
    bool wasOpen;
};

}   // namespace ODB
