#pragma once

#include <string>

#include <Kest/UniString.hpp>

#include <ODB/ChangeRecorder.hpp>
#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Follows a change of a set, to show what it did to the database and to prove that it can be taken back.
class Rehearsal {
public:
    /// Follows from now on.
    explicit Rehearsal(const ODB::Ref<ADB::AttributeSet>& rehearsedSet);
    Rehearsal(const Rehearsal&) = delete;
    Rehearsal& operator=(const Rehearsal&) = delete;

    /// Takes what was done since back and does it again.
    /// \returns lines for the user: the delta, under the name \p title, and how that went
    /// \throws Failure when the set is not, byte by byte, what it was before and after
    std::string Finish(const Kest::UniString& title);

private:
    ODB::Ref<ADB::AttributeSet> set;
    std::string before;
    ODB::ChangeRecorder recorder;
};

}   // namespace Host
