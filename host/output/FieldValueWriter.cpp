#include "FieldValueWriter.hpp"

#include "SafeText.hpp"
#include "kinds/FieldText.hpp"

#include <utility>

namespace Host {

void FieldValueWriter::BeginField(const char*, bool) {
    valueSeparator = {};
}

std::ostream& FieldValueWriter::BeginValue() {
    return out << std::exchange(valueSeparator, ", ");
}

void FieldValueWriter::Integer(int value) {
    BeginValue() << value;
}

void FieldValueWriter::Real(double value) {
    BeginValue() << NumberText(value);
}

void FieldValueWriter::Boolean(bool value) {
    BeginValue() << (value ? "true" : "false");
}

void FieldValueWriter::Text(const Kest::UniString& value) {
    BeginValue() << QuoteForJson(value);
}

void FieldValueWriter::Absent() {
    BeginValue() << "null";
}

void FieldValueWriter::BeginList() {
    BeginValue() << '[';
    valueSeparator = {};
}

void FieldValueWriter::BeginRecord() {
    BeginList();
}

void FieldValueWriter::End() {
    out << ']';
    valueSeparator = ", ";
}

}   // namespace Host
