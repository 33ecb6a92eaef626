#pragma once

#include <Kest/ClassProperty.hpp>

#include <ZalUtil/Export.hpp>

namespace ZalUtil {

/// Objects of the class are written as documents of their own, see ICustomXMLRootObject.
extern ZALUTIL_API const Kest::ClassProperty CustomXMLRootObject;

}   // namespace ZalUtil
