#pragma once

#include <ODB/ICustomXMLRoot.hpp>

#include <ZalUtil/Export.hpp>

namespace ZalUtil {

/// An object of a model that has a form of its own as documents.
class ZALUTIL_API ICustomXMLRootObject : public ODB::ICustomXMLRoot {
public:
    ~ICustomXMLRootObject() override;
};

}   // namespace ZalUtil
