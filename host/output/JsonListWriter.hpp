#pragma once

#include "ListWriter.hpp"

#include <ostream>
#include <string_view>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// An object with an array per kind, by the kind's name; an object per attribute and line, with all its fields. A
/// reference is the name of the attribute, a record in a list an array, no value null.
class JsonListWriter final : public ListWriter, private FieldVisitor {
public:
    JsonListWriter(std::ostream& output, const ODB::ConstRef<ADB::AttributeSet>& listed) : out(output), set(listed) {}

    void BeginKind(const KindEntry& kind, std::size_t count) override;
    void Write(const KindBase& attribute) override;
    void EndKind() override;
    void Finish() override;

private:
    void BeginField(const char* name, bool isDetail) override;
    void Integer(int value) override;
    void Real(double value) override;
    void Boolean(bool value) override;
    void Text(const Kest::UniString& value) override;
    void Reference(unsigned int refId, short index) override;
    void Absent() override;
    void BeginList() override;
    void BeginRecord() override;
    void End() override;

    // What comes before a value: nothing behind a name or at the front of a list, a comma elsewhere.
    std::ostream& BeginValue();

    std::ostream& out;
    ODB::ConstRef<ADB::AttributeSet> set;
    std::string_view kindSeparator = "{\n";
    std::string_view attributeSeparator;
    std::string_view valueSeparator;
};

}   // namespace Host
