#pragma once

namespace ODB {

// What operations return. Hosts know the numbers: they never change.
inline constexpr int MemoryFull = -108;
inline constexpr int NullArgument = -7001;
inline constexpr int WrongCall = -7003;

}   // namespace ODB
