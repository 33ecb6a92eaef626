#include "LossReport.hpp"

#include "Failure.hpp"
#include "MemoryTrip.hpp"
#include "Session.hpp"
#include "StatusText.hpp"
#include "UserDataRecord.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <Kest/MemoryChannels.hpp>

#include <AttributeManager/UserDataConverter.hpp>

namespace Host {

namespace {

using ADB::GeneralAttribute;
using SetRef = ODB::ConstRef<ADB::AttributeSet>;

// The name as stream version 1 has it: through the record of that version, which can be written and read by its fields.
Kest::UniString NameInVersion1(const GeneralAttribute& attribute) {
    Kest::MemoryOChannel written;
    GeneralAttribute::WriteVersion1(written, 0, attribute.GetName(), attribute.GetIndex(), 0, 0, 0, 0,
                                    ADB::RegTblData());
    Kest::MemoryIChannel channel(written.GetBytes(), written.GetSize());
    Kest::UniString name;
    int leading = 0, time = 0;
    short index = 0, flags = 0, reserved1 = 0, reserved2 = 0;
    ADB::RegTblData userData;
    if (GeneralAttribute::ReadVersion1(channel, &leading, &name, &index, &flags, &time, &reserved1, &reserved2,
                                       &userData) != 0)
        throw Failure("an attribute cannot be written in stream version 1: use --stream-version 4");
    return name;
}

void AddLossesInVersion1(const GeneralAttribute& attribute, unsigned int refId, std::vector<std::string>& losses) {
    const auto add = [&](Aspect aspect, std::string detail) {
        losses.push_back(
            TextOf(Difference{aspect, refId, attribute.GetIndex(), attribute.GetName(), std::move(detail)}));
    };
    if (LeavesOut(SetForm::Stream1, refId))
        return add(Aspect::Attribute, {});
    if (const Kest::UniString name = NameInVersion1(attribute); name != attribute.GetName())
        add(Aspect::Name, "becomes \"" + ReplaceControls(name) + '"');
    add(Aspect::Id, {});
    for (const ZalUtil::Owner& owner : attribute.GetOwners())
        add(Aspect::UserData, TextOf(owner));
}

// Attributes of version 1 do not come back, so what they lack is told by the layout of that version.
std::vector<std::string> FindLossesInVersion1(const SetRef& set) {
    std::vector<std::string> losses;
    for (const KindEntry& kind : GetKinds()) {
        const unsigned int refId = kind.record.refId;
        const short typeId = TypeIdOf(refId);
        set->EnumerateConstAttributes(
            typeId, ADB::SortByIndex, ADB::Ascending,
            [&](const ODB::ConstRef<GeneralAttribute>& attribute) { AddLossesInVersion1(*attribute, refId, losses); });
        if (GetActiveIndex(set, refId) != 0)
            losses.push_back(TextOf(Difference{.aspect = Aspect::ActiveAttribute, .refId = refId}));
    }
    const ScratchSet empty;
    for (const Difference& difference : CompareFills(set, empty.GetSet()))
        losses.push_back(TextOf(difference));
    if (!losses.empty())
        losses.push_back("all attributes: programs of today cannot read stream version 1 back");
    return losses;
}

}   // namespace

std::vector<std::string> FindLosses(const SetRef& set, SetForm form) {
    if (!CanBeReadBack(form))
        return FindLossesInVersion1(set);
    const MemoryTrip trip = MakeMemoryTrip(set, form);
    const int status = trip.writeStatus != 0 ? trip.writeStatus : trip.readStatus;
    if (status != 0)
        throw Failure("the attributes cannot be " + std::string(trip.writeStatus != 0 ? "written in" : "read from") +
                      " the form " + NameOf(form) + " (" + TextOfStatus(status) + "): choose another one");
    std::vector<std::string> losses;
    for (const Difference& difference : trip.differences)
        losses.push_back(TextOf(difference));
    if (const short version = GeneralAttribute::UserDataConverter::GetOutputPlanVersion(); version != 0)
        losses.push_back("all attributes: user data are converted for plan version " + std::to_string(version));
    return losses;
}

}   // namespace Host
