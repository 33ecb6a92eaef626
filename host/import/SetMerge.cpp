#include "SetMerge.hpp"

#include "NewIndexTable.hpp"
#include "SameContent.hpp"
#include "Session.hpp"
#include "kinds/FieldText.hpp"
#include "kinds/KindTable.hpp"
#include "readers/ReadError.hpp"

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>

#include <Kest/UniqueName.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

namespace {

using ADB::GeneralAttribute;

// The attributes of one type with a numbered name, by stem and content.
class NumberedAttributes {
public:
    NumberedAttributes(const ODB::ConstRef<ADB::AttributeSet>& set, short typeId) {
        set->EnumerateConstAttributes(typeId, [this](const ODB::ConstRef<GeneralAttribute>& attribute) {
            if (Kest::NumberedName(attribute->GetName()).GetNumber() != 0)
                Add(*attribute);
        });
    }

    void Add(const GeneralAttribute& attribute) { indexes.emplace(KeyOf(attribute), attribute.GetIndex()); }

    // The index of an attribute that may have the content of \p attribute, 0 without one.
    short Find(const GeneralAttribute& attribute) const {
        const auto found = indexes.find(KeyOf(attribute));
        return found != indexes.end() ? found->second : short{0};
    }

private:
    static std::u16string KeyOf(const GeneralAttribute& attribute) {
        std::u16string key(Kest::NumberedName(attribute.GetName()).GetStem().ToUpper().GetView());
        const ReferenceText indexText = [](unsigned int, short index) {
            return Kest::UniString::Printf("%d", static_cast<int>(index));
        };
        for (const FieldText& field : GetFieldTexts(dynamic_cast<const KindBase&>(attribute), indexText))
            key.append(1, u'\0').append(field.text);
        return key;
    }

    std::unordered_map<std::u16string, short> indexes;
};

// The merge of one type.
class TypeMerge {
public:
    TypeMerge(const ODB::Ref<ADB::AttributeSet>& targetSet, short mergedTypeId, ImportCounts& importCounts)
        : target(targetSet),
          typeId(mergedTypeId),
          counts(importCounts) {}

    // Returns the index under which `attribute`, whose references are those of the target, is stored now.
    short Place(GeneralAttribute& attribute) {
        const ODB::ConstRef<GeneralAttribute> stored =
            target.GetConst()->GetConstAttribute(typeId, attribute.GetName());
        if (!stored)
            return Store(attribute, counts.added);
        if (!attribute.CheckAttribute() || HasSameContent(attribute, *stored)) {
            ++counts.reused;
            return stored->GetIndex();
        }
        if (!stored->CheckAttribute())
            return Complete(stored->GetIndex(), attribute);
        return PlaceUnderNumberedName(attribute);
    }

private:
    short PlaceUnderNumberedName(GeneralAttribute& attribute) {
        if (!numbered)
            numbered.emplace(target, typeId);
        const short like = numbered->Find(attribute);
        const ODB::ConstRef<GeneralAttribute> found = target.GetConst()->GetConstAttribute(typeId, like);
        if (found && HasSameContent(attribute, *found)) {
            ++counts.reused;
            return like;
        }
        Store(attribute, counts.renamed);
        numbered->Add(attribute);
        return attribute.GetIndex();
    }

    short Complete(short storedIndex, GeneralAttribute& attribute) {
        attribute.SetIndex(storedIndex);
        if (target->PutAttribute(typeId, &attribute, true) != 0)
            throw std::bad_alloc();
        ++counts.completed;
        return storedIndex;
    }

    short Store(GeneralAttribute& attribute, std::size_t& count) {
        if (target.GetConst()->GetAttributeNumber(typeId) >= MostAttributes)
            throw ReadError(0, "with the files before it there are more than " + std::to_string(MostAttributes) +
                                   " attributes of one kind: read fewer files together");
        if (target->NewAttribute(typeId, &attribute, false, true) != 0)
            throw std::bad_alloc();
        ++count;
        return attribute.GetIndex();
    }

    ODB::Ref<ADB::AttributeSet> target;
    short typeId;
    ImportCounts& counts;
    std::optional<NumberedAttributes> numbered;   // made when a name is found taken
};

}   // namespace

ImportCounts MergeSet(const ODB::ConstRef<ADB::AttributeSet>& source, const ODB::Ref<ADB::AttributeSet>& target) {
    const NewIndexTable newIndexes = TakeNewIndexTable(CreateAttributeNewIndexTable());
    ImportCounts counts;
    for (const KindEntry* const kind : GetKindsInReferenceOrder()) {
        const short typeId = TypeIdOf(kind->record.refId);
        TypeMerge merge(target, typeId, counts);
        source->EnumerateConstAttributes(
            typeId, ADB::SortByIndex, ADB::Ascending, [&](const ODB::ConstRef<GeneralAttribute>& attribute) {
                const std::unique_ptr<KindBase> copy(dynamic_cast<const KindBase&>(*attribute).Clone());
                copy->ReindAttr(newIndexes.get());
                if (newIndexes->SetNewIndex(typeId, attribute->GetIndex(), merge.Place(*copy)) != 0)
                    throw std::bad_alloc();
            });
    }
    return counts;
}

}   // namespace Host
