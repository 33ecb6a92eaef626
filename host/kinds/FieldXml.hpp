#pragma once

#include "Field.hpp"

#include <cmath>
#include <concepts>

#include <Kest/ChannelStatus.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>
#include <Kest/XMLTag.hpp>

/// \file
/// The XML form of fields: an element for each, named as the field is, in the order of their declaration. An optional
/// without a value has no element; the elements of a list are "Item"; in one that is a record stand the elements of its
/// fields.
namespace Host {

namespace Detail {

inline constexpr Kest::XMLName ItemName = "Item";

template <class Owner>
bool ReadFieldElements(Kest::XMLIChannel& channel, Owner& owner);

template <class Value>
void WriteElement(Kest::XMLOChannel& channel, Kest::XMLName name, const Value& value) {
    if constexpr (IsOptional<Value>::value) {
        if (value)
            WriteElement(channel, name, *value);
    } else if constexpr (IsList<Value>::value) {
        const Kest::XMLTag tag(channel, name);
        for (const auto& element : value)
            WriteElement(channel, ItemName, element);
    } else if constexpr (HasFields<Value>) {
        const Kest::XMLTag tag(channel, name);
        ForEachField<Value>([&](const auto& field) { WriteElement(channel, field.name, value.*field.member); });
    } else {
        channel.Write(name, value);
    }
}

// Reads the next element, which has that name. Returns whether all of it was known.
template <class Value>
bool ReadElement(Kest::XMLIChannel& channel, Kest::XMLName name, Value& value) {
    bool knowsAll = true;
    if constexpr (IsOptional<Value>::value) {
        knowsAll = ReadElement(channel, name, value.emplace());
    } else if constexpr (IsList<Value>::value) {
        const Kest::XMLITag tag(channel, name);
        value.clear();
        while (channel.IsNextStartTag()) {
            const bool isItem = channel.IsNextTag(ItemName);
            knowsAll &= isItem && ReadElement(channel, ItemName, value.emplace_back());
            if (!isItem)
                channel.SkipElement();
        }
    } else if constexpr (HasFields<Value>) {
        const Kest::XMLITag tag(channel, name);
        knowsAll = ReadFieldElements(channel, value);
    } else {
        channel.Read(name, value);
        if constexpr (std::same_as<Value, double>)
            if (!std::isfinite(value))
                channel.Fail(Kest::ChannelStatus::Damaged, "a field is no finite number");
    }
    return knowsAll;
}

// In documents of our own one pass over the fields meets every element.
template <class Owner>
bool ReadFieldElements(Kest::XMLIChannel& channel, Owner& owner) {
    bool knowsAll = true;
    while (channel.IsNextStartTag()) {
        bool isKnown = false;
        ForEachField<Owner>([&](const auto& field) {
            if (!channel.IsNextTag(field.name))
                return;
            knowsAll &= ReadElement(channel, field.name, owner.*field.member);
            isKnown = true;
        });
        if (!isKnown)
            channel.SkipElement();
        knowsAll &= isKnown;
    }
    return knowsAll;
}

}   // namespace Detail

/// Writes all fields of \p fields into the open element. \returns the channel's status
template <HasFields Owner>
int WriteFieldsXml(Kest::XMLOChannel& channel, const Owner& fields) {
    ForEachField<Owner>([&](const auto& field) { Detail::WriteElement(channel, field.name, fields.*field.member); });
    return channel.GetStatus();
}

/// Reads the rest of the open element. A field without an element keeps its value; elements that no field has are
/// passed over, and \p knowsAll tells that there were some. \p fields is of no use when the channel fails.
/// \returns the channel's status \throws std::bad_alloc
template <HasFields Owner>
int ReadFieldsXml(Kest::XMLIChannel& channel, Owner& fields, bool& knowsAll) {
    knowsAll = Detail::ReadFieldElements(channel, fields);
    return channel.GetStatus();
}

}   // namespace Host
