#pragma once

#include "kinds/FieldVisitor.hpp"

#include <ostream>
#include <string_view>

namespace Host {

/// Writes the values of fields as JSON has them: a list and a record in one are arrays, no value is null. What a
/// reference is, and what else is other, is for those who derive.
class FieldValueWriter : public FieldVisitor {
public:
    explicit FieldValueWriter(std::ostream& output) : out(output) {}

    void BeginField(const char* name, bool isDetail) override;
    void Integer(int value) override;
    void Real(double value) override;
    void Boolean(bool value) override;
    void Text(const Kest::UniString& value) override;
    void Absent() override;
    void BeginList() override;
    void BeginRecord() override;
    void End() override;

protected:
    /// What comes before a value: nothing behind a name or at the front of a list, a comma elsewhere.
    std::ostream& BeginValue();

    std::ostream& out;

private:
    std::string_view valueSeparator;
};

}   // namespace Host
