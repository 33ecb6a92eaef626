#pragma once

#include <Kest/EventObserver.hpp>

#include <ODB/Ref.hpp>

#include <ZalUtil/FieldMask.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class GeneralAttribute;

/// Hears of the edits in a working copy of an attribute type. Every operation has an empty body: override what is
/// needed. During a call anybody may attach and detach anyone, edit again, or destroy the working copy.
class ADB_API AttributeTypeSetObserver : public Kest::EventObserver {
public:
    ~AttributeTypeSetObserver() override;

    /// \p attribute was added.
    virtual void AttributeCreated(ODB::ConstRef<GeneralAttribute> attribute);
    /// The fields \p fields of \p attribute were set.
    virtual void AttributeChanged(ODB::ConstRef<GeneralAttribute> attribute, const FieldMask& fields);
    /// The attribute that had \p index was deleted.
    virtual void AttributeDeleted(short index);
    /// The working copy was made anew: whatever was known of its attributes is past.
    virtual void AttributeRecreated();
};

}   // namespace ADB
