#include "ListWriter.hpp"

#include "JsonListWriter.hpp"
#include "SafeText.hpp"
#include "Session.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Host {

namespace {

// The texts of the fields that are columns; a reference shows the name of its attribute.
class ColumnTexts {
public:
    explicit ColumnTexts(ODB::ConstRef<ADB::AttributeSet> listed)
        : set(std::move(listed)),
          referenceText([this](unsigned int refId, short index) {
              return index != 0 ? set->GetAttributeName(TypeIdOf(refId), index) : Kest::UniString();
          }) {}
    ColumnTexts(const ColumnTexts&) = delete;
    ColumnTexts& operator=(const ColumnTexts&) = delete;

    std::vector<FieldText> Get(const KindBase& attribute) const {
        std::vector<FieldText> texts = GetFieldTexts(attribute, referenceText);
        std::erase_if(texts, [](const FieldText& text) { return text.isDetail; });
        return texts;
    }

private:
    ODB::ConstRef<ADB::AttributeSet> set;
    ReferenceText referenceText;
};

class TsvListWriter final : public ListWriter {
public:
    TsvListWriter(std::ostream& output, const ODB::ConstRef<ADB::AttributeSet>& set, bool listsAllKinds)
        : out(output),
          columns(set),
          ofAllKinds(listsAllKinds) {
        if (ofAllKinds)
            out << "type\tindex\tname\n";
    }

    void BeginKind(const KindEntry& kind, std::size_t) override {
        kindName = kind.record.name;
        if (ofAllKinds)
            return;
        std::string_view separator;
        for (const std::string& column : GetColumnNames(kind))
            out << std::exchange(separator, "\t") << column;
        out << '\n';
    }

    void Write(const KindBase& attribute) override {
        if (ofAllKinds)
            out << kindName << '\t';
        out << attribute.GetIndex() << '\t' << EscapeForTsv(attribute.GetName());
        if (!ofAllKinds)
            for (const FieldText& field : columns.Get(attribute))
                out << '\t' << EscapeForTsv(field.text);
        out << '\n';
    }

    void EndKind() override {}
    void Finish() override {}

private:
    std::ostream& out;
    ColumnTexts columns;
    bool ofAllKinds;
    std::string_view kindName;
};

// Columns as wide as what stands in them; numbers at their right edge.
class TableListWriter final : public ListWriter {
public:
    TableListWriter(std::ostream& output, const ODB::ConstRef<ADB::AttributeSet>& set) : out(output), columns(set) {}

    void BeginKind(const KindEntry& kind, std::size_t count) override {
        out << std::exchange(separator, "\n") << kind.record.typeName << " (" << count << ")\n";
        AddRow(GetColumnNames(kind));
        isNumber.assign(rows.front().size(), true);
    }

    void Write(const KindBase& attribute) override {
        std::vector<std::string> row{std::to_string(attribute.GetIndex()), ReplaceControls(attribute.GetName())};
        isNumber[1] = false;
        for (const FieldText& field : columns.Get(attribute)) {
            if (!field.isNumber && !field.text.empty())
                isNumber[row.size()] = false;
            row.push_back(Shorten(ReplaceControls(field.text)));
        }
        AddRow(std::move(row));
    }

    void EndKind() override {
        for (const std::vector<std::string>& row : rows)
            WriteRow(row);
        rows.clear();
        widths.clear();
    }

    void Finish() override {}

private:
    // Long patterns would push everything else off the screen; the other formats show them whole.
    static std::string Shorten(std::string text) {
        constexpr std::size_t Widest = 60;
        if (GetDisplayWidth(text) <= Widest)
            return text;
        return std::string(CutToWidth(text, Widest - 1)) + "\u2026";
    }

    void AddRow(std::vector<std::string> row) {
        widths.resize(row.size());
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], GetDisplayWidth(row[i]));
        rows.push_back(std::move(row));
    }

    void WriteRow(const std::vector<std::string>& row) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - GetDisplayWidth(row[i]), ' ');
            line += (i != 0 ? "  " : "") + (isNumber[i] ? padding + row[i] : row[i] + padding);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }

    std::ostream& out;
    ColumnTexts columns;
    std::string_view separator;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> widths;
    std::vector<bool> isNumber;
};

}   // namespace

std::unique_ptr<ListWriter> MakeListWriter(ListFormat format, std::ostream& out,
                                           const ODB::ConstRef<ADB::AttributeSet>& set, bool ofAllKinds) {
    switch (format) {
    case ListFormat::Tsv:
        return std::make_unique<TsvListWriter>(out, set, ofAllKinds);
    case ListFormat::Json:
        return std::make_unique<JsonListWriter>(out, set);
    case ListFormat::Table:
        break;
    }
    return std::make_unique<TableListWriter>(out, set);
}

std::vector<std::string> GetColumnNames(const KindEntry& kind) {
    std::vector<std::string> names{"index", "name"};
    for (const FieldText& field : GetFieldTexts(*kind.sample, [](unsigned int, short) { return Kest::UniString(); }))
        if (!field.isDetail)
            names.emplace_back(field.name);
    return names;
}

}   // namespace Host
