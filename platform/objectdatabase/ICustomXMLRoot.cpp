#include <ODB/ICustomXMLRoot.hpp>

namespace ODB {

ICustomXMLRoot::~ICustomXMLRoot() = default;

}   // namespace ODB
