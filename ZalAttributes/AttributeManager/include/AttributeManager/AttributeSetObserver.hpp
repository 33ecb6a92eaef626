#pragma once

#include <Kest/EventObserver.hpp>

#include <ODB/Ref.hpp>

#include <ZalUtil/FieldMask.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class GeneralAttribute;

/// Hears of the changes in an attribute set. Every operation has an empty body: override what is needed.
///
/// A change is complete when it is announced. Observers are told from the one attached last to the one attached first;
/// during a call they may attach and detach anyone, change the set again, or delete the attribute or the set: nobody is
/// told of a creation or change of an attribute that has been deleted meanwhile.
class ADB_API AttributeSetObserver : public Kest::EventObserver {
public:
    ~AttributeSetObserver() override;

    /// \p attribute was added to the type.
    virtual void AttributeCreated(short typeId, ODB::ConstRef<GeneralAttribute> attribute);
    /// The fields \p fields of \p attribute changed.
    virtual void AttributeChanged(short typeId, ODB::ConstRef<GeneralAttribute> attribute, const FieldMask& fields);
    /// The attribute that had \p index was deleted.
    virtual void AttributeDeleted(short typeId, short index);
    /// \p attribute is the active one of the type now; null: none is.
    virtual void ActiveAttributeChanged(short typeId, const ODB::Ref<GeneralAttribute>& attribute);
    /// All attributes of the type were replaced or deleted at once.
    virtual void AttributeTypeRestored(short typeId);
};

}   // namespace ADB
