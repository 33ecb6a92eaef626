#pragma once

#include "FieldVisitor.hpp"
#include "Kind.hpp"

#include <functional>
#include <string>
#include <vector>

#include <Kest/UniString.hpp>

namespace Host {

/// The text that shows a field: list elements are separated by blanks; of a list of records, the records by " | " and
/// everything in them by commas. Numbers are decimal and as short as they can be without loss.
struct FieldText {
    const char* name;
    bool isDetail;
    bool isNumber = false;   ///< the whole field is one number
    std::u16string text;     ///< empty for no value
};

/// What a reference shows: the text for attribute \p index of the kind with ref id \p refId, or empty.
using ReferenceText = std::function<Kest::UniString(unsigned int refId, short index)>;

/// The texts of all fields of \p attribute, in the order of their declaration.
std::vector<FieldText> GetFieldTexts(const KindBase& attribute, const ReferenceText& referenceText);

/// The decimal number \p value, as short as it can be without loss.
std::string NumberText(double value);

}   // namespace Host
