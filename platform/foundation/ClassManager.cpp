#include <Kest/ClassManager.hpp>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace Kest {
namespace {

// A library that is loaded later may bring a class that is known already; the first record answers while it lives.
// Records come and go with shared objects, on whatever thread loads them: hence the lock.
struct Registry {
    std::mutex mutex;
    std::vector<const ClassInfo*> records;   // ascending by GUID, equal ones in the order of their coming
};

// Never destroyed: records of libraries that are unloaded after this one still withdraw.
Registry& GetRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

ClassInfo::SystemVersion outputVersion = 0;

bool IdLess(const ClassInfo* left, const ClassInfo* right) {
    return left->GetId() < right->GetId();
}

}   // namespace

const ClassInfo* ClassManager::Find(const Guid& classId) {
    if (classId.IsNull())
        return nullptr;
    Registry& registry = GetRegistry();
    const std::scoped_lock lock(registry.mutex);
    const auto place = std::lower_bound(registry.records.begin(), registry.records.end(), classId,
                                        [](const ClassInfo* info, const Guid& id) { return info->GetId() < id; });
    return place != registry.records.end() && (*place)->GetId() == classId ? *place : nullptr;
}

Object* ClassManager::CreateObject(const Guid& classId) {
    const ClassInfo* const info = Find(classId);
    return info != nullptr ? info->CreateObject() : nullptr;
}

ClassManager::OutputVersionBlock::OutputVersionBlock(ClassInfo::SystemVersion version) noexcept
    : previous(std::exchange(outputVersion, version)) {}

ClassManager::OutputVersionBlock::~OutputVersionBlock() {
    outputVersion = previous;
}

ClassInfo::SystemVersion ClassManager::GetOutputVersion() noexcept {
    return outputVersion;
}

void ClassManager::Register(const ClassInfo& info) {
    Registry& registry = GetRegistry();
    const std::scoped_lock lock(registry.mutex);
    registry.records.insert(std::upper_bound(registry.records.begin(), registry.records.end(), &info, IdLess), &info);
}

void ClassManager::Unregister(const ClassInfo& info) noexcept {
    Registry& registry = GetRegistry();
    const std::scoped_lock lock(registry.mutex);
    std::erase(registry.records, &info);
}

}   // namespace Kest
