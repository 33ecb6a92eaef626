#pragma once

#include <Kest/HashTable.hpp>

#include <ODB/Index.hpp>
#include <ODB/Query.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class AttributeContainer;

/// The index over the containers of one set: by attribute type id, which the register derives from the ref id of a
/// container when the container is linked. The first container of a type keeps the key; a second one is not indexed,
/// not even when the first one goes. Looking up allocates nothing.
class ADB_API AttributeTypeIdIndex : public ODB::Index {
public:
    /// Asks for the container of one type id.
    class ADB_API Query : public ODB::Query {
    public:
        explicit Query(short attributeTypeId) noexcept : typeId(attributeTypeId) {}
        Query(const Query&) = default;
        Query& operator=(const Query&) = default;

        short GetAttributeTypeId() const noexcept { return typeId; }

        Query* Clone() const override;
        bool Matches(const Subject& subject) const override;
        const Kest::ClassInfo* GetClassInfo() const override;
        static const Kest::ClassInfo* GetClassInfoStatic();

    private:
        short typeId;
    };

    AttributeTypeIdIndex() = default;
    ~AttributeTypeIdIndex() override;
    /// An empty index: what is indexed belongs to the place where an index hangs.
    AttributeTypeIdIndex* Clone() const override;
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    /// True for AttributeTypeIdIndex::Query alone.
    bool Supports(const ODB::Query& query) const override;
    using ODB::Index::Execute;
    /// Puts the container of the type, if any, into \p result; mode 0 clears the list first. \returns true
    bool Execute(const ODB::Query& query, ODB::RefList<ODB::Object>* result, ResultMode mode) const override;
    void ObjectCreated(const ODB::Ref<ODB::Object>& object) override;
    void ObjectDeleted(const ODB::Ref<ODB::Object>& object) override;
    void Clear() override;
    void Reserve(std::size_t count) override;

    /// The record of the container of \p typeId, null without one.
    ODB::ObjectInfo* FindContainer(short typeId) const;

    /// Whether each indexed container is linked to \p set; for debug builds and tests.
    bool CheckInvariants(const ODB::ConstRef<ODB::Object>& set) const;

private:
    Kest::HashTable<short, ODB::Ref<AttributeContainer>> containers;
};

}   // namespace ADB
