#pragma once

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include <Kest/ClassInfo.hpp>
#include <Kest/ClassVersion.hpp>

/// Which class versions a system of each version reads and writes. Numbers are fixed for ever.
namespace ADB::StreamVersions {

struct Row {
    Kest::ClassInfo::SystemVersion system;
    Kest::ClassVersion set;
    Kest::ClassVersion container;
    Kest::ClassVersion attribute;
};

inline constexpr Row Rows[] = {
    {4, {4, 0}, {3, 0}, {4, 0}},
    {3, {3, 0}, {2, 0}, {3, 1}},
    {2, {2, 0}, {2, 0}, {2, 0}},
    {1, {1, 0}, {1, 0}, {1, 0}},
};

/// Today's system, which is also meant by system version 0.
inline constexpr Row Today = Rows[0];

/// What the class of \p Column writes for systems before today's, for its Kest::ClassInfo.
template <Kest::ClassVersion Row::*Column>
inline constexpr std::initializer_list<Kest::ClassInfo::OlderVersion> Older = {
    {Rows[1].system, Rows[1].*Column},
    {Rows[2].system, Rows[2].*Column},
    {Rows[3].system, Rows[3].*Column},
};

// From 2.1 on a container holds its attributes as isolated states, which those below 4 leave empty.
static_assert(std::all_of(std::begin(Rows), std::end(Rows), [](const Row& row) {
    return row.container < Kest::ClassVersion(2, 1) || row.attribute >= Kest::ClassVersion(4, 0);
}));

}   // namespace ADB::StreamVersions
