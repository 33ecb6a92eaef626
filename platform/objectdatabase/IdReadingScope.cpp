#include <ODB/IdReadingScope.hpp>

#include <utility>

#include <ODB/IdSpace.hpp>
#include <ODB/Object.hpp>

namespace ODB {
namespace {

IdReadingScope* innermost = nullptr;

}   // namespace

IdReadingScope::IdReadingScope(IdSpace* targetSpace) noexcept
    : space(targetSpace != nullptr ? targetSpace : GetInputIdSpace()),
      outer(std::exchange(innermost, this)) {}

IdReadingScope::~IdReadingScope() {
    innermost = outer;
}

void IdReadingScope::Identify(const Ref<Object>& object) {
    Ref<Object> named(object);
    if (lastStored.IsNull() || !named.Init(lastStored, space)) {
        if (!lastStored.IsNull())
            renamed.Reserve(renamed.GetSize() + 1);
        named.GenerateId(space);
        if (lastStored.IsNull())
            lostAny = true;
        else
            renamed.Put(lastStored, named);
    }
    lastStored = NullId;
}

void IdReadingScope::NoteStoredId(const Id& id) noexcept {
    if (innermost != nullptr)
        innermost->lastStored = id;
}

void IdReadingScope::NoteVersion(Kest::ClassVersion version, Kest::ClassVersion ours) noexcept {
    if (innermost != nullptr && version > ours && version > innermost->laterVersion)
        innermost->laterVersion = version;
}

ObjectInfo* IdReadingScope::FindKnown(const Id& id) noexcept {
    for (const IdReadingScope* scope = innermost; scope != nullptr; scope = scope->outer)
        if (const Ref<Object>* const known = scope->renamed.Find(id))
            return known->GetInfo();
    return nullptr;
}

}   // namespace ODB
