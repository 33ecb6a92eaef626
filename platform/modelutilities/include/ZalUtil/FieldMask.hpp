#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <Kest/Guid.hpp>

#include <ZalUtil/Export.hpp>

/// A field of a class: fields are numbered under the GUID of their class, so that those of a base and of a derived
/// class never clash.
struct FieldID {
    Kest::Guid classId;
    int fieldNumber = 0;

    friend bool operator==(const FieldID&, const FieldID&) = default;
};

/// A set of fields. Masks of one or two classes with numbers from 0 to 63 need no memory of their own.
class ZALUTIL_API FieldMask {
public:
    FieldMask() noexcept = default;
    FieldMask(const FieldMask& other);
    FieldMask(FieldMask&&) noexcept = default;
    ~FieldMask() = default;
    FieldMask& operator=(const FieldMask& other);
    FieldMask& operator=(FieldMask&&) noexcept = default;

    /// The field \p fieldNumber of the class \p classId.
    static FieldID FieldIdx2FieldId(const Kest::Guid& classId, int fieldNumber) noexcept {
        return {classId, fieldNumber};
    }

    /// \throws std::bad_alloc with nothing changed, only for a third class or a number outside 0 to 63
    void Set(const FieldID& field);
    void Clear(const FieldID& field) noexcept;
    bool Test(const FieldID& field) const noexcept;
    void ClearAll() noexcept;
    bool IsEmpty() const noexcept;

    /// Adds the fields of \p other. \throws std::bad_alloc with nothing changed, as Set does
    FieldMask& operator|=(const FieldMask& other);

    /// Whether both hold the same fields.
    friend bool operator==(const FieldMask& left, const FieldMask& right) noexcept {
        return left.Contains(right) && right.Contains(left);
    }

private:
    static constexpr std::size_t PlaceCount = 2;
    static constexpr int BitCount = 64;

    struct Place {
        Kest::Guid classId;
        std::uint64_t bits = 0;   // 0: the place is free
    };

    static bool FitsPlace(const FieldID& field) noexcept {
        return field.fieldNumber >= 0 && field.fieldNumber < BitCount;
    }
    static std::uint64_t BitOf(const FieldID& field) noexcept { return std::uint64_t{1} << field.fieldNumber; }
    Place* FindPlace(const Kest::Guid& classId) noexcept;
    const Place* FindPlace(const Kest::Guid& classId) const noexcept;
    template <class Predicate>
    bool AllFields(Predicate&& predicate) const;
    bool Contains(const FieldMask& other) const noexcept;

    Place places[PlaceCount];
    // What fitted no place when it was set, each field once; no field is both here and in a place.
    std::unique_ptr<std::vector<FieldID>> others;
};

/// A mask that names the fields of one class by their numbers alone; those of other classes are named in full.
/// \p Class has a static GetFieldClassId.
template <class Class>
class FieldMaskT : public FieldMask {
public:
    FieldMaskT() = default;
    explicit FieldMaskT(const FieldMask& mask) : FieldMask(mask) {}

    using FieldMask::Clear;
    using FieldMask::Set;
    using FieldMask::Test;

    void Set(int fieldNumber) { FieldMask::Set({Class::GetFieldClassId(), fieldNumber}); }
    void Clear(int fieldNumber) noexcept { FieldMask::Clear({Class::GetFieldClassId(), fieldNumber}); }
    bool Test(int fieldNumber) const noexcept { return FieldMask::Test({Class::GetFieldClassId(), fieldNumber}); }
};
