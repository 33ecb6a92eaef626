#include <AttributeManager/RegTblData.hpp>

#include <Kest/ClassManager.hpp>

#include "FirstRecordWalk.hpp"

namespace ADB {
namespace {

constexpr unsigned int TableSignal = 0x5254424C;

const Kest::ClassRegistration<RegTblData> registration;

}   // namespace

RegTblData* RegTblData::Clone() const {
    return new RegTblData(*this);
}

const Kest::ClassInfo* RegTblData::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::RegTblData", Kest::Guid("{10C533E3-179E-4F83-A762-F415D8B0A0CA}"),
                                      Kest::ClassVersion(1, 0), ZalUtil::BaseRegTblData::GetClassInfoStatic(), {},
                                      []() -> Kest::Object* { return new RegTblData; });
    return &info;
}

const Kest::ClassInfo* RegTblData::GetClassInfo() const {
    return GetClassInfoStatic();
}

unsigned int RegTblData::GetSignal() const {
    return TableSignal;
}

ZalUtil::MemoCheckResult RegTblData::Check() const {
    return ZalUtil::MemoCheckResult::NoFindings;
}

Kest::Array<ZalUtil::Owner> RegTblData::GetOwners() const {
    Kest::Array<ZalUtil::Owner> owners;
    ZalUtil::MemoRecord record;
    for (FirstRecordWalk walk(*this, false); walk.Next(record);)
        owners.Push(record.owner);
    return owners;
}

}   // namespace ADB
