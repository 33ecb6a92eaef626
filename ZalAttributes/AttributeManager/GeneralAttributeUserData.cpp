#include <cstdint>
#include <cstring>

#include <Kest/HashTable.hpp>
#include <Kest/MemoryHandle.hpp>

#include <ODB/Object.hpp>

#include <ZalUtil/MemoRecord.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/UserDataConverter.hpp>

#include "ScopedHandle.hpp"

namespace ADB {
namespace {

using ConverterTable = Kest::HashTable<ZalUtil::Owner, GeneralAttribute::UserDataConverter*>;

// Never destroyed: converters are statics of modules that may outlive this library's statics.
ConverterTable& GetConverters() {
    static auto* const converters = new ConverterTable;
    return *converters;
}

// Has `converter` rewrite the record of its owner in `table`.
int ConvertRecord(GeneralAttribute::UserDataConverter& converter, const GeneralAttribute& attribute, char*** table) {
    const ZalUtil::Owner owner = converter.GetOwner();
    unsigned short platform = 0;
    short version = 0;
    unsigned int flags = 0;
    unsigned int length = 0;
    const char* const stored = ZalM_GetRegMDataPtr(owner.id1, owner.id2, *table, &platform, &version, &flags, &length);
    ScopedHandle data(BMPtrToHandle(stored, length));
    if (data.handle == nullptr)
        return Error::MemoryFull;
    if (!converter.ConvertUserData(ODB::ConstRef<GeneralAttribute>(&attribute), platform, version, flags, data.handle))
        return Error::None;
    if (data.handle == nullptr)
        return ZalM_DelRegMData(owner.id1, owner.id2, table, nullptr);
    return ZalM_PutRegMData(owner.id1, owner.id2, platform, version, flags,
                            static_cast<unsigned int>(BMGetHandleSize(data.handle)), *data.handle, table);
}

}   // namespace

short GeneralAttribute::UserDataConverter::outputPlanVersion = 0;

GeneralAttribute::UserDataConverter::UserDataConverter(unsigned int id1, unsigned int id2, unsigned int attributeType)
    : owner{id1, id2},
      attributeTypeId(attributeType) {
    GetConverters().Add(owner, this);
}

GeneralAttribute::UserDataConverter::~UserDataConverter() {
    GetConverters().Delete(owner);
}

GeneralAttribute::UserDataConverter* GeneralAttribute::UserDataConverter::Find(const ZalUtil::Owner& owner) {
    UserDataConverter* const* const found = GetConverters().Find(owner);
    return found != nullptr ? *found : nullptr;
}

short GeneralAttribute::UserDataConverter::GetOutputPlanVersion() noexcept {
    return outputPlanVersion;
}

void GeneralAttribute::UserDataConverter::SetOutputPlanVersion(short version) noexcept {
    outputPlanVersion = version;
}

void GeneralAttribute::TakeSnapshot(char** snapshot) noexcept {
    BMKillHandle(&previousMemo);
    previousMemo = snapshot;
}

int GeneralAttribute::ReplaceMemo(char** table) {
    ODB::ModificationGate gate(*this);
    return memo.UpdateRegTbl(table != nullptr ? *table : nullptr, table != nullptr ? BMGetHandleSize(table) : 0);
}

int GeneralAttribute::SetUserData(unsigned int id1, unsigned int id2, unsigned short platform, short version,
                                  unsigned int dataFlags, char** data) {
    if (data == nullptr)
        return Error::NullArgument;
    const std::int64_t length = BMGetHandleSize(data);
    if (length > UINT32_MAX)
        return Error::WrongCall;
    ScopedHandle table;
    ScopedHandle snapshot;
    if (memo.GetRegTbl(&table.handle) != 0 || memo.GetRegTbl(&snapshot.handle) != 0)
        return Error::MemoryFull;
    if (const int status = ZalM_PutRegMData(id1, id2, platform, version, dataFlags, static_cast<unsigned int>(length),
                                            *data, &table.handle);
        status != 0)
        return status;
    if (ReplaceMemo(table.handle) != 0)
        return Error::WrongCall;
    TakeSnapshot(snapshot.handle);
    snapshot.handle = nullptr;
    NotifyObservers(FieldMask::FieldIdx2FieldId(GetFieldClassId(), UserDataField));
    return Error::None;
}

int GeneralAttribute::GetUserData(unsigned int id1, unsigned int id2, unsigned short* platform, short* version,
                                  unsigned int* dataFlags, char*** data) const {
    if (platform == nullptr || version == nullptr || data == nullptr)
        return Error::NullArgument;
    *data = nullptr;
    ZalUtil::MemoRecord record;
    if (memo.FindRecord({id1, id2}, record)) {
        *data = BMPtrToHandle(record.data, record.length);
        if (*data == nullptr)
            return Error::MemoryFull;
    } else {
        record = {};
    }
    *platform = record.platform;
    *version = record.version;
    if (dataFlags != nullptr)
        *dataFlags = record.flags;
    return Error::None;
}

int GeneralAttribute::DeleteUserData(unsigned int id1, unsigned int id2) {
    ScopedHandle table;
    if (memo.GetRegTbl(&table.handle) != 0)
        return Error::MemoryFull;
    bool found = false;
    if (const int status = ZalM_DelRegMData(id1, id2, &table.handle, &found); status != 0)
        return status;
    if (found && ReplaceMemo(table.handle) != 0)
        return Error::WrongCall;
    return Error::None;
}

Kest::Array<ZalUtil::Owner> GeneralAttribute::GetOwners() const {
    return memo.GetOwners();
}

void GeneralAttribute::LookupExternalDataHandlers(ZalUtil::ICBOwnerFound* callback) const {
    memo.LookupExternalDataHandlers(callback);
}

void GeneralAttribute::DeleteExternalDataHandlers(const ZalUtil::OwnerList& owners) {
    if (!HasMemoData())
        return;
    const ODB::ModificationGate gate(*this);
    memo.DeleteExternalDataHandlers(owners);
}

// After an error the table is empty rather than half converted.
RegTblData GeneralAttribute::ConvertRegMemo() const {
    ScopedHandle table;
    if (!HasMemoData() || memo.GetRegTbl(&table.handle) != 0)
        return memo;
    int status = Error::None;
    for (const ZalUtil::Owner& owner : GetOwners()) {
        UserDataConverter* const converter = UserDataConverter::Find(owner);
        if (converter == nullptr || !converter->IsHandlingAttributeType(GetAttributeTypeId()))
            continue;
        status = ConvertRecord(*converter, *this, &table.handle);
        if (status != 0)
            break;
    }
    RegTblData converted;
    if (status == Error::None)
        converted.UpdateRegTbl(*table.handle, BMGetHandleSize(table.handle));
    return converted;
}

}   // namespace ADB
