#pragma once

#include <ZalUtil/Export.hpp>

namespace ZalUtil {

/// An object that has a form of its own as documents.
class ZALUTIL_API ICustomXMLRootObject {
public:
    virtual ~ICustomXMLRootObject() = default;
};

}   // namespace ZalUtil
