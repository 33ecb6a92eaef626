#include "SetImport.hpp"

#include "Palette.hpp"
#include "Session.hpp"
#include "kinds/DimensionStandard.hpp"
#include "kinds/Fill.hpp"
#include "kinds/Layer.hpp"
#include "kinds/LineType.hpp"
#include "kinds/PenTable.hpp"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <AttributeManager/ReadReport.hpp>

namespace Host {

namespace {

double ValueOf(const Number& number) {
    return number.value;
}

std::optional<double> ValueOf(const std::optional<Number>& number) {
    return number ? std::optional<double>(number->value) : std::nullopt;
}

std::vector<double> ValuesOf(const std::vector<Number>& numbers) {
    std::vector<double> values;
    values.reserve(numbers.size());
    for (const Number& number : numbers)
        values.push_back(number.value);
    return values;
}

std::vector<LineSymbol> SymbolsOf(const std::vector<LineTypeSymbol>& symbols) {
    std::vector<LineSymbol> result;
    result.reserve(symbols.size());
    for (const LineTypeSymbol& symbol : symbols)
        result.push_back({.element = static_cast<int>(symbol.element),
                          .flags = symbol.flags,
                          .text = std::u16string_view(symbol.text),
                          .shape = std::u16string_view(symbol.shape),
                          .style = std::u16string_view(symbol.style),
                          .shapeNumber = symbol.shapeNumber,
                          .scale = symbol.scale.value,
                          .rotation = symbol.rotation.value,
                          .xOffset = symbol.xOffset.value,
                          .yOffset = symbol.yOffset.value});
    return result;
}

double LengthOf(const std::vector<double>& pattern) {
    double length = 0;
    for (const double element : pattern)
        length += std::abs(element);
    return length;
}

// Stores attributes one by one.
class SetFiller {
public:
    explicit SetFiller(const ODB::Ref<ADB::AttributeSet>& filled) : set(filled) {}

    // Returns the index under which a copy of `attribute` is stored. The line, 0 for none, is for the message.
    short Store(KindBase& attribute, const std::u16string& name, std::size_t line) {
        const short typeId = TypeIdOf(attribute.GetAttributeTypeId());
        if (set->GetAttributeNumber(typeId) >= MostAttributes)
            throw ReadError(line, "there are more than " + std::to_string(MostAttributes) +
                                      " attributes of one kind: split the file");
        attribute.SetName(std::u16string_view(name));
        if (set->NewAttribute(typeId, &attribute, false, true) != 0)
            throw std::bad_alloc();
        const bool keptName = attribute.GetName() == name;
        ++(keptName ? counts.added : counts.renamed);
        if (!keptName)
            ADB::ReadReport::Add({.kind = ADB::ReadReport::AttributeRenamed,
                                  .refId = attribute.GetAttributeTypeId(),
                                  .name = std::u16string_view(name),
                                  .newName = attribute.GetName(),
                                  .index = attribute.GetIndex()});
        return attribute.GetIndex();
    }

    const ImportCounts& GetCounts() const noexcept { return counts; }

private:
    ODB::Ref<ADB::AttributeSet> set;
    ImportCounts counts;
};

class DrawingImporter {
public:
    DrawingImporter(const DxfDrawing& imported, const ODB::Ref<ADB::AttributeSet>& set)
        : drawing(imported),
          filler(set) {}

    ImportCounts Import() {
        StoreLineTypes();
        StoreMissingLineTypes();
        if (!drawing.layers.empty())
            StorePens();
        StoreDimensionStandards();
        StoreLayers();
        return filler.GetCounts();
    }

private:
    void StoreLineTypes();
    void StoreMissingLineTypes();
    void StorePens();
    void StoreDimensionStandards();
    void StoreLayers();

    static Kest::UniString KeyOf(const std::u16string& name) {
        return Kest::UniString(std::u16string_view(name)).ToUpper();
    }

    const DxfDrawing& drawing;
    SetFiller filler;
    std::unordered_map<Kest::UniString, short> lineTypes;   // by upper-case name; the first of a name counts
    short penTable = 0;
};

void DrawingImporter::StoreLineTypes() {
    for (const DxfLineType& source : drawing.lineTypes) {
        LineType lineType;
        lineType.Set<&LineTypeFields::description>(std::u16string_view(source.description));
        lineType.Set<&LineTypeFields::pattern>(ValuesOf(source.elements));
        lineType.Set<&LineTypeFields::length>(source.length.value);
        lineType.Set<&LineTypeFields::flags>(source.flags);
        lineType.Set<&LineTypeFields::symbols>(SymbolsOf(source.symbols));
        lineTypes.emplace(KeyOf(source.name), filler.Store(lineType, source.name, source.line));
    }
}

void DrawingImporter::StoreMissingLineTypes() {
    for (const DxfLayer& layer : drawing.layers) {
        if (layer.lineType.empty() || lineTypes.contains(KeyOf(layer.lineType)))
            continue;
        LineType lineType;
        lineType.Set<&LineTypeFields::isMissing>(true);
        lineTypes.emplace(KeyOf(layer.lineType), filler.Store(lineType, layer.lineType, layer.line));
    }
}

void DrawingImporter::StorePens() {
    std::vector<Pen> pens;
    for (int number = 1; number <= LastPaletteColor; ++number)
        pens.push_back({.color = GetPaletteColor(number), .width = 0, .description = {}});
    PenTable table;
    table.Set<&PenTableFields::pens>(std::move(pens));
    penTable = filler.Store(table, DrawingPensName, 0);
}

void DrawingImporter::StoreDimensionStandards() {
    for (const DxfDimStyle& source : drawing.dimStyles) {
        DimensionStandard standard;
        standard.Set<&DimensionStandardFields::scale>(ValueOf(source.scale));
        standard.Set<&DimensionStandardFields::arrowSize>(ValueOf(source.arrowSize));
        standard.Set<&DimensionStandardFields::textHeight>(ValueOf(source.textHeight));
        standard.Set<&DimensionStandardFields::decimalPlaces>(source.decimalPlaces);
        standard.Set<&DimensionStandardFields::extensionOffset>(ValueOf(source.extensionOffset));
        standard.Set<&DimensionStandardFields::extensionBeyond>(ValueOf(source.extensionBeyond));
        standard.Set<&DimensionStandardFields::textOffset>(ValueOf(source.textOffset));
        standard.Set<&DimensionStandardFields::hasFirstExtension>(!source.suppressFirstExtension);
        standard.Set<&DimensionStandardFields::hasSecondExtension>(!source.suppressSecondExtension);
        standard.Set<&DimensionStandardFields::hasFirstLine>(!source.suppressFirstDimension);
        standard.Set<&DimensionStandardFields::hasSecondLine>(!source.suppressSecondDimension);
        standard.Set<&DimensionStandardFields::flags>(source.flags);
        filler.Store(standard, source.name, source.line);
    }
}

void DrawingImporter::StoreLayers() {
    for (const DxfLayer& source : drawing.layers) {
        Layer layer;
        layer.Set<&LayerFields::color>(source.color);
        if (!source.lineType.empty())
            layer.Set<&LayerFields::lineType>(lineTypes.at(KeyOf(source.lineType)));
        layer.Set<&LayerFields::flags>(source.flags);
        layer.Set<&LayerFields::penTable>(penTable);
        if (source.color != 0 && source.color >= -LastPaletteColor && source.color <= LastPaletteColor)
            layer.Set<&LayerFields::pen>(std::abs(source.color));
        layer.Set<&LayerFields::lineWeight>(source.lineWeight);
        layer.Set<&LayerFields::trueColor>(source.trueColor);
        layer.Set<&LayerFields::isPlotted>(source.plot);
        filler.Store(layer, source.name, source.line);
    }
}

}   // namespace

ImportCounts ImportDrawing(const DxfDrawing& drawing, const ODB::Ref<ADB::AttributeSet>& set) {
    return DrawingImporter(drawing, set).Import();
}

ImportCounts ImportLineTypes(const LineTypeFile& file, const ODB::Ref<ADB::AttributeSet>& set) {
    SetFiller filler(set);
    for (const FileLineType& source : file.lineTypes) {
        std::vector<double> pattern = ValuesOf(source.elements);
        LineType lineType;
        lineType.Set<&LineTypeFields::description>(std::u16string_view(source.description));
        lineType.Set<&LineTypeFields::length>(LengthOf(pattern));
        lineType.Set<&LineTypeFields::pattern>(std::move(pattern));
        lineType.Set<&LineTypeFields::symbols>(SymbolsOf(source.symbols));
        filler.Store(lineType, source.name, source.line);
    }
    return filler.GetCounts();
}

ImportCounts ImportPatterns(const PatternFile& file, const ODB::Ref<ADB::AttributeSet>& set) {
    SetFiller filler(set);
    for (const HatchPattern& source : file.patterns) {
        std::vector<HatchFamily> families;
        families.reserve(source.families.size());
        for (const PatternFamily& family : source.families)
            families.push_back({.angle = ValueOf(family.angle),
                                .x = ValueOf(family.x),
                                .y = ValueOf(family.y),
                                .dx = ValueOf(family.dx),
                                .dy = ValueOf(family.dy),
                                .dashes = ValuesOf(family.dashes)});
        Fill fill;
        fill.Set<&FillFields::description>(std::u16string_view(source.description));
        fill.Set<&FillFields::families>(std::move(families));
        filler.Store(fill, source.name, source.line);
    }
    return filler.GetCounts();
}

}   // namespace Host
