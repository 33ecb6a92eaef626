#pragma once

#include "Field.hpp"

#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <Kest/ChannelStatus.hpp>
#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

/// \file
/// The binary form of fields: the values, in the order of their declaration, each as channels write it. An optional is
/// a bool and, when that is true, the value; a list is a 32-bit count and the elements; a record is its fields.
namespace Host {

namespace Detail {

/// The fewest bytes that a value takes.
template <class Value>
consteval std::size_t LeastSize() {
    if constexpr (std::same_as<Value, bool> || IsOptional<Value>::value) {
        return 1;
    } else if constexpr (std::is_arithmetic_v<Value>) {
        return sizeof(Value);
    } else if constexpr (HasFields<Value>) {
        std::size_t size = 0;
        ForEachField<Value>(
            [&size]<class Owner, class Member>(const Field<Owner, Member>&) { size += LeastSize<Member>(); });
        return size;
    } else {
        return sizeof(std::uint32_t);   // the count of units or of elements
    }
}

template <class Value>
void WriteValue(Kest::OChannel& channel, const Value& value) {
    if constexpr (IsOptional<Value>::value) {
        channel.Write(value.has_value());
        if (value)
            WriteValue(channel, *value);
    } else if constexpr (IsList<Value>::value) {
        if (value.size() > std::numeric_limits<std::uint32_t>::max())
            channel.Fail(Kest::ChannelStatus::TooLarge);
        channel.Write(static_cast<std::uint32_t>(value.size()));
        for (const auto& element : value)
            WriteValue(channel, element);
    } else if constexpr (HasFields<Value>) {
        ForEachField<Value>([&](const auto& field) { WriteValue(channel, value.*field.member); });
    } else {
        channel.Write(value);
    }
}

template <class Value>
void ReadValue(Kest::IChannel& channel, Value& value) {
    if constexpr (IsOptional<Value>::value) {
        bool isThere = false;
        channel.Read(isThere);
        value.reset();
        if (isThere)
            ReadValue(channel, value.emplace());
    } else if constexpr (IsList<Value>::value) {
        std::uint32_t count = 0;
        channel.ReadCount(count, LeastSize<typename Value::value_type>());
        value.clear();
        value.resize(count);   // stays empty when the channel has failed
        for (auto& element : value)
            ReadValue(channel, element);
    } else if constexpr (HasFields<Value>) {
        ForEachField<Value>([&](const auto& field) { ReadValue(channel, value.*field.member); });
    } else {
        channel.Read(value);
        if constexpr (std::same_as<Value, double>)
            if (!std::isfinite(value))
                channel.Fail(Kest::ChannelStatus::Damaged);
    }
}

}   // namespace Detail

/// Writes all fields of \p fields. \returns the channel's status
template <HasFields Owner>
int WriteFields(Kest::OChannel& channel, const Owner& fields) {
    Detail::WriteValue(channel, fields);
    return channel.GetStatus();
}

/// Reads what that wrote; \p fields is of no use when the channel fails. \returns the channel's status
/// \throws std::bad_alloc
template <HasFields Owner>
int ReadFields(Kest::IChannel& channel, Owner& fields) {
    Detail::ReadValue(channel, fields);
    return channel.GetStatus();
}

}   // namespace Host
