#include <ODB/Index.hpp>

namespace ODB {

void Index::ScopeAssigned(const Ref<Object>&) {}

bool Index::Execute(const Query& query, unsigned int* count) const {
    if (count == nullptr)
        return false;
    RefList<Object> found;
    const bool answered = Execute(query, &found, Replace);
    *count = static_cast<unsigned int>(found.GetSize());
    return answered;
}

bool Index::RequiresRebuild() const {
    return false;
}

void Index::ObjectModified(const Ref<Object>&) {}

bool Index::FollowsModifications() const {
    return false;
}

void Index::Reserve(std::size_t) {}

const Kest::ClassInfo* Index::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ODB::Index", Kest::Guid("{F4B5B2D3-2C37-4B0B-9E5B-53D5A1C1D0B3}"),
                                      Kest::ClassVersion(1, 0), Object::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* Index::GetClassInfo() const {
    return GetClassInfoStatic();
}

}   // namespace ODB
