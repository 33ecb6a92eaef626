#include <ODB/ChangeRecorder.hpp>

#include <new>
#include <utility>

#include <ODB/IdSpace.hpp>

#include "ChangeRecord.hpp"
#include "ResultCodes.hpp"

namespace ODB {
namespace {

void Empty(Delta* delta, IdSpace* space) {
    if (delta != nullptr)
        delta->Clear(space);
}

}   // namespace

ChangeRecorder::ChangeRecorder(IdSpace* recordedSpace)
    : space(recordedSpace != nullptr ? recordedSpace : GetDefaultIdSpace()),
      record(std::make_unique<Record>()) {
    next = std::exchange(ObjectInfo::recorders, this);
}

ChangeRecorder::~ChangeRecorder() {
    ChangeRecorder** place = &ObjectInfo::recorders;
    while (*place != this)
        place = &(*place)->next;
    *place = next;
}

bool ChangeRecorder::HasChanges() const noexcept {
    return !record->IsEmpty();
}

int ChangeRecorder::CreateDeltas(Delta* forward, Delta* back) const {
    Empty(forward, space);
    Empty(back, space);
    int status = WrongCall;
    try {
        if (space != nullptr)
            status = record->Fill(*space, forward, back);
    } catch (const std::bad_alloc&) {
        status = MemoryFull;
    }
    if (status != 0) {
        Empty(forward, space);
        Empty(back, space);
    }
    return status;
}

void ChangeRecorder::Restart() noexcept {
    record->Clear();
}

}   // namespace ODB
