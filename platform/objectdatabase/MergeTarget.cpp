#include "MergeTarget.hpp"

#include "ChangeRecord.hpp"

namespace ODB {

bool MergeTarget::Arrive(ObjectInfo& identity, std::unique_ptr<Object> object) noexcept {
    if (ObjectInfo* const own = object->FindInfo()) {   // its class takes references to itself
        if (own->GetIdSpace() != nullptr)
            return false;
        object.release();
        own->stamp |= ObjectInfo::ManagedFlag;
        identity.TakeOver(*own);
        return true;
    }
    identity.object = object.release();
    identity.object->SetInfo(&identity);
    identity.AddReference();
    identity.stamp = ObjectInfo::ManagedFlag;
    identity.Stamp();
    ChangeRecorder::Record::ShowArrival(identity, *identity.space, identity.id);
    return true;
}

}   // namespace ODB
