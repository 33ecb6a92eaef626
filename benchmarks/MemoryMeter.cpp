#include "MemoryMeter.hpp"

#include <malloc.h>

namespace Bench {
namespace {

std::size_t TakenBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

}   // namespace

MemoryMeter::MemoryMeter() : before(TakenBytes()) {}

std::size_t MemoryMeter::GetBytes() const {
    const std::size_t now = TakenBytes();
    return now > before ? now - before : 0;
}

}   // namespace Bench
