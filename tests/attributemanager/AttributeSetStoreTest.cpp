#include <AttributeManager/AttributeSetStore.hpp>

#include <functional>
#include <string_view>

#include <ODB/Properties.hpp>

#include <Lum/Properties.hpp>

#include <ZalUtil/Properties.hpp>

#include "DocumentFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace ADBTest {
namespace {

using ADB::AttributeSetStore;
using ADB::Error::WrongCall;

class AttributeSetStoreTest : public DocumentFixture {
protected:
    static std::string Data(const AttributeSetStore& of) { return {of.GetData(), of.GetDataSize()}; }
    std::string WriteStore() const {
        return BytesOf([this](Kest::OChannel& channel) { return store.WriteIsolatedState(channel); });
    }
    int ReadStore(const std::string& bytes) {
        return ReadBytes(bytes, [this](Kest::IChannel& channel) { return store.ReadIsolatedState(channel); });
    }

    AttributeSetStore store{&space};
    ODB::IdSpace otherSpace;
    ODB::Ref<ADB::AttributeSet> other = NewSet(otherSpace);
};

TEST_F(AttributeSetStoreTest, WhatUpdateKeepsLoadBringsBack) {
    Fill(true);
    for (const int version : {0, 4, 3}) {
        EXPECT_EQ(store.Update(set, version), 0);
        EXPECT_EQ(store.Load(other), 0);
        EXPECT_EQ(Describe(other), Describe()) << version;
    }
    EXPECT_EQ(Kest::ClassManager::GetOutputVersion(), 0);
    EXPECT_EQ(other.GetConst()->GetSolidFill(), 0) << "fills are not in the stream";
    EXPECT_EQ(store.GetIsolatedSize(), store.GetDataSize() + 40u);

    EXPECT_EQ(store.Load(ODB::NullRef), WrongCall);
    EXPECT_EQ(store.Update(ODB::NullRef, 0), WrongCall);
    EXPECT_EQ(store.GetDataSize(), 0u) << "a failed update leaves the store empty";
    EXPECT_EQ(store.GetData(), nullptr);
    EXPECT_EQ(store.GetIsolatedSize(), 40u);
    EXPECT_NE(store.Load(other), 0) << "an empty store holds no set";
    EXPECT_EQ(Describe(other), Describe());
}

TEST_F(AttributeSetStoreTest, IdentityAndClass) {
    EXPECT_EQ(AttributeSetStore::AttributeSetStoreId, ODB::Id("{F21BA901-A48D-438a-A19A-025ED87F1B4A}"));
    EXPECT_EQ(store.GetId(), AttributeSetStore::AttributeSetStoreId);
    EXPECT_EQ(AttributeSetStore(&space).GetId(), ODB::NullId) << "taken";
    const Kest::ClassInfo& info = *Kest::ClassManager::Find(Kest::Guid("{A4EE60EC-3F33-45cc-BB62-A182364FA82B}"));
    EXPECT_EQ(&info, store.GetClassInfo());
    EXPECT_EQ(info.GetVersion(), Kest::ClassVersion(1, 0));
    EXPECT_EQ(info.GetBase(), ODB::Object::GetClassInfoStatic());
    for (const Kest::ClassProperty* const property :
         {&Lum::ClientOnly, &Undo::NotUndoable, &ODB::NoDifferenceGeneration, &ODB::Pinned,
          &ZalUtil::CustomXMLRootObject})
        EXPECT_TRUE(info.HasProperty(*property)) << property->GetName();
}

TEST_F(AttributeSetStoreTest, CopiesHoldTheBytes) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    const std::string bytes = Data(store);
    const std::unique_ptr<AttributeSetStore> clone(store.Clone());
    AttributeSetStore assigned;
    assigned = store;
    const std::unique_ptr<AttributeSetStore::IsolatedState> state(store.CreateIsolatedState());
    EXPECT_EQ(store.StoreIsolatedState(state.get()), 0);
    assigned = static_cast<const AttributeSetStore&>(assigned);
    store.Update(ODB::NullRef, 0);
    EXPECT_EQ(Data(*clone), bytes);
    EXPECT_EQ(Data(assigned), bytes);
    EXPECT_EQ(store.RestoreIsolatedState(state.get()), 0);
    EXPECT_EQ(Data(store), bytes);

    const std::unique_ptr<ODB::Object::IsolatedState> foreign(set.GetConst()->CreateIsolatedState());
    EXPECT_EQ(store.StoreIsolatedState(foreign.get()), WrongCall);
    EXPECT_EQ(store.RestoreIsolatedState(foreign.get()), WrongCall);
    EXPECT_EQ(store.RestoreIsolatedState(nullptr), WrongCall);
    const AttributeSetStore empty;
    EXPECT_EQ(empty.StoreIsolatedState(state.get()), 0);
    EXPECT_EQ(store.RestoreIsolatedState(state.get()), 0);
    EXPECT_EQ(store.GetData(), nullptr);
}

TEST_F(AttributeSetStoreTest, TheIsolatedStateHasItsBytes) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    const std::string data = Data(store);
    const std::string bytes = WriteStore();
    EXPECT_EQ(bytes, ReadHexFile("store-isolated.hex"));
    store.Update(ODB::NullRef, 0);
    const std::string empty = WriteStore();
    EXPECT_EQ(ReadStore(bytes), 0);
    EXPECT_EQ(Data(store), data);
    EXPECT_EQ(ReadStore(empty), 0);
    EXPECT_EQ(store.GetData(), nullptr);
}

TEST_F(AttributeSetStoreTest, DamageIsRefusedOrLoadsContainersEmptyOrWhole) {
    constexpr std::size_t sizePlace = 28 + 28 + 16;   // behind the frame's header and the base part
    Fill();
    const Texts whole = Describe();
    const std::string bytes = ReadHexFile("store-isolated.hex");
    ASSERT_EQ(ReadStore(bytes), 0);
    const std::string data = Data(store);
    ASSERT_EQ(store.Load(other), 0);
    std::size_t loads = 0;
    const auto load = [&](bool isTold) {
        const Texts before = Describe(other);
        const int status = store.Load(other);
        const Texts found = Describe(other);
        EXPECT_TRUE(other.GetConst()->CheckInvariants() && otherSpace.CheckInvariants());
        EXPECT_TRUE(found == before || HasWholeGroups(found, whole));
        EXPECT_TRUE(!isTold || (status != 0 && found == before));
        if (status != 0)
            return;
        ++loads;
        AttributeSetStore again;
        EXPECT_EQ(again.Update(other, 0), 0);
        EXPECT_EQ(again.Load(other), 0);
        EXPECT_TRUE(Describe(other) == found);
    };
    ForEachDamage(bytes, [&](const std::string& damaged, bool isTold, std::size_t position) {
        if (HasFailure())
            return;
        SCOPED_TRACE(position);
        const int status = ReadStore(damaged);
        EXPECT_TRUE(status != 0 ? Data(store) == data : !isTold);
        if (status != 0)
            return;
        const std::string read = Data(store);
        EXPECT_EQ(ReadStore(WriteStore()), 0);
        EXPECT_TRUE(Data(store) == read);
        load(false);
        EXPECT_EQ(ReadStore(bytes), 0);
    });
    // The bytes have a seal of their own: what is behind that is reached only when both are right.
    ForEachDamage(data, [&](const std::string& damaged, bool isTold, std::size_t position) {
        if (HasFailure())
            return;
        SCOPED_TRACE(position);
        const std::uint32_t size = static_cast<std::uint32_t>(damaged.size());
        std::string state = bytes.substr(0, sizePlace) + std::string(sizeof size, '\0') + damaged + "seal";
        Kest::StoreNumber(state.data() + sizePlace, size, false);
        EXPECT_EQ(ReadStore(Sealed(state)), 0);
        EXPECT_TRUE(Data(store) == damaged);
        load(isTold);
    });
    EXPECT_TRUE(loads > 0 || IsSanitized);
    ASSERT_EQ(ReadStore(bytes), 0);
    std::string greedy = bytes;
    greedy.replace(sizePlace, 4, "\xFF\xFF\xFF\x7F");
    EXPECT_EQ(ReadStore(Sealed(greedy)), Kest::ChannelStatus::EndOfData);
    EXPECT_EQ(Data(store), data);
}

TEST_F(AttributeSetStoreTest, LackOfMemoryGivesEverythingBack) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    const std::string data = Data(store);
    const std::string bytes = WriteStore();
    const Texts whole = Describe();
    AttributeSetStore nothing;
    ASSERT_EQ(nothing.Update(other, 0), 0);
    int status = 0;
    const std::function<void()> operations[] = {
        [&] {
            status = store.Update(set, 0);
            const AllocationsSucceed succeed;
            EXPECT_EQ(Data(store), status != 0 ? std::string() : data);
            EXPECT_EQ(ReadStore(bytes), 0);
        },
        [&] {
            status = ReadStore(bytes);
            EXPECT_TRUE(std::string_view(store.GetData(), store.GetDataSize()) == data);
        },
        [&] {
            status = store.Load(other);
            const AllocationsSucceed succeed;
            EXPECT_TRUE(other.GetConst()->CheckInvariants());
            EXPECT_TRUE(status == 0 ? Describe(other) == whole : HasWholeGroups(Describe(other), whole));
            EXPECT_EQ(nothing.Load(other), 0);
        },
    };
    for (const std::function<void()>& operation : operations) {
        operation();   // what stays for the next time is there
        const FailureCount count =
            ForEachFailure(operation, [&](bool failed) { EXPECT_EQ(status, failed ? ADB::Error::MemoryFull : 0); });
        EXPECT_GT(count.failures, 0u);
        EXPECT_EQ(count.leakedBlocks, 0);
    }
}

}   // namespace
}   // namespace ADBTest
