#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

/// What an attribute of an input of a merge was, and the attribute of the server that it is now.
struct MergedAttribute {
    unsigned int refId;
    short oldIndex;
    Kest::UniString oldName;
    ODB::ConstRef<ADB::GeneralAttribute> merged;   ///< has the index and the name of the present
    bool isNew;                                    ///< it was brought in, as one that the client had made
};

/// What became of one input.
struct MergedInput {
    std::size_t same = 0;      ///< equal on both sides
    std::size_t taken = 0;     ///< the client's content was the newer one
    std::size_t kept = 0;      ///< the server's content was the newer one
    std::size_t brought = 0;   ///< made by the client
    std::vector<MergedAttribute> attributes{};
    std::vector<std::string> mended{};   ///< lines on references that led nowhere
};

}   // namespace Host
