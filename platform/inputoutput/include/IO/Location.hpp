#pragma once

#include <cstdint>
#include <string>

#include <Kest/Hash.hpp>
#include <Kest/UniString.hpp>

#include <IO/Export.hpp>

namespace IO {

/// A place in the file system: a path of names, absolute or relative to the working folder. Nothing is looked up: the
/// place need not exist.
///
/// Names are separated by "/"; on Windows "\" separates too. Repeated and trailing separators are dropped.
class IO_API Location {
public:
    /// No place.
    Location() noexcept = default;
    explicit Location(const Kest::UniString& pathText);

    bool IsEmpty() const noexcept { return path.IsEmpty(); }
    const Kest::UniString& GetPath() const noexcept { return path; }

    /// The path in UTF-8, as the operating system takes it; a lone surrogate becomes U+FFFD.
    std::string ToUtf8() const { return path.ToCStr(); }

    /// Goes down to \p name.
    /// \returns 0, or -7003 with nothing changed when \p name is no plain name: empty, "." or "..", or with a separator
    /// or a zero in it
    int AppendToLocal(const Kest::UniString& name);

    /// Goes up by one name. \returns 0, or -7003 with nothing changed when there is no name to go up from
    int DeleteLastLocalName();

    /// The last name of the path; empty for no place and for a root.
    Kest::UniString GetLastLocalName() const;

    friend bool operator==(const Location&, const Location&) noexcept = default;

private:
    Kest::UniString path;
};

}   // namespace IO

template <>
struct Kest::Hash<IO::Location> {
    std::uint64_t operator()(const IO::Location& location) const noexcept {
        return Kest::Hash<Kest::UniString>()(location.GetPath());
    }
};
