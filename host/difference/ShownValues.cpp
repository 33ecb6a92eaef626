#include "ShownValues.hpp"

#include "Session.hpp"
#include "documents/AttributeText.hpp"
#include "documents/UserDataRecord.hpp"
#include "output/FieldValueWriter.hpp"
#include "output/SafeText.hpp"

#include <chrono>
#include <sstream>
#include <utility>

namespace Host {

namespace {

using SetRef = ODB::ConstRef<ADB::AttributeSet>;

struct WrittenField {
    std::string name;
    std::string text;
};

// Ahead of the base that writes to it.
struct TextStream {
    std::ostringstream stream;
};

// Keeps what is written for each field.
class FieldTexts : private TextStream, public FieldValueWriter {
public:
    FieldTexts() : FieldValueWriter(stream) {}

    void BeginField(const char* name, bool isDetail) override {
        EndField();
        texts.push_back({name, {}});
        FieldValueWriter::BeginField(name, isDetail);
    }

    std::vector<WrittenField> TakeTexts() {
        EndField();
        return std::move(texts);
    }

private:
    void EndField() {
        if (!texts.empty())
            texts.back().text = stream.str();
        stream.str({});
    }

    std::vector<WrittenField> texts;
};

class PlainTexts final : public FieldTexts {
public:
    explicit PlainTexts(const SetRef& shownSet) : set(shownSet) {}

    void Text(const Kest::UniString& value) override { BeginValue() << ShowText(value).text; }
    void Reference(unsigned int refId, short index) override { BeginValue() << ShowReference(set, refId, index).text; }
    void Absent() override { BeginValue() << "none"; }

private:
    const SetRef& set;
};

class JsonTexts final : public FieldTexts {
public:
    explicit JsonTexts(const SetRef& shownSet) : set(shownSet) {}

    void Reference(unsigned int refId, short index) override { BeginValue() << ShowReference(set, refId, index).json; }

private:
    const SetRef& set;
};

// At least two digits.
std::string Digits(unsigned int number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

}   // namespace

ShownValue ShowNumber(int number) {
    return {std::to_string(number), std::to_string(number)};
}

ShownValue ShowText(const Kest::UniString& text) {
    return {QuoteForPeople(text), QuoteForJson(text)};
}

ShownValue ShowTime(int time) {
    using namespace std::chrono;
    const sys_seconds moment = sys_days(year(2000) / January / 1) + seconds(time);
    const sys_days midnight = floor<days>(moment);
    const year_month_day date(midnight);
    const hh_mm_ss clock(moment - midnight);
    const auto part = [](auto count) { return Digits(static_cast<unsigned int>(count)); };
    const std::string text = std::to_string(static_cast<int>(date.year())) + '-' + part(unsigned{date.month()}) + '-' +
                             part(unsigned{date.day()}) + 'T' + part(clock.hours().count()) + ':' +
                             part(clock.minutes().count()) + ':' + part(clock.seconds().count()) + 'Z';
    return {text, '"' + text + '"'};
}

ShownValue ShowRecord(const ADB::GeneralAttribute& attribute, const ZalUtil::Owner& owner) {
    const UserDataRecord record(attribute, owner);
    if (!record.IsThere())
        return {"none", "null"};
    const std::string size = std::to_string(record.GetSize()), version = std::to_string(record.GetVersion()),
                      flags = std::to_string(record.GetFlags()),
                      checksum = Kest::UniString::Printf("%08x", record.GetChecksum()).ToCStr();
    return {size + " bytes (version " + version + ", flags " + flags + ", checksum " + checksum + ')',
            R"({"bytes": )" + size + R"(, "version": )" + version + R"(, "flags": )" + flags + R"(, "checksum": ")" +
                checksum + "\"}"};
}

ShownValue ShowReference(const SetRef& set, unsigned int refId, short index) {
    if (index == 0)
        return {"none", "null"};
    const ODB::ConstRef<ADB::GeneralAttribute> target = set->GetConstAttribute(TypeIdOf(refId), index);
    const std::string number = std::to_string(index);
    return {number + (target ? ' ' + QuoteForPeople(target->GetName()) : " (missing)"),
            R"({"index": )" + number + R"(, "name": )" + (target ? QuoteForJson(target->GetName()) : "null") + '}'};
}

std::vector<ShownField> ShowFields(const SetRef& set, const KindBase& attribute) {
    PlainTexts plain(set);
    JsonTexts json(set);
    attribute.VisitFields(plain);
    attribute.VisitFields(json);
    std::vector<WrittenField> texts = plain.TakeTexts(), jsonTexts = json.TakeTexts();
    std::vector<ShownField> fields;
    for (std::size_t i = 0; i < texts.size(); ++i)
        fields.push_back({std::move(texts[i].name), {std::move(texts[i].text), std::move(jsonTexts[i].text)}});
    return fields;
}

}   // namespace Host
