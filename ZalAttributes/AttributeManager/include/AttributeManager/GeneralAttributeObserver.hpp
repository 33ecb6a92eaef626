#pragma once

#include <Kest/EventObserver.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <ZalUtil/FieldMask.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class GeneralAttribute;

/// Hears of the changes of attributes. Every operation has an empty body: override what is needed.
///
/// A change is complete when it is announced: the attribute and every look-up show the new state. Observers are told
/// from the one attached last to the one attached first; during a call they may attach and detach anyone, change the
/// attribute again or delete it.
class ADB_API GeneralAttributeObserver : public Kest::EventObserver {
public:
    ~GeneralAttributeObserver() override;

    /// The name was \p oldName until now. Comes before the calls by field, and also while a NotifyDisableGuard lives.
    virtual void NameChanged(ODB::Ref<GeneralAttribute> attribute, const Kest::UniString& oldName);

    /// Field 1 of an announcement.
    virtual void NameChanged(ODB::ConstRef<GeneralAttribute> attribute);
    /// Field 2.
    virtual void IndexChanged(ODB::ConstRef<GeneralAttribute> attribute);
    /// Field 3.
    virtual void FlagsChanged(ODB::ConstRef<GeneralAttribute> attribute);
    /// Field 4.
    virtual void ModificationTimeChanged(ODB::ConstRef<GeneralAttribute> attribute);
    /// Field 5: once for each user-data record that was added, removed or changed.
    virtual void UserDataChanged(unsigned int ownerId1, unsigned int ownerId2);

    /// Once per announcement with a field, after the calls by field.
    virtual void AttributeChanged(ODB::ConstRef<GeneralAttribute> attribute, const FieldMask& fields);
};

}   // namespace ADB
