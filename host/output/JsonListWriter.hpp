#pragma once

#include "FieldValueWriter.hpp"
#include "ListWriter.hpp"

#include <ostream>
#include <string_view>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// An object with an array per kind, by the kind's name; an object per attribute and line, with all its fields. A
/// reference is the name of the attribute, a record in a list an array, no value null.
class JsonListWriter final : public ListWriter, private FieldValueWriter {
public:
    JsonListWriter(std::ostream& output, const ODB::ConstRef<ADB::AttributeSet>& listed)
        : FieldValueWriter(output),
          set(listed) {}

    void BeginKind(const KindEntry& kind, std::size_t count) override;
    void Write(const KindBase& attribute) override;
    void EndKind() override;
    void Finish() override;

private:
    void BeginField(const char* name, bool isDetail) override;
    void Reference(unsigned int refId, short index) override;

    ODB::ConstRef<ADB::AttributeSet> set;
    std::string_view kindSeparator = "{\n";
    std::string_view attributeSeparator;
};

}   // namespace Host
