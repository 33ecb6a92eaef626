#pragma once

#include <unordered_map>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

/// An attribute and the one whose key it is to get.
struct KeyPair {
    ODB::Ref<ADB::GeneralAttribute> from;
    ODB::Ref<ADB::GeneralAttribute> to;
};

/// Gives each pair's `to` the key of its `from`, unless an attribute has it that keeps it. What is in the way of one
/// may be another's `to`: it goes first, and of those that want each other's keys in a circle one steps aside
/// meanwhile.
/// \param getKey  the key of an attribute
/// \param find  the attribute that has a key; null without one
/// \param setKey  gives a `to` a key that is free
/// \param getPassing  a free key for a `to` that steps aside, from the one that it has
template <class GetKey, class Find, class SetKey, class GetPassing>
void TakeKeys(const std::vector<KeyPair>& pairs, GetKey&& getKey, Find&& find, SetKey&& setKey,
              GetPassing&& getPassing) {
    std::unordered_map<const ADB::GeneralAttribute*, const KeyPair*> waiting;
    for (const KeyPair& pair : pairs)
        waiting.emplace(pair.to.GetConst(), &pair);
    for (const KeyPair& first : pairs) {
        std::vector<const KeyPair*> way;
        const ADB::GeneralAttribute* next = first.to.GetConst();
        for (auto pair = waiting.find(next); pair != waiting.end(); pair = waiting.find(next)) {
            way.push_back(pair->second);
            waiting.erase(pair);
            const ADB::GeneralAttribute* const holder = find(getKey(*way.back()->from.GetConst()));
            next = holder != way.back()->to.GetConst() ? holder : nullptr;
        }
        if (way.empty())
            continue;
        const ODB::Ref<ADB::GeneralAttribute>& start = way.front()->to;
        if (next == start.GetConst())
            setKey(start, getPassing(getKey(*start.GetConst())));
        else if (next != nullptr)
            continue;   // it keeps the key
        for (; !way.empty(); way.pop_back())
            setKey(way.back()->to, getKey(*way.back()->from.GetConst()));
    }
}

}   // namespace Host
