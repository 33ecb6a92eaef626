#include <AttributeManager/AttributeSetStore.hpp>

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

TEST_F(AttributeSetStoreTest, TheIsolatedStateHasItsBytesAndDamageChangesNothing) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    const std::string data = Data(store);
    const std::string bytes = WriteStore();
    EXPECT_EQ(bytes, ReadHexFile("store-isolated.hex"));
    const auto harmless = [&](const std::string& damaged, std::size_t position = 0) {
        ReadStore(damaged);   // 0 when what is damaged is that the frame is sealed
        EXPECT_TRUE(Data(store) == data) << position;
    };
    ForEachTruncation(bytes, Damage::Plain, Kest::PlatformSign::LittleEndian, harmless);
    ForEachBitFlip(bytes, Damage::Plain, Kest::PlatformSign::LittleEndian, harmless);
    std::string greedy = bytes;   // behind the frame's header and the base part stands the size
    greedy.replace(28 + 28 + 16, 4, "\xFF\xFF\xFF\x7F");
    EXPECT_EQ(ReadStore(Sealed(greedy)), Kest::ChannelStatus::EndOfData);
    EXPECT_EQ(Data(store), data);

    store.Update(ODB::NullRef, 0);
    const std::string empty = WriteStore();
    EXPECT_EQ(ReadStore(bytes), 0);
    EXPECT_EQ(Data(store), data);
    EXPECT_EQ(ReadStore(empty), 0);
    EXPECT_EQ(store.GetData(), nullptr);
}

TEST_F(AttributeSetStoreTest, LackOfMemory) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    const std::string data = Data(store);
    int status = 0;
    const FailureCount updates = ForEachFailure([&] { status = store.Update(set, 0); },
                                                [&](bool failed) {
                                                    EXPECT_EQ(status != 0, failed);
                                                    EXPECT_EQ(Data(store), failed ? std::string() : data);
                                                });
    EXPECT_GT(updates.failures, 0u);
    const Texts whole = Describe();
    ForEachFailure(
        [&] { status = store.Load(other); },
        [&](bool) { EXPECT_TRUE(status == 0 ? Describe(other) == whole : other.GetConst()->CheckInvariants()); });
    const std::string bytes = WriteStore();
    const FailureCount reads = ForEachFailure([&] { status = ReadStore(bytes); },
                                              [&](bool failed) {
                                                  EXPECT_EQ(status != 0, failed);
                                                  EXPECT_EQ(Data(store), data);
                                              });
    EXPECT_EQ(reads.leakedBlocks, 0);
}

}   // namespace
}   // namespace ADBTest
