#include <ODB/IsolatedStateIO.hpp>

namespace ODB {

IsolatedStateIO::~IsolatedStateIO() = default;

}   // namespace ODB
