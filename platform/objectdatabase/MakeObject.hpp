#pragma once

#include <memory>

#include <Kest/ClassInfo.hpp>

#include <ODB/Object.hpp>

namespace ODB {

/// A new, empty object of the class; null when the class has no factory or is none of the database.
inline std::unique_ptr<Object> MakeObject(const Kest::ClassInfo& classInfo) {
    std::unique_ptr<Kest::Object> made(classInfo.CreateObject());
    auto* const object = dynamic_cast<Object*>(made.get());
    if (object != nullptr)
        made.release();
    return std::unique_ptr<Object>(object);
}

}   // namespace ODB
