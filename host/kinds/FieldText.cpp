#include "FieldText.hpp"

#include <charconv>
#include <string_view>
#include <utility>

namespace Host {

namespace {

class TextVisitor final : public FieldVisitor {
public:
    explicit TextVisitor(const ReferenceText& textOfReference) : referenceText(textOfReference) {}

    std::vector<FieldText> TakeTexts() { return std::move(texts); }

    void BeginField(const char* name, bool isDetail) override {
        texts.push_back({.name = name, .isDetail = isDetail, .isNumber = false, .text = {}});
        needsSeparator = false;
        holdsRecords = false;
    }

    void Integer(int value) override { AddNumber(std::to_string(value)); }
    void Real(double value) override { AddNumber(NumberText(value)); }
    void Boolean(bool value) override { Add(value ? u"true" : u"false"); }
    void Text(const Kest::UniString& value) override { Add(value); }
    void Reference(unsigned int refId, short index) override { Add(referenceText(refId, index)); }
    void Absent() override {}

    void BeginList() override { ++depth; }
    void BeginRecord() override {
        if (needsSeparator)
            texts.back().text += u" | ";
        needsSeparator = false;
        holdsRecords = true;
        ++depth;
    }
    void End() override { --depth; }

private:
    void Add(std::u16string_view value) {
        if (needsSeparator)
            texts.back().text += holdsRecords ? u',' : u' ';
        texts.back().text += value;
        needsSeparator = true;
    }
    void AddNumber(const std::string& digits) {
        Add(std::u16string(digits.begin(), digits.end()));
        texts.back().isNumber = depth == 0;
    }

    const ReferenceText& referenceText;
    std::vector<FieldText> texts;
    bool needsSeparator = false;
    bool holdsRecords = false;
    int depth = 0;   // of lists and records
};

}   // namespace

std::vector<FieldText> GetFieldTexts(const KindBase& attribute, const ReferenceText& referenceText) {
    TextVisitor visitor(referenceText);
    attribute.VisitFields(visitor);
    return visitor.TakeTexts();
}

std::string NumberText(double value) {
    char digits[32];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value == 0 ? 0.0 : value);
    return {digits, end.ptr};
}

}   // namespace Host
