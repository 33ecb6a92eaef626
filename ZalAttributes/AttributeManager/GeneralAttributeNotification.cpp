#include <utility>

#include <Kest/MemoryHandle.hpp>

#include <ZalUtil/MemoRecord.hpp>

#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/NotifyDisableGuard.hpp>

namespace ADB {
namespace {

// The user data that an attribute had before the change that is being announced: they belong to the announcement, so
// that a callback may set other user data, which are announced on their own.
class Presentation {
public:
    Presentation(const GeneralAttribute& announcing, char** before) noexcept
        : attribute(announcing),
          snapshot(before),
          outer(std::exchange(innermost, this)) {}
    ~Presentation() {
        innermost = outer;
        BMKillHandle(&snapshot);
    }
    Presentation(const Presentation&) = delete;
    Presentation& operator=(const Presentation&) = delete;

    static char** Find(const GeneralAttribute& attribute) noexcept {
        for (const Presentation* shown = innermost; shown != nullptr; shown = shown->outer)
            if (&shown->attribute == &attribute)
                return shown->snapshot;
        return nullptr;
    }

private:
    static thread_local const Presentation* innermost;

    const GeneralAttribute& attribute;
    char** snapshot;
    const Presentation* outer;
};

thread_local const Presentation* Presentation::innermost = nullptr;

struct Table {
    const char* bytes = nullptr;
    std::size_t size = 0;
};

bool HasEqualRecord(const Table& table, const ZalUtil::MemoRecord& record) {
    ZalUtil::MemoRecord found;
    return ZalUtil::FindMemoRecord(table.bytes, table.size, record.owner, found) && found.length == record.length &&
           BNCompareMemory(found.data, record.data, record.length) == 0;
}

bool HasRecord(const Table& table, const ZalUtil::MemoRecord& record) {
    ZalUtil::MemoRecord found;
    return ZalUtil::FindMemoRecord(table.bytes, table.size, record.owner, found);
}

// Calls `call` with the owner of each record that differs: first those of the old table, then those that are new.
template <class Call>
void ForEachChange(const Table& before, const Table& now, Call&& call) {
    ZalUtil::MemoRecord record;
    ZalUtil::MemoRecordWalk oldRecords(before.bytes, before.size);
    while (oldRecords.Next(record))
        if (!HasEqualRecord(now, record))
            call(record.owner);
    ZalUtil::MemoRecordWalk newRecords(now.bytes, now.size);
    while (newRecords.Next(record))
        if (!HasRecord(before, record))
            call(record.owner);
}

}   // namespace

int GeneralAttribute::NotifyDisableGuard::m_NotifyDisableNum = 0;

GeneralAttribute::NotifyDisableGuard::NotifyDisableGuard(bool disable) noexcept : disabled(disable) {
    if (disabled)
        ++m_NotifyDisableNum;
}

GeneralAttribute::NotifyDisableGuard::~NotifyDisableGuard() {
    if (disabled)
        --m_NotifyDisableNum;
}

bool GeneralAttribute::NotifyDisableGuard::IsDisabledNotify() noexcept {
    return m_NotifyDisableNum > 0;
}

// Observers are given references: with a record to name, no announcement can fail for want of memory.
void GeneralAttribute::Attach(GeneralAttributeObserver& observer) {
    GetInfo();
    Kest::EventSource::Attach(observer);
}

void GeneralAttribute::Detach(GeneralAttributeObserver& observer) {
    Kest::EventSource::Detach(observer);
}

void GeneralAttribute::TellOldName(const Kest::UniString& oldName) {
    EnumerateObservers([&](Kest::EventObserver& observer) {
        static_cast<GeneralAttributeObserver&>(observer).NameChanged(ODB::Ref<GeneralAttribute>(this), oldName);
    });
}

void GeneralAttribute::NotifyObservers(const FieldID& field) const {
    FieldMask fields;
    fields.Set(field);
    NotifyObservers(&fields);
}

void GeneralAttribute::NotifyObservers(const FieldMask* fields) const {
    if (NotifyDisableGuard::IsDisabledNotify() || fields == nullptr)
        return;
    const Presentation presentation(*this, std::exchange(previousMemo, nullptr));
    if (GetObserverCount() == 0)
        return;
    const bool isEmpty = fields->IsEmpty();
    // An attribute that a callback deletes keeps its memory until the walk ends, and has no observers any more.
    EnumerateObservers([&](Kest::EventObserver& observer) {
        Notify(&observer, fields);
        if (!isEmpty && IsAttached(observer))
            static_cast<GeneralAttributeObserver&>(observer).AttributeChanged(
                ODB::ConstRef<GeneralAttribute>(GetInfo()), *fields);
    });
}

void GeneralAttribute::Notify(Kest::EventObserver* observer, const FieldMask* fields) const {
    if (observer == nullptr || fields == nullptr)
        return;
    auto& listener = static_cast<GeneralAttributeObserver&>(*observer);
    const Kest::Guid classId = GetFieldClassId();
    const auto isNext = [&](Field field) { return fields->Test({classId, field}) && IsAttached(listener); };
    const auto self = [this] { return ODB::ConstRef<GeneralAttribute>(GetInfo()); };
    if (isNext(NameField))
        listener.NameChanged(self());
    if (isNext(IndexField))
        listener.IndexChanged(self());
    if (isNext(FlagsField))
        listener.FlagsChanged(self());
    if (isNext(ModificationTimeField))
        listener.ModificationTimeChanged(self());
    if (isNext(UserDataField))
        NotifyUserDataChanged(listener);
}

void GeneralAttribute::NotifyUserDataChanged(GeneralAttributeObserver& observer) const {
    char** const snapshot = Presentation::Find(*this);
    const Table before =
        snapshot != nullptr ? Table{*snapshot, static_cast<std::size_t>(BMGetHandleSize(snapshot))} : Table{};
    const RegTblData now(memo);   // shared: a callback that sets other user data leaves it as it is
    ForEachChange(before, {now.GetBytes(), now.GetSize()}, [&](const ZalUtil::Owner& owner) {
        if (IsAttached(observer))
            observer.UserDataChanged(owner.id1, owner.id2);
    });
}

}   // namespace ADB
