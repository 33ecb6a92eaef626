#pragma once

#include <ODB/Ref.hpp>

#include <ZalUtil/Owner.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

/// Rewrites the user data of one owner when attributes are written for an older version of the plan file.
///
/// The first converter of an owner stays in force until any converter of that owner dies.
class ADB_API GeneralAttribute::UserDataConverter {
public:
    /// Registers the converter for the owner (\p id1, \p id2), unless the owner has one.
    /// \param attributeType ref id of the only kind whose data it converts, 0 for all kinds
    UserDataConverter(unsigned int id1, unsigned int id2, unsigned int attributeType);
    virtual ~UserDataConverter();
    UserDataConverter(const UserDataConverter&) = delete;
    UserDataConverter& operator=(const UserDataConverter&) = delete;

    /// Converts one record of \p attribute in place. \p data is a handle that the converter may resize, or free and set
    /// to null to leave the record out.
    /// \returns whether the record is to be replaced by what the arguments hold now
    virtual bool ConvertUserData(ODB::ConstRef<GeneralAttribute> attribute, unsigned short& platform, short& version,
                                 unsigned int& flags, char**& data) = 0;

    bool IsHandlingAttributeType(unsigned int type) const noexcept {
        return attributeTypeId == 0 || attributeTypeId == type;
    }
    const ZalUtil::Owner& GetOwner() const noexcept { return owner; }

    /// The converter in force for \p owner, or null.
    static UserDataConverter* Find(const ZalUtil::Owner& owner);

    /// The version of the plan file that attributes are written for; 0 means today's: nothing is converted.
    static short GetOutputPlanVersion() noexcept;
    static void SetOutputPlanVersion(short version) noexcept;

private:
    static short outputPlanVersion;

    ZalUtil::Owner owner;
    unsigned int attributeTypeId;
};

}   // namespace ADB
