#pragma once

namespace ODB {

/// While one lives, left objects are not told of modified right ones: whoever is told may do anything, and what is
/// going on could not bear it.
class ModificationSilence {
public:
    ModificationSilence() noexcept;
    ~ModificationSilence();
    ModificationSilence(const ModificationSilence&) = delete;
    ModificationSilence& operator=(const ModificationSilence&) = delete;

private:
    bool wasSilent;
};

}   // namespace ODB
