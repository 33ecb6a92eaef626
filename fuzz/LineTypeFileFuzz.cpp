// The reader of line-type files.
#include "readers/LineTypeFileReader.hpp"
#include "readers/ReadError.hpp"

#include "FuzzTarget.hpp"

namespace Fuzz {
namespace {

void Run(Bytes bytes) {
    try {
        Host::ReadLineTypeFile(Input(bytes).TakeRest());
    } catch (const Host::ReadError&) {   // how it refuses
    }
}

const Registration registration("LineTypeFile", Run);

}   // namespace
}   // namespace Fuzz
