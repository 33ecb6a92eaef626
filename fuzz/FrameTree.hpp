#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzTarget.hpp"

namespace Fuzz {

/// A valid stream taken apart into its frames, to be disturbed inside and put together again with right lengths and
/// checksums, so that readers get past their outermost checks.
class FrameTree {
public:
    explicit FrameTree(std::string_view stream);

    /// Does one disturbance that \p input describes.
    void Disturb(Input& input);

    /// The stream, lengths and checksums repaired.
    std::string Assemble() const;

private:
    struct Node {
        std::string literal;          // bytes of a header without its length, or bytes of a body
        std::vector<Node> children;   // of a frame: its body
        bool isFrame = false;
    };

    static std::vector<Node> Parse(std::string_view bytes);
    static bool ParseFrame(std::string_view bytes, Node& frame, std::size_t& size);
    static void Collect(std::vector<Node>& nodes, std::vector<Node*>& all);
    static void Emit(const std::vector<Node>& nodes, std::string& out);

    std::vector<Node> roots;
};

/// What a binary target reads: with the lowest bit of the first byte set, the rest of \p input as it is; else the valid
/// stream that the other bits choose among \p bases, disturbed as the rest says.
std::string MakeStream(Bytes input, const std::vector<std::string>& bases);

/// The same for texts: bytes of a valid text are replaced, inserted or removed.
std::string MakeText(Bytes input, const std::vector<std::string>& bases);

}   // namespace Fuzz
