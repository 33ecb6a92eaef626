#pragma once

#include "FieldVisitor.hpp"

#include <concepts>
#include <optional>
#include <tuple>
#include <type_traits>
#include <vector>

#include <Kest/UniString.hpp>

/// \file
/// Fields, declared once: what the algorithms below and the kinds need to know of a struct's members.
///
/// A struct takes part by a static function `Fields` that answers with a std::tuple of Field, one per member, and by
/// being equal to another when its members are. A member is an int, a finite double, a bool, a short that refers to an
/// attribute, a Kest::UniString, a std::optional of one of these, or a std::vector of these or of such structs.
namespace Host {

/// The ref id that the four characters of \p text make, the first one most significant.
consteval unsigned int FourCharacters(const char (&text)[5]) {
    unsigned int code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

/// A member of \p Owner.
template <class Owner, class Value>
struct Field {
    int number;         ///< fixed for ever, never used again after a field has gone
    const char* name;   ///< ASCII, fixed for ever
    Value Owner::*member;
    unsigned int refersTo;   ///< the member is an index (or indexes) of attributes of the kind with this ref id; or 0
    bool isDetail = false;

    constexpr Field(int fieldNumber, const char* fieldName, Value Owner::*fieldMember, unsigned int refId = 0)
        : number(fieldNumber),
          name(fieldName),
          member(fieldMember),
          refersTo(refId) {}

    /// The same field, for lists that show everything only.
    constexpr Field AsDetail() const {
        Field detail(*this);
        detail.isDetail = true;
        return detail;
    }
};

template <class T>
concept HasFields = requires {
    T::Fields();
};

/// Calls \p call with every field of \p Owner.
template <HasFields Owner, class Call>
constexpr void ForEachField(Call&& call) {
    std::apply([&call](const auto&... field) { (call(field), ...); }, Owner::Fields());
}

/// The number of the field whose member is \p Member; it does not compile when there is none.
template <class Owner, auto Member>
consteval int FieldNumberOf() {
    int number = -1;
    ForEachField<Owner>([&number](const auto& field) {
        if constexpr (std::same_as<decltype(field.member), decltype(Member)>)
            if (field.member == Member)
                number = field.number;
    });
    if (number < 0)
        throw "not a declared field";
    return number;
}

namespace Detail {

template <class T>
struct IsList : std::false_type {};
template <class T>
struct IsList<std::vector<T>> : std::true_type {};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <class Value, class Call>
void ForEachReference(Value& value, unsigned int refersTo, Call& call);

template <class Owner, class Call>
void ForEachReferenceIn(Owner& owner, Call& call) {
    ForEachField<std::remove_const_t<Owner>>(
        [&](const auto& field) { ForEachReference(owner.*field.member, field.refersTo, call); });
}

template <class Value, class Call>
void ForEachReference(Value& value, unsigned int refersTo, Call& call) {
    using Plain = std::remove_const_t<Value>;
    if constexpr (std::same_as<Plain, short>) {
        if (refersTo != 0)
            call(refersTo, value);
    } else if constexpr (IsList<Plain>::value) {
        for (auto& element : value)
            ForEachReference(element, refersTo, call);
    } else if constexpr (HasFields<Plain>) {
        ForEachReferenceIn(value, call);
    }
}

template <class Value>
void VisitValue(const Value& value, unsigned int refersTo, FieldVisitor& visitor) {
    if constexpr (std::same_as<Value, bool>) {
        visitor.Boolean(value);
    } else if constexpr (std::same_as<Value, short>) {
        visitor.Reference(refersTo, value);
    } else if constexpr (std::same_as<Value, int>) {
        visitor.Integer(value);
    } else if constexpr (std::same_as<Value, double>) {
        visitor.Real(value);
    } else if constexpr (std::same_as<Value, Kest::UniString>) {
        visitor.Text(value);
    } else if constexpr (IsOptional<Value>::value) {
        value ? VisitValue(*value, refersTo, visitor) : visitor.Absent();
    } else if constexpr (IsList<Value>::value) {
        visitor.BeginList();
        for (const auto& element : value)
            VisitValue(element, refersTo, visitor);
        visitor.End();
    } else {
        static_assert(HasFields<Value>, "a field cannot have this type");
        visitor.BeginRecord();
        ForEachField<Value>([&](const auto& field) { VisitValue(value.*field.member, field.refersTo, visitor); });
        visitor.End();
    }
}

/// Adds the ref ids that \p Owner's fields refer to, those of records in lists too.
template <class Owner>
void CollectReferredKinds(std::vector<unsigned int>& refIds) {
    ForEachField<Owner>([&refIds]<class FieldOwner, class Value>(const Field<FieldOwner, Value>& field) {
        if (field.refersTo != 0)
            refIds.push_back(field.refersTo);
        if constexpr (IsList<Value>::value)
            if constexpr (HasFields<typename Value::value_type>)
                CollectReferredKinds<typename Value::value_type>(refIds);
    });
}

}   // namespace Detail

/// Calls \p call(refId, index) with every index of another attribute that \p fields hold, zeros too. Through a \p
/// fields that is not const the indexes may be changed.
template <class Owner, class Call>
void ForEachReference(Owner& fields, Call&& call) {
    Detail::ForEachReferenceIn(fields, call);
}

/// Hands the fields to \p visitor.
template <HasFields Owner>
void VisitFields(const Owner& fields, FieldVisitor& visitor) {
    ForEachField<Owner>([&](const auto& field) {
        visitor.BeginField(field.name, field.isDetail);
        Detail::VisitValue(fields.*field.member, field.refersTo, visitor);
    });
}

/// The ref ids of the kinds that attributes with the fields of \p Owner can refer to.
template <HasFields Owner>
std::vector<unsigned int> GetReferredKinds() {
    std::vector<unsigned int> refIds;
    Detail::CollectReferredKinds<Owner>(refIds);
    return refIds;
}

}   // namespace Host
