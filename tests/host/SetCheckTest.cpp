#include "checking/SetCheck.hpp"

#include "Session.hpp"
#include "documents/LogSilence.hpp"
#include "kinds/AllKinds.hpp"

#include "KindSamples.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace Host;
using ADB::GeneralAttribute;

const auto LayerId = Layer::Record.refId;

void DamageUserData(const ODB::Ref<GeneralAttribute>& attribute) {
    HostTests::SetRecord(*attribute, 'x');
    GeneralAttribute::IsolatedState state(*attribute);
    int size = 0;
    const char* const record = state.memo.GetRegTblPtr(&size);
    std::string table(record, static_cast<std::size_t>(size));
    table += table + "odd";
    state.memo.UpdateRegTbl(table.data(), static_cast<std::int64_t>(table.size()));
    Layer::IsolatedState whole;
    attribute->StoreIsolatedState(&whole);
    whole.memo = state.memo;
    attribute->RestoreIsolatedState(&whole);
}

// A set as a host that does not look may leave it; readers would mend some of it.
TEST(SetCheckTest, EveryFaultIsFound) {
    const LogSilence log;
    const Session session;
    const ODB::Ref<ADB::AttributeSet> set = session.GetSet();
    const short typeId = TypeIdOf(LayerId);
    Layer layer;
    for (const char16_t* const name : {u"Wall", u"Roof", u"Door", u"Pipe"}) {
        layer.SetName(name);
        set->NewAttribute(typeId, &layer, false, false);
    }
    EXPECT_EQ(FindFaults(set), std::vector<std::string>());

    layer.SetName(u"wall");
    layer.SetIndex(1);
    layer.Set<&LayerFields::lineType>(short{3});
    FieldMask fields;
    set->GetAttributeContainer(typeId)->PutAttribute(&layer, 2, &fields);
    DamageUserData(set->GetAttribute(typeId, 3));
    set->GetAttribute(typeId, 3)->SetName(u" ");
    set->SetActiveAttribute(typeId, set->GetAttribute(typeId, 4));
    const std::string active = set->GetAttribute(typeId, 4).GetId().ToString();
    set->DeleteAttribute(typeId, 4, true);
    set->SetPercentFill(ADB::AttributeSet::PercentFill25, 7);
    std::vector<std::string> faults = FindFaults(set);
    std::ranges::sort(faults.begin(), faults.begin() + 3);   // which of two comes first is nobody's business
    EXPECT_EQ(faults, (std::vector<std::string>{
                          "Layer 1 \"wall\": lineType refers to LineType 3, which is not there",
                          "Layer 1 \"wall\": the index is that of Layer 1 \"Wall\"",
                          "Layer 1 \"wall\": the name is that of Layer 1 \"Wall\", letter case ignored",
                          "Layer 3 \" \": the name is blank",
                          "Layer 3 \" \": the user data hold two records of HOST/TEST",
                          "Layer 3 \" \": the user data are damaged: from byte 50 on there is no whole record",
                          "Layer: the active attribute " + active + " is not there",
                          "set: the 25 % fill is Fill 7, which is not there",
                      }));
}

}   // namespace
