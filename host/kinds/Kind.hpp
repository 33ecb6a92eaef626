#pragma once

#include "Field.hpp"
#include "FieldStream.hpp"
#include "FieldXml.hpp"

#include <concepts>
#include <cstddef>
#include <functional>
#include <new>
#include <utility>

#include <Kest/ClassInfo.hpp>
#include <Kest/Frames.hpp>
#include <Kest/Guid.hpp>

#include <ODB/Properties.hpp>
#include <ODB/Ref.hpp>

#include <Lum/Properties.hpp>

#include <ZalUtil/FieldMask.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/IAttributeNewIndexTable.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/IUsedAttrCollection.hpp>
#include <AttributeManager/ReadReport.hpp>

/// \file
/// How a kind of attribute is made. It is a struct of fields and a class:
///
///     struct StickerFields {
///         Kest::UniString text;
///         double width = 10;   ///< in mm
///         short fill = 0;      ///< what is behind the text
///
///         static constexpr auto Fields() {
///             return std::tuple(Field(1, "text", &StickerFields::text), Field(2, "width", &StickerFields::width),
///                               Field(3, "fill", &StickerFields::fill, Fill::Record.refId));
///         }
///         bool operator==(const StickerFields&) const = default;
///     };
///
///     class Sticker final : public Kind<Sticker, StickerFields> {
///     public:
///         static constexpr KindRecord Record{"Host::Sticker", "Sticker", "Stickers", FourCharacters("STIK"),
///                                            "{...}", "{...}"};   // two fresh GUIDs
///     };
///
/// and a place in AllKinds (AllKinds.hpp). That is all: comparing, copying, isolated states, streams, XML, references
/// and reindexing follow from the declaration of the fields, and so does everything that shows fields. Numbers, names,
/// ref id and GUIDs stand in documents: once a kind is out they never change, and what is retired is never used again.
/// Nor does the order of the fields change, which is that of streams.
///
/// An attribute is read through `sticker.Get().width` and changed through `sticker.Set<&StickerFields::width>(12)`.
namespace Host {

/// The identity of a kind.
struct KindRecord {
    const char* className;     ///< the qualified name of its class
    const char* name;          ///< one such attribute, in one word: "LineType"
    const char* typeName;      ///< all of them, for the user: "Line Types"
    unsigned int refId;        ///< four characters, see FourCharacters
    const char* classId;       ///< GUID of the class record, which is the type GUID in the register
    const char* containerId;   ///< GUID of the container in sets that are made with registered GUIDs
};

/// What can be asked of an attribute of any kind of this host.
class KindBase : public ADB::GeneralAttribute {
public:
    KindBase* Clone() const override = 0;

    /// The fields of the kind, without name, index, flags and time.
    virtual void VisitFields(FieldVisitor& visitor) const = 0;

    /// Calls \p call with the name of each of these fields that differs in \p other, which is of the same kind.
    virtual void VisitDifferingFields(const KindBase& other, const std::function<void(const char*)>& call) const = 0;

    /// Makes each reference, to attribute `index` of the kind with ref id `refId`, for which \p isGone holds a
    /// reference to none. Announces the fields that change.
    virtual void ClearReferences(const std::function<bool(unsigned int refId, short index)>& isGone) = 0;

protected:
    using GeneralAttribute::GeneralAttribute;
};

/// The base of the kind \p Derived with the fields \p FieldStruct.
template <class Derived, HasFields FieldStruct>
class Kind : public KindBase {
public:
    class IsolatedState : public ADB::GeneralAttribute::IsolatedState {
    public:
        bool ReturnTo(ODB::Object& object) noexcept override {
            auto& attribute = static_cast<Kind&>(object);
            ReturnGeneralPart(attribute);
            attribute.Take(std::move(fields));
            return true;
        }

        FieldStruct fields;
    };

    using FieldsType = FieldStruct;

    Kind() : KindBase(GetClassInfoStatic()) {}

    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info(
            Derived::Record.className, Kest::Guid(Derived::Record.classId), Kest::ClassVersion(1, 0),
            ADB::GeneralAttribute::GetClassInfoStatic(),
            {&Lum::ClientCreatableObject, &Lum::HasLumSpecificData, &Lum::LumClass, &ODB::Pinned},
            []() -> Kest::Object* { return new Derived; });
        return &info;
    }

    unsigned int GetAttributeTypeId() const override { return Derived::Record.refId; }
    KindBase* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }

    const FieldStruct& Get() const noexcept { return fields; }

    /// Gives the field \p Member the value \p value and announces it, unless it has that value already.
    template <auto Member, class Value>
    void Set(Value&& value) {
        if (fields.*Member == value)
            return;
        ODB::ModificationGate gate(*this);
        fields.*Member = std::forward<Value>(value);
        gate.Close();
        this->NotifyObservers(FieldIdOf(FieldNumberOf<FieldStruct, Member>()));
    }

    /// The number \p fieldNumber under the GUID of the kind's class.
    static FieldID FieldIdOf(int fieldNumber) {
        return FieldMask::FieldIdx2FieldId(GetClassInfoStatic()->GetId(), fieldNumber);
    }

    /// \name Streams and documents
    /// The general part in the version asked for, then a frame of the kind's class with its fields; in XML, the general
    /// elements, then those of the fields (see FieldStream.hpp and FieldXml.hpp). When the fields cannot be read, the
    /// general part is as it was too; user data are gone when the general part of a document cannot be read. What
    /// another version of the class has written and we do not know is passed over, and so are elements that no field
    /// has: the read report names them.
    /// @{
    int Read(Kest::IChannel& channel) override {
        return ReadWhole(channel, [this, &channel] { return ADB::GeneralAttribute::Read(channel); });
    }
    int Write(Kest::OChannel& channel) const override {
        return WriteFrame(channel, ADB::GeneralAttribute::Write(channel));
    }
    int ReadIsolatedState(Kest::IChannel& channel) override {
        return ReadWhole(channel, [this, &channel] { return ADB::GeneralAttribute::ReadIsolatedState(channel); });
    }
    int WriteIsolatedState(Kest::OChannel& channel) const override {
        return WriteFrame(channel, ADB::GeneralAttribute::WriteIsolatedState(channel));
    }
    int ReadLumIsolatedState(Kest::IChannel& channel) override {
        return ReadWhole(channel, [this, &channel] { return ADB::GeneralAttribute::ReadLumIsolatedState(channel); });
    }
    int WriteLumIsolatedState(Kest::OChannel& channel) const override {
        return WriteFrame(channel, ADB::GeneralAttribute::WriteLumIsolatedState(channel));
    }
    int ReadXML(Kest::XMLIChannel& channel) override {
        return ReadWhole(channel, [this, &channel] { return ADB::GeneralAttribute::ReadXML(channel); });
    }
    int WriteXML(Kest::XMLOChannel& channel) const override {
        const int status = ADB::GeneralAttribute::WriteXML(channel);
        return status != 0 ? status : WriteFieldsXml(channel, fields);
    }
    int WriteContentForIdGeneration(Kest::OChannel& channel) const override {
        const int status = ADB::GeneralAttribute::WriteContentForIdGeneration(channel);
        return status != 0 ? status : WriteFields(channel, fields);
    }
    /// @}

    IsolatedState* CreateIsolatedState() const override { return new IsolatedState; }
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override;
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override;
    std::size_t GetIsolatedSize() const override { return sizeof(IsolatedState); }

    FieldMask Compare(ODB::ConstRef<ADB::GeneralAttribute> other) const override;
    bool IsEqual(ODB::ConstRef<ADB::GeneralAttribute> other) const override;
    void Synchronize(ODB::ConstRef<ADB::GeneralAttribute> other, const FieldMask& mask) override;

    /// Announces the fields that change.
    void ReindAttr(ADB::IAttributeNewIndexTable* table) override;
    void CollectUsedAttrs(IUsedAttrCollection& collection) const override;

    void VisitFields(FieldVisitor& visitor) const override { Host::VisitFields(fields, visitor); }
    void VisitDifferingFields(const KindBase& other, const std::function<void(const char*)>& call) const override;
    void ClearReferences(const std::function<bool(unsigned int refId, short index)>& isGone) override;

protected:
    Kind(const Kind& other) = default;
    Kind& operator=(const Kind& other) = default;

    void Copy(ODB::ConstRef<ADB::GeneralAttribute> other) override;

private:
    /// The fields of \p other, null when it is null or of another kind.
    static const FieldStruct* FieldsOf(const ODB::ConstRef<ADB::GeneralAttribute>& other) {
        const auto* const same = dynamic_cast<const Derived*>(other.Get());
        return same != nullptr ? &same->Get() : nullptr;
    }

    void Take(FieldStruct&& newFields) {
        const ODB::ModificationGate gate(*this);
        fields = std::move(newFields);
    }

    // Reads the general part and the fields, or neither.
    template <class Channel, class ReadGeneral>
    int ReadWhole(Channel& channel, ReadGeneral&& readGeneral);
    static int ReadOwn(Kest::IChannel& channel, FieldStruct& target);
    static int ReadOwn(Kest::XMLIChannel& channel, FieldStruct& target);
    static void ReportSkipped(Kest::ClassVersion version);
    int WriteFrame(Kest::OChannel& channel, int generalStatus) const;

    // Hands every reference to `change`, which may replace it, and announces the fields that are other then.
    template <class Change>
    void ChangeReferences(Change&& change) {
        FieldStruct changed(fields);
        ForEachReference(changed, change);
        const FieldMask differing = DifferenceFrom(changed);
        if (differing.IsEmpty())
            return;
        Take(std::move(changed));
        this->NotifyObservers(&differing);
    }

    FieldMask DifferenceFrom(const FieldStruct& others) const {
        FieldMask differing;
        ForEachField<FieldStruct>([&](const auto& field) {
            if (!(fields.*field.member == others.*field.member))
                differing.Set(FieldIdOf(field.number));
        });
        return differing;
    }

    FieldStruct fields;
};

template <class Derived, HasFields FieldStruct>
int Kind<Derived, FieldStruct>::StoreIsolatedState(ODB::Object::IsolatedState* state) const {
    auto* const own = dynamic_cast<IsolatedState*>(state);
    if (own == nullptr)
        return ADB::Error::WrongCall;
    if (const int status = ADB::GeneralAttribute::StoreIsolatedState(state); status != 0)
        return status;
    own->fields = fields;
    return ADB::Error::None;
}

template <class Derived, HasFields FieldStruct>
int Kind<Derived, FieldStruct>::RestoreIsolatedState(const ODB::Object::IsolatedState* state) {
    const auto* const own = dynamic_cast<const IsolatedState*>(state);
    if (own == nullptr)
        return ADB::Error::WrongCall;
    FieldStruct restored(own->fields);   // before anything changes: it may need memory
    if (const int status = ADB::GeneralAttribute::RestoreIsolatedState(state); status != 0)
        return status;
    Take(std::move(restored));
    return ADB::Error::None;
}

template <class Derived, HasFields FieldStruct>
int Kind<Derived, FieldStruct>::WriteFrame(Kest::OChannel& channel, int generalStatus) const {
    if (generalStatus != 0)
        return generalStatus;
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    WriteFields(channel, fields);
    return frame.Close();
}

template <class Derived, HasFields FieldStruct>
template <class Channel, class ReadGeneral>
int Kind<Derived, FieldStruct>::ReadWhole(Channel& channel, ReadGeneral&& readGeneral) try {
    const ADB::GeneralAttribute::IsolatedState before(*this);
    FieldStruct read(fields);
    if (const int status = readGeneral(); status != 0) {
        if constexpr (std::same_as<Channel, Kest::XMLIChannel>)   // its general part lets go of the user data
            ADB::GeneralAttribute::RestoreIsolatedState(&before);
        return status;
    }
    const int status = ReadOwn(channel, read);
    if (status == 0)
        Take(std::move(read));
    else
        ADB::GeneralAttribute::RestoreIsolatedState(&before);
    return status;
} catch (const std::bad_alloc&) {
    return ADB::Error::MemoryFull;
}

template <class Derived, HasFields FieldStruct>
int Kind<Derived, FieldStruct>::ReadOwn(Kest::IChannel& channel, FieldStruct& target) {
    const Kest::ClassVersion current = GetClassInfoStatic()->GetVersion();
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetStatus() != 0)
        return frame.GetStatus();
    const bool isOfThisMajor = frame.GetVersion().GetMajor() == current.GetMajor();
    if (!isOfThisMajor || frame.GetVersion() > current)
        ReportSkipped(frame.GetVersion());
    if (isOfThisMajor) {
        try {
            ReadFields(channel, target);
        } catch (const std::bad_alloc&) {
            channel.Fail(ADB::Error::MemoryFull);
        }
    }
    return frame.Close();
}

template <class Derived, HasFields FieldStruct>
int Kind<Derived, FieldStruct>::ReadOwn(Kest::XMLIChannel& channel, FieldStruct& target) {
    bool knowsAll = true;
    try {
        target = FieldStruct();   // what a document lacks has the value of a new attribute
        ReadFieldsXml(channel, target, knowsAll);
    } catch (const std::bad_alloc&) {
        channel.Fail(ADB::Error::MemoryFull, Kest::UniString());
    }
    if (!knowsAll)
        ReportSkipped(Kest::ClassVersion());
    return channel.GetStatus();
}

template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::ReportSkipped(Kest::ClassVersion version) {
    ADB::ReadReport::Add({.kind = ADB::ReadReport::FrameSkipped,
                          .refId = Derived::Record.refId,
                          .className = Derived::Record.className,
                          .version = version});
}

template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::VisitDifferingFields(const KindBase& other,
                                                      const std::function<void(const char*)>& call) const {
    const FieldStruct& others = dynamic_cast<const Derived&>(other).Get();
    ForEachField<FieldStruct>([&](const auto& field) {
        if (!(fields.*field.member == others.*field.member))
            call(field.name);
    });
}

template <class Derived, HasFields FieldStruct>
FieldMask Kind<Derived, FieldStruct>::Compare(ODB::ConstRef<ADB::GeneralAttribute> other) const {
    FieldMask differing = ADB::GeneralAttribute::Compare(other);
    if (const FieldStruct* const others = FieldsOf(other); others != nullptr)
        differing |= DifferenceFrom(*others);
    return differing;
}

template <class Derived, HasFields FieldStruct>
bool Kind<Derived, FieldStruct>::IsEqual(ODB::ConstRef<ADB::GeneralAttribute> other) const {
    const FieldStruct* const others = FieldsOf(other);
    return others != nullptr && ADB::GeneralAttribute::IsEqual(other) && fields == *others;
}

template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::Copy(ODB::ConstRef<ADB::GeneralAttribute> other) {
    const FieldStruct* const others = FieldsOf(other);
    if (others == nullptr)
        return;
    FieldStruct copied(*others);
    ADB::GeneralAttribute::Copy(other);
    Take(std::move(copied));
}

// The own fields first: the general part announces a new name, and whoever hears it finds everything in place.
template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::Synchronize(ODB::ConstRef<ADB::GeneralAttribute> other, const FieldMask& mask) {
    const FieldStruct* const others = FieldsOf(other);
    if (others == nullptr || other.Get() == this)
        return;
    FieldStruct synchronized(fields);
    ForEachField<FieldStruct>([&](const auto& field) {
        if (mask.Test(FieldIdOf(field.number)))
            synchronized.*field.member = others->*field.member;
    });
    Take(std::move(synchronized));
    ADB::GeneralAttribute::Synchronize(other, mask);
}

template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::ReindAttr(ADB::IAttributeNewIndexTable* table) {
    const ADB::IAttributeRegister* const kinds = GetAttributeRegister();
    if (table == nullptr || kinds == nullptr)
        return;
    ChangeReferences([&](unsigned int refId, short& reference) {
        const short newIndex = GetNewAttributeIndex(table, kinds->GetTypeIdByRefId(refId), reference);
        if (newIndex != 0)
            reference = newIndex;
    });
}

template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::ClearReferences(const std::function<bool(unsigned int refId, short index)>& isGone) {
    ChangeReferences([&isGone](unsigned int refId, short& reference) {
        if (reference != 0 && isGone(refId, reference))
            reference = 0;
    });
}

template <class Derived, HasFields FieldStruct>
void Kind<Derived, FieldStruct>::CollectUsedAttrs(IUsedAttrCollection& collection) const {
    ForEachReference(fields, [&collection](unsigned int refId, short reference) {
        if (reference != 0 && !collection.IsSatisfied())
            collection.AddAttribute(refId, reference);
    });
}

}   // namespace Host
