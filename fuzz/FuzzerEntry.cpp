#include "FuzzTarget.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Fuzz::GetTargets().front().run({bytes, size});   // what it throws ends the run as a finding
    return 0;
}
