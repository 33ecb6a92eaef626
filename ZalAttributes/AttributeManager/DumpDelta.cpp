#include <AttributeManager/DumpDelta.hpp>

#include <cstddef>
#include <new>
#include <string>
#include <string_view>

#include <Kest/DebugOutput.hpp>
#include <Kest/Logger.hpp>
#include <Kest/Process.hpp>

#include <ODB/ContentEnumerator.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/GeneralAttribute.hpp>

#include "LogCategory.hpp"

namespace ADB {
namespace {

using Kest::UniString;

bool IsSwitchedOn() {
    static const bool isOn = DBGetBool("ZalAttributes_DumpDelta", false);
    return isOn;
}

void WriteLine(const UniString& text) {
    static const Kest::InfoLogLine line("%T", LogCategory);
    line.WriteText(text);
    DBPrintf("%s\n", text);
}

// The digits of the id, around which the listing puts braces of its own.
UniString TextOf(const ODB::Id& id) {
    const std::string text = id.ToString();
    return UniString::FromUtf8(std::string_view(text).substr(1, text.size() - 2));
}

UniString Describe(const ODB::Object& object) {
    UniString text = UniString::Printf("{%T} %s", TextOf(object.GetId()), object.GetClassInfo()->GetName());
    if (const auto* const container = dynamic_cast<const AttributeContainer*>(&object))
        text.Append(UniString::Printf(" \"%T\"", container->GetTypeName()));
    if (const auto* const attribute = dynamic_cast<const GeneralAttribute*>(&object))
        text.Append(UniString::Printf(" [%03d] \"%T\"", attribute->GetIndex(), attribute->GetName()));
    return text;
}

// Writes one line per object and link.
class Listing : public ODB::ContentEnumerator {
public:
    explicit Listing(const ODB::IdSpace& idSpace) : space(idSpace) {}

    void NewObjectFound(const Kest::Guid&, const ODB::Id& id, ODB::IdSpace*, const char*, std::size_t) override {
        WriteLine(UniString::Printf("\tNew Object:       %T", DescribeId(id)));
    }
    void ModifiedObjectFound(const Kest::Guid&, const ODB::Id& id, ODB::IdSpace*, const char*, std::size_t) override {
        WriteLine(UniString::Printf("\tModified Object:  %T", DescribeId(id)));
    }
    void DeletedObjectFound(const Kest::Guid&, const ODB::Id& id, ODB::IdSpace*) override {
        WriteLine(UniString::Printf("\tDeleted Object:   %T", DescribeId(id)));
    }
    void NewLinkFound(const ODB::Association1NUntyped&, const ODB::Id& left, const ODB::Id& right) override {
        WriteLine(UniString::Printf("\tNew Link:         %T  <->  %T", DescribeId(left), DescribeId(right)));
    }
    void ModifiedLinkFound(const ODB::Association1NUntyped&, const ODB::Id& left, const ODB::Id& right) override {
        WriteLine(UniString::Printf("\tModified Link:    %T  <->  %T", DescribeId(left), DescribeId(right)));
    }
    void ReorderedLinkFound(const ODB::Association1NUntyped&, const ODB::Id& left, const ODB::Id& right,
                            const ODB::Id& behind) override {
        WriteLine(UniString::Printf("\tReordered Link:   %T  <->  %T  =>  %T", DescribeId(left), DescribeId(right),
                                    DescribeId(behind)));
    }
    void DeletedLinkFound(const ODB::Association1NUntyped&, const ODB::Id& left, const ODB::Id& right) override {
        WriteLine(UniString::Printf("\tDeleted Link:     %T  <->  %T", DescribeId(left), DescribeId(right)));
    }

private:
    UniString DescribeId(const ODB::Id& id) const {
        const ODB::ConstRef<ODB::Object> object = space.FindConst(id);
        return object ? Describe(*object) : UniString::Printf("{%T}", TextOf(id));
    }

    const ODB::IdSpace& space;
};

UniString HeaderOf(const UniString& prefix, const ODB::Delta& delta) {
    const UniString suffix = delta.HasName() ? UniString::Printf(" \"%s\" - ", delta.GetName()) : UniString(u" ");
    return UniString::Printf("[PID%u] %T -%s", Kest::GetProcessId(), prefix, suffix);
}

// A listing shows no contents: making them would cost what writing the delta costs, and may fail.
ODB::Delta::EnumerationMode WithoutContents(ODB::Delta::EnumerationMode mode) {
    return mode == ODB::Delta::Everything ? ODB::Delta::WithoutStates : mode;
}

void List(const UniString& prefix, const ODB::Delta& delta, ODB::Delta::EnumerationMode mode) {
    const UniString header = HeaderOf(prefix, delta);
    if (delta.IsEmpty()) {
        WriteLine(UniString::Printf("%TNo changes", header));
        return;
    }
    WriteLine(UniString::Printf("%TCO=%u, MO=%u, DO=%u, CL=%u, ML=%u, RL=%u, DL=%u {", header,
                                delta.GetNewObjectCount(), delta.GetModifiedObjectCount(),
                                delta.GetDeletedObjectCount(), delta.GetNewLinkCount(), delta.GetModifiedLinkCount(),
                                delta.GetReorderedLinkCount(), delta.GetDeletedLinkCount()));
    Listing listing(delta.GetIdSpace() != nullptr ? *delta.GetIdSpace() : *ODB::GetDefaultIdSpace());
    delta.EnumerateContent(listing, ODB::Delta::InOrderOfAdding, WithoutContents(mode));
    WriteLine(u"}");
}

}   // namespace

void DumpDelta(const UniString& prefix, const ODB::Delta& delta, ODB::Delta::EnumerationMode mode, bool force) {
    if (!force && !IsSwitchedOn())
        return;
    try {
        List(prefix, delta, mode);
    } catch (const std::bad_alloc&) {   // what is looked into must not fail for being looked into
    }
}

}   // namespace ADB
