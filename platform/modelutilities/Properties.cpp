#include <ZalUtil/Properties.hpp>

namespace ZalUtil {

constinit const Kest::ClassProperty CustomXMLRootObject("ZalUtil::CustomXMLRootObject");

}   // namespace ZalUtil
