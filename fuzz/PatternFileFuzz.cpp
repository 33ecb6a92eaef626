// The reader of hatch-pattern files.
#include "readers/PatternFileReader.hpp"
#include "readers/ReadError.hpp"

#include "FuzzTarget.hpp"

namespace Fuzz {
namespace {

void Run(Bytes bytes) {
    try {
        Host::ReadPatternFile(Input(bytes).TakeRest());
    } catch (const Host::ReadError&) {   // how it refuses
    }
}

const Registration registration("PatternFile", Run);

}   // namespace
}   // namespace Fuzz
