#pragma once

#include <cstddef>
#include <cstdint>

#include <Kest/Object.hpp>

#include <ZalUtil/Export.hpp>
#include <ZalUtil/Owner.hpp>

namespace Kest {

class XMLOChannel;

}   // namespace Kest

namespace ZalUtil {

/// Data of others that an object carries as one block of bytes.
///
/// The block is counted and shared by copies; it never changes: whoever changes the data takes a new block. No data and
/// data of 0 bytes are the same, and all empty ones are the same storage.
class ZALUTIL_API KestMemoData : public Kest::Object {
public:
    ~KestMemoData() override;
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    /// The number of blocks, 1 for every memo of this house.
    virtual short GetNParts() const;
    /// The four-character code that marks the kind of data; 0 here.
    virtual unsigned int GetSignal() const;
    /// Looks for damage in the data. Nothing is checked here.
    virtual MemoCheckResult Check() const;

    /// Lets go of the data.
    virtual void Delete() noexcept;

    /// Writes the data as elements of the open element. Nothing here. \returns 0, or a code of the channel
    virtual int WriteXML(Kest::XMLOChannel& channel) const;

    bool IsEmpty() const noexcept { return block == nullptr; }
    /// In bytes.
    std::size_t GetSize() const noexcept;
    /// The bytes in place, null when empty.
    const char* GetBytes() const noexcept;

    /// Takes a copy of \p size bytes, which may be part of the present data, in their place; 0 bytes are no data.
    /// \returns 0, or -108 with nothing changed
    int PutData(const char* bytes, std::int64_t size);

    /// Whether both refer to one block; two empty ones do.
    bool IsSameStorage(const KestMemoData& other) const noexcept { return block == other.block; }

protected:
    KestMemoData() noexcept = default;
    KestMemoData(const KestMemoData& other) noexcept;
    KestMemoData& operator=(const KestMemoData& other) noexcept;

private:
    struct Block;

    static Block* Share(Block* shared) noexcept;
    static void Release(Block* released) noexcept;

    Block* block = nullptr;
};

}   // namespace ZalUtil
