#include <ZalUtil/FieldMask.hpp>

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

FieldMask::FieldMask(const FieldMask& other)
    : others(other.others != nullptr ? std::make_unique<std::vector<FieldID>>(*other.others) : nullptr) {
    std::copy(std::begin(other.places), std::end(other.places), std::begin(places));
}

FieldMask& FieldMask::operator=(const FieldMask& other) {
    return *this = FieldMask(other);
}

FieldMask::Place* FieldMask::FindPlace(const Kest::Guid& classId) noexcept {
    return const_cast<Place*>(static_cast<const FieldMask*>(this)->FindPlace(classId));
}

// The place of the class, else a free one, else null.
const FieldMask::Place* FieldMask::FindPlace(const Kest::Guid& classId) const noexcept {
    const Place* free = nullptr;
    for (const Place& place : places) {
        if (place.bits != 0 && place.classId == classId)
            return &place;
        if (place.bits == 0 && free == nullptr)
            free = &place;
    }
    return free;
}

void FieldMask::Set(const FieldID& field) {
    if (Test(field))
        return;
    if (Place* const place = FitsPlace(field) ? FindPlace(field.classId) : nullptr) {
        place->classId = field.classId;
        place->bits |= BitOf(field);
        return;
    }
    if (others == nullptr)
        others = std::make_unique<std::vector<FieldID>>();   // an empty one is as good as none
    others->push_back(field);
}

void FieldMask::Clear(const FieldID& field) noexcept {
    if (Place* const place = FitsPlace(field) ? FindPlace(field.classId) : nullptr)
        place->bits &= ~BitOf(field);   // clears nothing in a free place
    if (others != nullptr)
        std::erase(*others, field);
}

bool FieldMask::Test(const FieldID& field) const noexcept {
    if (const Place* const place = FitsPlace(field) ? FindPlace(field.classId) : nullptr)
        if ((place->bits & BitOf(field)) != 0)
            return true;
    return others != nullptr && std::find(others->begin(), others->end(), field) != others->end();
}

void FieldMask::ClearAll() noexcept {
    *this = FieldMask();
}

bool FieldMask::IsEmpty() const noexcept {
    return std::all_of(std::begin(places), std::end(places), [](const Place& place) { return place.bits == 0; }) &&
           (others == nullptr || others->empty());
}

// Whether the predicate holds for every field; it is not asked again once it does not.
template <class Predicate>
bool FieldMask::AllFields(Predicate&& predicate) const {
    for (const Place& place : places)
        for (std::uint64_t rest = place.bits; rest != 0; rest &= rest - 1)
            if (!predicate(FieldID{place.classId, std::countr_zero(rest)}))
                return false;
    return others == nullptr || std::all_of(others->begin(), others->end(), predicate);
}

FieldMask& FieldMask::operator|=(const FieldMask& other) {
    FieldMask sum(*this);
    other.AllFields([&sum](const FieldID& field) {
        sum.Set(field);
        return true;
    });
    return *this = std::move(sum);
}

bool FieldMask::Contains(const FieldMask& other) const noexcept {
    return other.AllFields([this](const FieldID& field) { return Test(field); });
}
