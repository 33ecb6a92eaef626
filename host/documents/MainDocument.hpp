#pragma once

#include <Kest/Guid.hpp>

#include <IO/Location.hpp>

namespace Host {

/// What the main document of a folder is, as a reader of the folder finds it: behind an interrupted save, the new one.
struct MainDocument {
    bool isOfStore = false;   ///< else it is that of a set, or cannot be read
    Kest::Guid setId{};       ///< the id of the set; null when it is none's, or cannot be read
};

/// File name of the main document.
inline constexpr char16_t MainDocumentName[] = u"Attribute.xml";

/// \throws std::bad_alloc
MainDocument LookAtMainDocument(const IO::Location& folder);

}   // namespace Host
