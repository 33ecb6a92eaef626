#include <ZalUtil/ICustomXMLRootObject.hpp>

namespace ZalUtil {

ICustomXMLRootObject::~ICustomXMLRootObject() = default;

}   // namespace ZalUtil
