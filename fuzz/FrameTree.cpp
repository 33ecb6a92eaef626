#include "FrameTree.hpp"

#include <algorithm>

#include <Kest/ByteOrder.hpp>
#include <Kest/ClassManager.hpp>
#include <Kest/Crc32c.hpp>
#include <Kest/Frames.hpp>

namespace Fuzz {
namespace {

constexpr std::size_t GuidSize = 16;
constexpr std::size_t FlagsOffset = 18;
constexpr std::size_t MarkSize = 20;   // of a header without its length
constexpr std::size_t SealSize = 4;
constexpr std::size_t LargestStream = 1 << 20;

bool IsSealed(std::string_view mark) {
    return (mark[FlagsOffset] & 1) != 0;
}

bool BeginsWithClass(std::string_view bytes) {
    Kest::Guid::Bytes id{};
    std::copy_n(bytes.begin(), GuidSize, id.begin());
    return Kest::ClassManager::Find(Kest::Guid(id)) != nullptr;
}

template <class Number>
void Append(std::string& out, Number value) {
    char bytes[sizeof value];
    Kest::StoreNumber(bytes, value, false);
    out.append(bytes, sizeof value);
}

enum Disturbance : std::uint8_t { SetByte, FlipBits, InsertByte, RemoveByte, FillFour, RepeatNode, RemoveNode, Kinds };

void DisturbBytes(std::string& bytes, std::uint8_t kind, std::size_t place, std::uint8_t value) {
    if (kind == InsertByte)
        bytes.insert(std::min(place, bytes.size()), 1, static_cast<char>(value));
    if (place >= bytes.size())
        return;
    if (kind == SetByte)
        bytes[place] = static_cast<char>(value);
    else if (kind == FlipBits)
        bytes[place] = static_cast<char>(bytes[place] ^ value);
    else if (kind == RemoveByte)
        bytes.erase(place, 1);
    else if (kind == FillFour)
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(place), std::min<std::size_t>(4, bytes.size() - place),
                    static_cast<char>(value));
}

}   // namespace

FrameTree::FrameTree(std::string_view stream) : roots(Parse(stream)) {}

bool FrameTree::ParseFrame(std::string_view bytes, Node& frame, std::size_t& size) {
    if (bytes.size() < Kest::FrameHeaderSize || !BeginsWithClass(bytes))
        return false;
    const std::size_t seal = IsSealed(bytes) ? SealSize : 0;
    const auto length = Kest::LoadNumber<std::uint64_t>(bytes.data() + MarkSize, false);
    if (length > bytes.size() - Kest::FrameHeaderSize || bytes.size() - Kest::FrameHeaderSize - length < seal)
        return false;
    frame.isFrame = true;
    frame.literal = bytes.substr(0, MarkSize);
    frame.children = Parse(bytes.substr(Kest::FrameHeaderSize, length));
    size = Kest::FrameHeaderSize + length + seal;
    return true;
}

std::vector<FrameTree::Node> FrameTree::Parse(std::string_view bytes) {
    std::vector<Node> nodes;
    std::size_t place = 0;
    while (place < bytes.size()) {
        Node frame;
        std::size_t size = 0;
        if (ParseFrame(bytes.substr(place), frame, size)) {
            nodes.push_back(std::move(frame));
            place += size;
            continue;
        }
        if (nodes.empty() || nodes.back().isFrame)
            nodes.emplace_back();
        nodes.back().literal += bytes[place++];
    }
    return nodes;
}

void FrameTree::Collect(std::vector<Node>& nodes, std::vector<Node*>& all) {
    for (Node& node : nodes) {
        all.push_back(&node);
        Collect(node.children, all);
    }
}

void FrameTree::Disturb(Input& input) {
    std::vector<Node*> all;
    Collect(roots, all);
    if (all.empty())
        return;
    Node& node = *all[input.TakeShort() % all.size()];
    const std::uint8_t kind = input.TakeByte() % Kinds;
    const std::size_t place = node.literal.empty() ? 0 : input.TakeShort() % (node.literal.size() + 1);
    const std::uint8_t value = input.TakeByte();
    std::vector<Node>& children = node.children;
    if (children.empty() || kind < RepeatNode) {
        DisturbBytes(node.literal, kind, node.isFrame ? std::max(place, GuidSize) : place, value);
        if (node.isFrame)
            node.literal.resize(MarkSize);
        return;
    }
    const auto child = children.begin() + value % static_cast<std::ptrdiff_t>(children.size());
    if (kind == RepeatNode) {
        const Node copy = *child;
        children.insert(child, copy);
    } else {
        children.erase(child);
    }
}

void FrameTree::Emit(const std::vector<Node>& nodes, std::string& out) {
    for (const Node& node : nodes) {
        const std::size_t start = out.size();
        out += node.literal;
        if (!node.isFrame)
            continue;
        std::string body;
        Emit(node.children, body);
        Append(out, std::uint64_t{body.size()});
        out += body;
        if (IsSealed(node.literal))
            Append(out, Kest::Crc32c(0, out.data() + start, out.size() - start));
    }
}

std::string FrameTree::Assemble() const {
    std::string out;
    Emit(roots, out);
    return out;
}

std::string MakeStream(Bytes input, const std::vector<std::string>& bases) {
    Input rest(input);
    const std::uint8_t choice = rest.TakeByte();
    if ((choice & 1) != 0)
        return rest.TakeRest();
    FrameTree tree(bases[(choice >> 1) % bases.size()]);
    for (int count = 0; count < 64 && !rest.IsEmpty(); ++count)
        tree.Disturb(rest);
    std::string stream = tree.Assemble();
    stream.resize(std::min(stream.size(), LargestStream));
    return stream;
}

std::string MakeText(Bytes input, const std::vector<std::string>& bases) {
    Input rest(input);
    const std::uint8_t choice = rest.TakeByte();
    if ((choice & 1) != 0)
        return rest.TakeRest();
    std::string text = bases[(choice >> 1) % bases.size()];
    for (int count = 0; count < 64 && !rest.IsEmpty(); ++count) {
        const std::uint8_t kind = rest.TakeByte() % RepeatNode;
        const std::size_t place = rest.TakeShort() % (text.size() + 1);
        DisturbBytes(text, kind, place, rest.TakeByte());
    }
    return text;
}

}   // namespace Fuzz
