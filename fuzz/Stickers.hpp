#pragma once

#include <cstddef>
#include <string>

#include <Kest/MemoryChannels.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

#include "FuzzTarget.hpp"

namespace Fuzz {

/// The smallest kind: nothing but the general part.
class Sticker final : public ADB::GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x53544943;   // 'STIC'

    Sticker() : GeneralAttribute(GetClassInfoStatic()) {}
    static const Kest::ClassInfo* GetClassInfoStatic();
    unsigned int GetAttributeTypeId() const override { return RefId; }
    Sticker* Clone() const override { return new Sticker(*this); }

    /// Takes the content of \p other.
    using GeneralAttribute::Copy;
};

/// A sticker with user data of two owners.
void Fill(Sticker& sticker, const char* name, short index);

/// The library in use, with stickers as its only kind and an empty current set, for the length of one run.
class Session {
public:
    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const ODB::Ref<ADB::AttributeSet>& GetSet() const noexcept { return set; }
    ODB::Ref<ADB::AttributeContainer> GetContainer() const { return set->GetAttributeContainer(1); }

    /// Puts four stickers into the set, one of them active.
    void AddStickers();

private:
    ADB::IAttributeRegister* kinds;
    ODB::Ref<ADB::AttributeSet> set;
};

/// What \p write writes.
template <class Write>
std::string Record(Write&& write) {
    Kest::MemoryOChannel channel;
    Fuzz::Require(write(channel) == 0, "a writer failed");
    return std::string(channel.GetBytes(), channel.GetSize());
}

}   // namespace Fuzz
