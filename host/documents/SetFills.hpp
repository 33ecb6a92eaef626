#pragma once

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// One of the five fills of a set.
struct SetFill {
    const char* name;
    short (*get)(const ADB::AttributeSet& set);
    void (*put)(const ADB::AttributeSet& set, short index);
};

inline constexpr SetFill SetFills[] = {
    {"solid", [](const ADB::AttributeSet& set) { return set.GetSolidFill(); },
     [](const ADB::AttributeSet& set, short index) { set.SetSolidFill(index); }},
    {"empty", [](const ADB::AttributeSet& set) { return set.GetEmptyFill(); },
     [](const ADB::AttributeSet& set, short index) { set.SetEmptyFill(index); }},
    {"25 %", [](const ADB::AttributeSet& set) { return set.GetPercentFill(ADB::AttributeSet::PercentFill25); },
     [](const ADB::AttributeSet& set, short index) { set.SetPercentFill(ADB::AttributeSet::PercentFill25, index); }},
    {"50 %", [](const ADB::AttributeSet& set) { return set.GetPercentFill(ADB::AttributeSet::PercentFill50); },
     [](const ADB::AttributeSet& set, short index) { set.SetPercentFill(ADB::AttributeSet::PercentFill50, index); }},
    {"75 %", [](const ADB::AttributeSet& set) { return set.GetPercentFill(ADB::AttributeSet::PercentFill75); },
     [](const ADB::AttributeSet& set, short index) { set.SetPercentFill(ADB::AttributeSet::PercentFill75, index); }},
};

}   // namespace Host
