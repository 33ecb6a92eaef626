#pragma once

#include <Kest/Object.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Export.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class Association1NUntyped;

/// A question about the objects linked to a left object. An attached index that supports the query answers it;
/// otherwise every linked object is tested.
class ODB_API Query : public Kest::Object {
public:
    using Subject = ConstRef<ODB::Object>;

    /// Where a query is asked: the right side of \p left in \p association.
    struct Scope {
        const Association1NUntyped& association;
        Ref<ODB::Object> left;
    };
    struct ConstScope {
        const Association1NUntyped& association;
        ConstRef<ODB::Object> left;
    };

    Query* Clone() const override = 0;

    /// A copy with copies of its parts; a query without parts clones itself.
    virtual Query* CloneComposite() const;

    /// Whether \p subject is among the answers.
    virtual bool Matches(const Subject& subject) const = 0;

    /// Appends the matching objects of \p scope to \p result, in link order.
    /// \returns 0, or -7001 for a null argument
    int ExecuteCustom(const ConstScope* scope, ConstRefList<ODB::Object>* result) const;
    int ExecuteCustom(const Scope* scope, RefList<ODB::Object>* result) const;

    /// Deletes the parts of a composite query. Nothing for a query without parts.
    virtual void DeleteChildren();

    /// A description for diagnostics.
    virtual Kest::UniString ToText() const;

    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();
};

}   // namespace ODB
