#include <AttributeManager/AttributeIndex.hpp>

#include <algorithm>
#include <map>
#include <new>

#include <Kest/CaseMapping.hpp>
#include <Kest/ClassManager.hpp>

#include <AttributeManager/AttributeContainer.hpp>

#include "AttributeIndexTables.hpp"
#include "IndexClashLog.hpp"

namespace ADB {
namespace {

const Kest::ClassRegistration<AttributeIndex> registration;
const Kest::ClassRegistration<AttributeIndex::Query> queryRegistration;

}   // namespace

AttributeIndex::Query::Query(short index) : queryType(ByIndex), attributeIndex(index) {}

AttributeIndex::Query::Query(const Kest::UniString& name) : queryType(ByName), attributeName(name.ToUpper()) {}

AttributeIndex::Query* AttributeIndex::Query::Clone() const {
    return new Query(*this);
}

bool AttributeIndex::Query::Matches(const Subject& subject) const {
    const auto* const attribute = dynamic_cast<const GeneralAttribute*>(subject.Get());
    if (attribute == nullptr)
        return false;
    return queryType == ByName ? Kest::IsEqualIgnoringCase(attribute->GetName(), attributeName)
                               : attribute->GetIndex() == attributeIndex;
}

const Kest::ClassInfo* AttributeIndex::Query::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::AttributeIndex::Query",
                                      Kest::Guid("{85817233-728C-4FDD-8361-F9893EA7F197}"), Kest::ClassVersion(1, 0),
                                      ODB::Query::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* AttributeIndex::Query::GetClassInfo() const {
    return GetClassInfoStatic();
}

AttributeIndex::AttributeIndex() : tables(std::make_unique<AttributeIndexTables>()) {}

AttributeIndex::~AttributeIndex() {
    if (container != nullptr)
        container->attributeIndex = nullptr;
}

AttributeIndex* AttributeIndex::Clone() const {
    return new AttributeIndex;
}

const Kest::ClassInfo* AttributeIndex::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::AttributeIndex", Kest::Guid("{C4C1B9EA-4E33-4DA9-8BD4-3033CCF2FA5F}"),
                                      Kest::ClassVersion(1, 0), ODB::Index::GetClassInfoStatic(), {},
                                      []() -> Kest::Object* { return new AttributeIndex; });
    return &info;
}

const Kest::ClassInfo* AttributeIndex::GetClassInfo() const {
    return GetClassInfoStatic();
}

void AttributeIndex::ScopeAssigned(const ODB::Ref<ODB::Object>& scope) {
    tables->scope = scope.GetInfo();
    container = static_cast<AttributeContainer*>(scope.GetLogicalConst());
    container->attributeIndex = this;
}

bool AttributeIndex::Supports(const ODB::Query& query) const {
    return query.GetClassInfo() == Query::GetClassInfoStatic();
}

bool AttributeIndex::Execute(const ODB::Query& query, ODB::RefList<ODB::Object>* result, ResultMode mode) const {
    if (mode == Replace)
        result->Clear();
    const auto& question = static_cast<const Query&>(query);
    ODB::ObjectInfo* const found = question.GetQueryType() == Query::ByName
                                       ? tables->FindByName(question.GetAttributeName())
                                       : tables->FindByIndex(question.GetAttributeIndex());
    if (found != nullptr)
        result->Push(ODB::Ref<ODB::Object>(found));
    return true;
}

void AttributeIndex::ObjectCreated(const ODB::Ref<ODB::Object>& object) {
    ODB::ObjectInfo& record = *object.GetInfo();
    const GeneralAttribute& attribute = AttributeOf(record);
    const std::uint32_t hash = Kest::HashIgnoringCase(attribute.GetName());
    tables->indexes.Prepare(attribute.GetIndex());
    tables->names.Reserve(tables->names.GetSize() + 1);

    LogIfOther(&LogCreatedIndexClash, record, tables->FindByIndex(attribute.GetIndex()));
    tables->indexes.Add(attribute.GetIndex(), record);
    LogIfOther(&LogCreatedNameClash, record, tables->names.Add(hash, record));
    tables->NoteMoved(record);
}

// The keys are those under which the attribute is filed: whoever changes them moves them (AttributeKeyChange). What
// remains is that the last writer takes the keys it bears.
void AttributeIndex::ObjectModified(const ODB::Ref<ODB::Object>& object) {
    if (tables->areLost)
        throw std::bad_alloc();   // has the association fill it anew
    if (!tables->HasShadows())    // then every attribute holds the keys that it bears
        return;
    ODB::ObjectInfo& record = *object.GetInfo();
    const GeneralAttribute& attribute = AttributeOf(record);
    tables->TakeIndex(record);
    const std::uint32_t hash = Kest::HashIgnoringCase(attribute.GetName());
    if (!tables->names.IsHolder(hash, record)) {
        LogIfOther(&LogModifiedNameClash, record, tables->names.Find(attribute.GetName(), hash));
        tables->names.Promote(hash, record);
    }
}

void AttributeIndex::ObjectDeleted(const ODB::Ref<ODB::Object>& object) {
    ODB::ObjectInfo& record = *object.GetInfo();
    const GeneralAttribute& attribute = AttributeOf(record);
    tables->indexes.Remove(attribute.GetIndex(), record);
    tables->names.Remove(Kest::HashIgnoringCase(attribute.GetName()), record);
    tables->numbers.Forget(attribute.GetName());
    tables->NoteGone(record);
}

void AttributeIndex::Clear() {
    tables->indexes.Clear();
    tables->names.Clear();
    tables->numbers.Clear();
    tables->ForgetOrder();
    tables->areLost = false;
}

bool AttributeIndex::FollowsModifications() const {
    return true;
}

void AttributeIndex::Reserve(std::size_t count) {
    tables->names.Reserve(count);
}

bool AttributeIndex::CheckInvariants() const {
    std::map<short, std::uint32_t> bearers;
    std::size_t names = 0;
    short maximum = 0;
    bool right = true;
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(),
                                              ODB::ConstRef<ODB::Object>(tables->scope));
    while (const ODB::ObjectInfo* const record = walk.Next()) {
        const GeneralAttribute& attribute = AttributeOf(*record);
        const std::uint32_t hash = Kest::HashIgnoringCase(attribute.GetName());
        const bool holdsName = tables->names.IsHolder(hash, *record);
        right = right && (holdsName || tables->names.CountShadowed(hash) > 0);
        right = right && holdsName == (tables->FindByName(attribute.GetName()) == record);
        names += holdsName ? 1 : 0;
        ++bearers[attribute.GetIndex()];
        maximum = std::max(maximum, attribute.GetIndex());
    }
    for (const auto& [key, count] : bearers) {
        const ODB::ObjectInfo* const holder = tables->FindByIndex(key);
        right = right && tables->indexes.CountBearers(key) == count;
        right = right && (holder == nullptr || AttributeOf(*holder).GetIndex() == key);
    }
    return right && tables->names.GetSize() == names && tables->indexes.GetMaximum() == maximum;
}

}   // namespace ADB
