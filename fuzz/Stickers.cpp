#include "Stickers.hpp"

#include <Kest/ClassManager.hpp>
#include <Kest/MemoryHandle.hpp>

#include <AttributeManager/AttributeManager.hpp>

namespace Fuzz {
namespace {

const Kest::ClassRegistration<Sticker> registration;

void SetData(Sticker& sticker, unsigned int owner, const char* data, std::int64_t size) {
    char** handle = BMPtrToHandle(data, size);
    sticker.SetUserData(owner, 7, 0x5757, 3, 1, handle);
    BMKillHandle(&handle);
}

}   // namespace

const Kest::ClassInfo* Sticker::GetClassInfoStatic() {
    static const Kest::ClassInfo info("Fuzz::Sticker", Kest::Guid("{9A0C5B0E-4B57-4C4E-8F0D-77C2C1B8E501}"),
                                      Kest::ClassVersion(1, 0), GeneralAttribute::GetClassInfoStatic(), {},
                                      []() -> Kest::Object* { return new Sticker; });
    return &info;
}

void Fill(Sticker& sticker, const char* name, short index) {
    sticker.SetName(name);
    sticker.SetIndex(index);
    sticker.SetFlags(0x0141);
    sticker.SetModificationTime(700000000 + index);
    SetData(sticker, 1, "forty bytes of somebody else's user data", 40);
    SetData(sticker, 2, "", 0);
}

Session::Session() : kinds(CreateAttributeRegister()) {
    kinds->RegisterAttributeType(Sticker::RefId, {1, 2}, Sticker::GetClassInfoStatic()->GetId(),
                                 Kest::Guid("{9A0C5B0E-4B57-4C4E-8F0D-77C2C1B8E502}"), u"Stickers",
                                 LumCB::PermissionID::None, LumCB::PermissionID::None, 0);
    set = InitAttributeSetContainer(kinds, nullptr);
    Require(bool(set), "there is no set");
}

Session::~Session() {
    FreeAttributeSetContainer();
    DisposeAttributeRegister(&kinds);
}

void Session::AddStickers() {
    for (const char* const name : {"Wall", "Roof", "\xD0\xA1\xD1\x82\xD0\xB5\xD0\xBD\xD0\xB0", "A"}) {
        Sticker sticker;
        Fill(sticker, name, static_cast<short>(10 + *name % 7));
        GetContainer()->NewAttribute(ODB::ConstRef<ADB::GeneralAttribute>(&sticker), true, false);
    }
    GetContainer()->SetActiveAttribute(GetContainer()->GetAttribute(u"Roof"));
}

}   // namespace Fuzz
