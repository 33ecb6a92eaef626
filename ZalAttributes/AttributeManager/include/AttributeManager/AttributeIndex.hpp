#pragma once

#include <memory>

#include <Kest/UniString.hpp>

#include <ODB/Index.hpp>
#include <ODB/Query.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class AttributeContainer;
class AttributeIndexTables;

/// The index over the attributes of one container: by attribute index and by name, letter case ignored.
///
/// It never refuses a clash: the attribute that was linked or changed last takes the key, a line in the log says so,
/// and the one that held it is not found under the key until it is changed again. When a holder moves on, the key is
/// held by nobody, even if another attribute bears it. Looking up allocates nothing.
class ADB_API AttributeIndex : public ODB::Index {
public:
    /// Asks for the attribute of one index or of one name.
    class ADB_API Query : public ODB::Query {
    public:
        enum QueryType : int { ByIndex = 0, ByName = 1 };

        explicit Query(short index);
        /// \param name in any letter case
        explicit Query(const Kest::UniString& name);
        Query(const Query&) = default;
        Query& operator=(const Query&) = default;

        QueryType GetQueryType() const noexcept { return queryType; }
        short GetAttributeIndex() const noexcept { return attributeIndex; }
        /// The name in upper case.
        const Kest::UniString& GetAttributeName() const noexcept { return attributeName; }

        Query* Clone() const override;
        bool Matches(const Subject& subject) const override;
        const Kest::ClassInfo* GetClassInfo() const override;
        static const Kest::ClassInfo* GetClassInfoStatic();

    private:
        QueryType queryType;
        short attributeIndex = 0;
        Kest::UniString attributeName;
    };

    AttributeIndex();
    ~AttributeIndex() override;
    /// An empty index: what is indexed belongs to the place where an index hangs.
    AttributeIndex* Clone() const override;
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    void ScopeAssigned(const ODB::Ref<ODB::Object>& scope) override;
    /// True for AttributeIndex::Query alone.
    bool Supports(const ODB::Query& query) const override;
    using ODB::Index::Execute;
    /// Puts the attribute found, if any, into \p result; mode 0 clears the list first. \returns true
    bool Execute(const ODB::Query& query, ODB::RefList<ODB::Object>* result, ResultMode mode) const override;
    using ODB::Index::ObjectDeleted;
    using ODB::Index::ObjectModified;
    void ObjectCreated(const ODB::Ref<ODB::Object>& object) override;
    void ObjectModified(const ODB::Ref<ODB::Object>& object) override;
    void ObjectDeleted(const ODB::Ref<ODB::Object>& object) override;
    void Clear() override;
    bool FollowsModifications() const override;
    void Reserve(std::size_t count) override;

    /// Compares the tables with a full walk over the attributes; for debug builds and tests.
    bool CheckInvariants() const;

private:
    friend class AttributeContainer;
    friend class AttributeKeyChange;
    friend class GeneralAttribute;

    std::unique_ptr<AttributeIndexTables> tables;
    AttributeContainer* container = nullptr;   // which it is over
};

}   // namespace ADB
