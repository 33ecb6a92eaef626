#pragma once

#include "MergedInput.hpp"

#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Brings the sets of a shared project's clients into the server's set, one after the other.
///
/// See KindMerge for what becomes of the attributes. What the server alone has stays; so do its active attributes, and
/// its fills, but a fill that it has not chosen is the client's. In the end indexes and names are unique, and every
/// reference leads to the attribute that it led to.
class ProjectMerge {
public:
    explicit ProjectMerge(const ODB::Ref<ADB::AttributeSet>& serverSet);

    /// \param client  in an id space of its own; is of no use afterwards
    /// \throws Failure when it cannot be merged; the server's set is of no use then
    void Add(const ODB::Ref<ADB::AttributeSet>& client);

    /// The server, then the clients.
    const std::vector<MergedInput>& GetInputs() const noexcept { return inputs; }

private:
    ODB::Ref<ADB::AttributeSet> server;
    std::vector<MergedInput> inputs;
};

}   // namespace Host
