// The shortest useful host: announce a kind, make the set, add attributes, save and load them, walk them by name.
#include <iostream>

#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeSetStore.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

namespace {

const Kest::Guid LayerGuid("{6A1E2B0C-5D3F-4B8A-9C27-81F0E4D6A953}");
const Kest::Guid LayersGuid("{F2C8D4E1-0B96-4A75-8E3D-57B1A9C60F28}");

class Layer : public ADB::GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x4C415952;   // 'LAYR'

    explicit Layer(const Kest::UniString& layerName) : GeneralAttribute(&Info) { SetName(layerName); }
    unsigned int GetAttributeTypeId() const override { return RefId; }
    Kest::Object* Clone() const override { return new Layer(*this); }

    static const Kest::ClassInfo Info;   // by this the library makes layers that it reads
};

const Kest::ClassInfo Layer::Info("Layer", LayerGuid, {1, 0}, ADB::GeneralAttribute::GetClassInfoStatic(), {},
                                  []() -> Kest::Object* { return new Layer({}); });

}   // namespace

int main() {
    ADB::IAttributeRegister* kinds = CreateAttributeRegister();
    const short layers = kinds->RegisterAttributeType(Layer::RefId, ZalUtil::Owner(), LayerGuid, LayersGuid, u"Layers",
                                                      LumCB::PermissionID::None, LumCB::PermissionID::None, 0);
    const ODB::Ref<ADB::AttributeSet> set = InitAttributeSetContainer(kinds, nullptr);

    for (const char16_t* name : {u"Wall", u"Roof", u"wall"}) {   // the second wall becomes "wall (1)"
        Layer layer(name);
        if (set->NewAttribute(layers, &layer, false, true) != 0)
            return 1;
    }

    ADB::AttributeSetStore store;   // the set as bytes, for a file or for later
    if (store.Update(set, 0) != 0 || set->Clear() != 0 || store.Load(set) != 0)
        return 1;

    set->EnumerateConstAttributes(layers, ADB::SortByName, ADB::Ascending,
                                  [](const ODB::ConstRef<ADB::GeneralAttribute>& layer) {
                                      std::cout << layer->GetIndex() << ' ' << layer->GetName().ToCStr() << '\n';
                                  });

    FreeAttributeSetContainer();
    DisposeAttributeRegister(&kinds);
}
