#include "Kind.hpp"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/AttributeMemoryFullException.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

namespace {

int failures = 0;

void Expect(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    ++failures;
}

// Only names and numbers tie us to the plug-in; it stays loaded, since the database keeps what its kind made.
template <typename Function>
Function Load(void* plugIn, const char* name) {
    void* const address = dlsym(plugIn, name);
    Function function = nullptr;
    static_assert(sizeof function == sizeof address);
    std::memcpy(&function, &address, sizeof function);
    return function;
}

void StoreKind(Consumer::MakeFunction make) {
    ADB::IAttributeRegister* kinds = CreateAttributeRegister();
    const Kest::Guid typeGuid("{3B7C0A52-9F0E-4C0D-8E43-0D7A2C51B6F4}");
    const Kest::Guid containerGuid("{A4D2F9C8-7B51-4E0A-9D3E-6C1F0B8E2D75}");
    const short stickers =
        kinds->RegisterAttributeType(Consumer::StickerRefId, ZalUtil::Owner(), typeGuid, containerGuid, u"Stickers",
                                     LumCB::PermissionID::None, LumCB::PermissionID::None, 0);
    const ODB::Ref<ADB::AttributeSet> set = InitAttributeSetContainer(kinds, nullptr);

    const std::unique_ptr<ADB::GeneralAttribute> sticker(make());
    Expect(sticker->SetName(u"Fragile") == 0, "an attribute on its own takes any name");
    Expect(set->NewAttribute(stickers, sticker.get(), false, true) == 0, "a set stores a kind from elsewhere");
    const auto found = set->GetConstAttribute(stickers, Kest::UniString(u"FRAGILE"));
    Expect(found && found->GetIndex() == 1, "the stored attribute is found in any letter case");
    Expect(found && std::strcmp(found->GetClassInfo()->GetName(), "Consumer::Sticker") == 0, "it keeps its class");

    FreeAttributeSetContainer();
    DisposeAttributeRegister(&kinds);
}

void CatchAcross(Consumer::ThrowFunction throwThere, Consumer::CatchFunction catchThere) {
    try {
        throwThere();
        Expect(false, "the plug-in throws");
    } catch (const ADB::AttributeMemoryFullException& exception) {
        Expect(exception.GetErrorCode() == -108, "an exception from the plug-in keeps its code");
    }
    try {
        throwThere();
    } catch (const std::bad_alloc& exception) {
        Expect(dynamic_cast<const ADB::AttributeMemoryFullException*>(&exception) != nullptr,
               "as the standard exception it keeps its type");
    }
    const auto throwHere = [] {
        throw ADB::AttributeMemoryFullException(static_cast<const char*>(nullptr), nullptr, 0);
    };
    Expect(catchThere(throwHere) == -108, "the plug-in catches ours");
}

}   // namespace

int main(int argumentCount, char** arguments) {
    void* const plugIn = argumentCount == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (plugIn == nullptr) {
        std::fprintf(stderr, "usage: %s PLUG-IN (%s)\n", arguments[0], argumentCount == 2 ? dlerror() : "no file");
        return 2;
    }
    StoreKind(Load<Consumer::MakeFunction>(plugIn, "MakeKind"));
    CatchAcross(Load<Consumer::ThrowFunction>(plugIn, "ThrowMemoryFull"),
                Load<Consumer::CatchFunction>(plugIn, "CatchMemoryFull"));
    return failures == 0 ? 0 : 1;
}
