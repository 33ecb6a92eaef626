// The reader of drawings in the text form of DXF.
#include "readers/DxfReader.hpp"
#include "readers/ReadError.hpp"

#include "FuzzTarget.hpp"

namespace Fuzz {
namespace {

void Run(Bytes bytes) {
    try {
        Host::ReadDxf(Input(bytes).TakeRest());
    } catch (const Host::ReadError&) {   // how it refuses
    }
}

const Registration registration("Dxf", Run);

}   // namespace
}   // namespace Fuzz
