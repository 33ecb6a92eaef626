#pragma once

/// \file
/// Relocatable memory blocks and byte helpers, in the manner of C.
///
/// A handle points to a pointer to the block: resizing may move the block, never the handle. A handle remembers its
/// size. Whoever gets a handle owns it and frees it with BMKillHandle. In builds with assertions a handle that is
/// freed twice or was never made here stops the program.

#include <Kest/Export.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// How a handle is made; combine with `|`.
enum : unsigned {
    BMZeroFilled = 1,   ///< all bytes are zero, also those that a later BMReallocHandle adds
    BMPlain = 2,        ///< nothing particular: the bytes are not set
};

/// A new handle of \p size bytes, made with \p flags (BMZeroFilled, BMPlain), or null when there is no memory, or when
/// the size is negative or beyond reason (64 GiB); BMError() then is -108. A size of 0 makes a block without bytes.
KEST_API char** BMAllocateHandle(std::int64_t size, unsigned flags);

/// Resizes the block of \p handle to \p size bytes and keeps as much of its content as fits; the block may move.
/// \returns \p handle always. On failure the block is as it was, and BMError() is -108; so it is for a null handle.
KEST_API char** BMReallocHandle(char** handle, std::int64_t size);

/// The size of the block of \p handle in bytes; 0 for null.
KEST_API std::int64_t BMGetHandleSize(char** handle);

/// Frees \p *handle and sets it to null; a null pointer and a null handle are ignored.
KEST_API void BMKillHandle(char*** handle);

/// A new handle with a copy of the \p size bytes at \p source, or null as BMAllocateHandle. \p source may be null when
/// \p size is 0.
KEST_API char** BMPtrToHandle(const char* source, std::int64_t size);

/// The status of the calling thread's last BM operation: 0, or -108 when it was refused.
KEST_API int BMError();

namespace Kest {

/// What may be moved byte by byte and need not be made or destroyed.
template <class T>
concept Trivial = std::is_trivial_v<T>;

}   // namespace Kest

/// The same for handles of other element types, such as the index arrays (`short**`). Sizes are bytes throughout.
template <Kest::Trivial T>
T** BMReallocHandle(T** handle, std::int64_t size) {
    return reinterpret_cast<T**>(BMReallocHandle(reinterpret_cast<char**>(handle), size));
}

template <Kest::Trivial T>
std::int64_t BMGetHandleSize(T** handle) {
    return BMGetHandleSize(reinterpret_cast<char**>(handle));
}

template <Kest::Trivial T>
void BMKillHandle(T*** handle) {
    if (handle == nullptr)
        return;
    char** bytes = reinterpret_cast<char**>(*handle);
    BMKillHandle(&bytes);
    *handle = nullptr;
}

/// Copies \p size bytes between blocks that do not overlap. Here and below: null is allowed when \p size is 0.
KEST_API void BNCopyMemory(void* target, const void* source, std::size_t size);

/// Copies \p size bytes between blocks that may overlap.
KEST_API void BNMoveMemory(void* target, const void* source, std::size_t size);

/// Compares \p size bytes as unsigned numbers. \returns -1, 0 or 1.
KEST_API int BNCompareMemory(const void* left, const void* right, std::size_t size);

/// Sets \p size bytes to \p value.
KEST_API void BNFillMemory(void* target, std::size_t size, unsigned char value);
