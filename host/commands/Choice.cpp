#include "Choice.hpp"

namespace Host {

namespace {

std::string GetKindNames() {
    std::string names;
    for (const KindEntry& kind : GetKinds())
        names += (names.empty() ? "" : ", ") + std::string(kind.record.name);
    return names;
}

}   // namespace

const KindEntry* ChooseKind(const Arguments& arguments) {
    if (!arguments.Has("--type"))
        return nullptr;
    const std::string name = arguments.Get("--type", "");
    const KindEntry* const kind = FindKind(name);
    if (kind == nullptr)
        throw Failure("there is no kind '" + EscapeForMessage(name) + "': use one of " + GetKindNames());
    return kind;
}

}   // namespace Host
