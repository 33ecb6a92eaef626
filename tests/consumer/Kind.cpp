#include "Kind.hpp"

#include <AttributeManager/AttributeMemoryFullException.hpp>
#include <AttributeManager/GeneralAttribute.hpp>

namespace {

class Sticker : public ADB::GeneralAttribute {
public:
    Sticker() : GeneralAttribute(GetClassInfoStatic()) {}

    static Kest::Object* Make() { return new Sticker; }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Consumer::Sticker", Kest::Guid("{3B7C0A52-9F0E-4C0D-8E43-0D7A2C51B6F4}"),
                                          Kest::ClassVersion(1, 0), ADB::GeneralAttribute::GetClassInfoStatic(), {},
                                          Make);
        return &info;
    }

    unsigned int GetAttributeTypeId() const override { return Consumer::StickerRefId; }
    Kest::Object* Clone() const override { return new Sticker(*this); }
};

}   // namespace

extern "C" {

[[gnu::visibility("default")]] ADB::GeneralAttribute* MakeKind() {
    return new Sticker;
}

[[gnu::visibility("default")]] void ThrowMemoryFull() {
    throw ADB::AttributeMemoryFullException(static_cast<const char*>(nullptr), nullptr, 0);
}

[[gnu::visibility("default")]] int CatchMemoryFull(Consumer::ThrowFunction thrower) {
    try {
        thrower();
    } catch (const ADB::AttributeManagerException& exception) {
        return exception.GetErrorCode();
    }
    return 0;
}

}   // extern "C"
