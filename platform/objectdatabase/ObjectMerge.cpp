#include "ObjectMerge.hpp"

#include <Kest/ClassManager.hpp>
#include <Kest/MemoryChannels.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdReadingScope.hpp>
#include <ODB/IdSpace.hpp>

#include "DeadIdScope.hpp"
#include "Links.hpp"
#include "MakeObject.hpp"
#include "ResultCodes.hpp"

namespace ODB {
ObjectMerge::~ObjectMerge() {
    if (stays)
        return;
    for (std::size_t place = before.size(); place > 0; --place)
        GiveBack(place - 1);
    for (std::size_t place = 0; place < before.size(); ++place)
        RefillIndexes(*plan.GetChanges()[place].object.GetInfo());
    while (made > 0)
        Database::DeleteObject(plan.GetNewcomers()[--made].identity);
}

int ObjectMerge::Make() {
    IdSpace* const space = &plan.GetTarget().GetSpace();
    const IdSpace::InputScope references(space);
    const IdReadingScope identities(space);   // contents bring ids that are nobody else's business
    if (const int status = MakeNewcomers(); status != 0)
        return status;
    if (const int status = RestoreNewcomers(); status != 0)
        return status;
    return Change();
}

int ObjectMerge::MakeNewcomers() {
    for (const ObjectPlan::Newcomer& newcomer : plan.GetNewcomers()) {
        std::unique_ptr<Object> object = MakeObject(*newcomer.source->classInfo);
        if (object == nullptr || !MergeTarget::Arrive(*newcomer.identity.GetInfo(), std::move(object)))
            return WrongCall;
        ++made;
    }
    return 0;
}

int ObjectMerge::RestoreNewcomers() {
    int status = 0;
    for (const ObjectPlan::Newcomer& newcomer : plan.GetNewcomers())
        if (status = Restore(*newcomer.identity, *newcomer.source); status != 0)
            break;
    return status;
}

int ObjectMerge::Change() {
    before.reserve(plan.GetChanges().size());
    for (const ObjectPlan::Change& change : plan.GetChanges()) {
        const Object& present = *change.object.GetConst();
        std::unique_ptr<Object::IsolatedState> state(present.CreateIsolatedState());
        if (const int status = present.StoreIsolatedState(state.get()); status != 0)
            return status;
        before.push_back(std::move(state));
        if (const int status = Restore(*change.object, *change.source); status != 0)
            return status;
    }
    return 0;
}

int ObjectMerge::Restore(Object& object, const Delta::StoredObject& source) const {
    return io != nullptr ? Pass(object, source) : object.RestoreIsolatedState(source.state.get());
}

int ObjectMerge::Pass(Object& object, const Delta::StoredObject& source) const {
    const std::unique_ptr<Object> carrier = MakeObject(*source.classInfo);
    if (carrier == nullptr)
        return WrongCall;
    if (const int status = carrier->RestoreIsolatedState(source.state.get()); status != 0)
        return status;
    const Kest::ClassManager::OutputVersionBlock current(0);
    const DeadIdScope references;
    Kest::MemoryOChannel written;
    if (const int status = io->WriteState(*carrier, written); status != 0)
        return status;
    Kest::MemoryIChannel channel(written.GetBytes(), written.GetSize());
    return io->ReadState(object, channel);
}

// Somebody else may have lost a key to a content that is gone again.
void ObjectMerge::RefillIndexes(ObjectInfo& right) noexcept {
    LinkTable::AnyRight(right, [](LinkList& list, std::uint32_t) {
        list.RefillIndexes();
        return false;
    });
}

// A content that cannot be given back without memory may be lost when there is none.
void ObjectMerge::GiveBack(std::size_t place) noexcept {
    Object& object = *plan.GetChanges()[place].object;
    if (before[place]->ReturnTo(object))
        return;
    try {
        object.RestoreIsolatedState(before[place].get());
    } catch (...) {
    }
}

}   // namespace ODB
