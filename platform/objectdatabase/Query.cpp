#include <ODB/Query.hpp>

#include <ODB/Association1NUntyped.hpp>

#include "ResultCodes.hpp"

namespace ODB {
namespace {

template <class Scope, class Reference>
int Collect(const Query& query, const Scope* scope, Kest::Array<Reference>* result) {
    if (scope == nullptr || result == nullptr)
        return NullArgument;
    Association1NUntyped::RightWalk walk(scope->association, scope->left);
    while (ObjectInfo* const record = walk.Next())
        if (query.Matches(ConstRef<ODB::Object>(record)))
            result->Push(Reference(record));
    return 0;
}

}   // namespace

Query* Query::CloneComposite() const {
    return Clone();
}

int Query::ExecuteCustom(const ConstScope* scope, ConstRefList<ODB::Object>* result) const {
    return Collect(*this, scope, result);
}

int Query::ExecuteCustom(const Scope* scope, RefList<ODB::Object>* result) const {
    return Collect(*this, scope, result);
}

void Query::DeleteChildren() {}

Kest::UniString Query::ToText() const {
    return Kest::UniString(GetClassInfo()->GetName());
}

const Kest::ClassInfo* Query::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ODB::Query", Kest::Guid("{9E9B6A0E-2B53-4B6B-8B1E-7D0E35F3C0A2}"),
                                      Kest::ClassVersion(1, 0), Kest::Object::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* Query::GetClassInfo() const {
    return GetClassInfoStatic();
}

}   // namespace ODB
