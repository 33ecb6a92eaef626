#include "ReaderSamples.hpp"
#include "Session.hpp"
#include "import/Palette.hpp"
#include "import/SetImport.hpp"
#include "import/SetMerge.hpp"
#include "kinds/AllKinds.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <Kest/Clock.hpp>

namespace {

using namespace Host;

DxfLayer MakeLayer(std::u16string name, int color, std::u16string lineType) {
    DxfLayer layer;
    layer.name = std::move(name);
    layer.color = color;
    layer.lineType = std::move(lineType);
    return layer;
}

DxfLineType MakeLineType(std::u16string name, std::vector<double> pattern) {
    DxfLineType lineType;
    lineType.name = std::move(name);
    for (const double element : pattern)
        lineType.elements.push_back({element, std::to_string(element)});
    return lineType;
}

DxfDrawing MakeDrawing(std::vector<DxfLineType> lineTypes, std::vector<DxfLayer> layers) {
    DxfDrawing drawing;
    drawing.lineTypes = std::move(lineTypes);
    drawing.layers = std::move(layers);
    return drawing;
}

class ImportTest : public testing::Test {
protected:
    ImportCounts Import(const DxfDrawing& drawing) { return ImportDrawing(drawing, session.GetSet()); }

    ImportCounts Merge(const DxfDrawing& drawing) {
        const ScratchSet scratch;
        ImportDrawing(drawing, scratch.GetSet());
        const ImportCounts counts = MergeSet(scratch.GetSet(), session.GetSet());
        EXPECT_TRUE(session.GetSet()->CheckInvariants());
        return counts;
    }

    template <class Kind>
    const Kind* Find(const Kest::UniString& name) const {
        return dynamic_cast<const Kind*>(
            session.GetSet().GetConst()->GetConstAttribute(TypeIdOf(Kind::Record.refId), name).Get());
    }

    Kest::UniString LineTypeOf(const Kest::UniString& layerName) const {
        return session.GetSet().GetConst()->GetAttributeName(TypeIdOf(LineType::Record.refId),
                                                             Find<Layer>(layerName)->Get().lineType);
    }

    template <class Kind>
    Kest::UniString Names() const {
        Kest::UniString names;
        session.GetSet().GetConst()->EnumerateConstAttributes(
            TypeIdOf(Kind::Record.refId), ADB::SortByIndex, ADB::Ascending,
            [&names](const ODB::ConstRef<ADB::GeneralAttribute>& attribute) { names += attribute->GetName() + u";"; });
        return names;
    }

    Session session;
};

// New, reused, renamed, completed.
std::string TextOf(const ImportCounts& counts) {
    return std::to_string(counts.added) + ' ' + std::to_string(counts.reused) + ' ' + std::to_string(counts.renamed) +
           ' ' + std::to_string(counts.completed);
}

TEST_F(ImportTest, LayersKeepTheirValuesAndReferToLineTypesAndPens) {
    DxfLayer wall = MakeLayer(u"Wall", -3, u"DASHED");
    wall.flags = 5;
    wall.lineWeight = 35;
    wall.trueColor = 0x123456;
    wall.plot = false;
    DxfLineType dashed = MakeLineType(u"Dashed", {1, -0.5});
    LineTypeSymbol& symbol = dashed.symbols.emplace_back();
    symbol.element = 1;
    symbol.flags = LineTypeSymbol::IsText;
    symbol.text = u"GAS";
    const ImportCounts counts =
        Import(MakeDrawing({dashed}, {wall, MakeLayer(u"By layer", 256, u""), MakeLayer(u"wall", 7, u"hidden")}));
    EXPECT_EQ(TextOf(counts), "5 0 1 0");

    EXPECT_EQ(Names<Layer>(), u"Wall;By layer;wall (1);");
    const LayerFields expected{-3, 1, 5, 1, 3, 35, 0x123456, false};
    EXPECT_TRUE(Find<Layer>(u"Wall")->Get() == expected);
    EXPECT_EQ(LineTypeOf(u"Wall"), u"Dashed");
    EXPECT_EQ(Find<Layer>(u"By layer")->Get().pen, 0) << "a colour beyond the palette is no pen";
    EXPECT_EQ(Find<Layer>(u"By layer")->Get().lineType, 0);
    EXPECT_EQ(LineTypeOf(u"wall (1)"), u"hidden");
    EXPECT_TRUE(Find<LineType>(u"HIDDEN")->Get().isMissing);
    EXPECT_FALSE(Find<LineType>(u"HIDDEN")->CheckAttribute());
    EXPECT_EQ(Find<LineType>(u"Dashed")->Get().pattern, (std::vector<double>{1, -0.5}));
    EXPECT_EQ(Find<LineType>(u"Dashed")->Get().symbols.at(0).text, Kest::UniString(u"GAS"));
    EXPECT_EQ(Find<PenTable>(DrawingPensName)->Get().pens.at(3 - 1).color, 0x00FF00);
}

TEST_F(ImportTest, ASecondDrawingIsMerged) {
    const DxfLineType dashed = MakeLineType(u"DASHED", {1, -0.5});
    const DxfLineType longDashed = MakeLineType(u"Dashed", {2, -0.5});
    const DxfLayer wall = MakeLayer(u"Wall", 7, u"DASHED");
    const struct {
        const char* when;
        DxfDrawing second;
        const char* counts;
        Kest::UniString layers, lineTypes;
    } cases[] = {
        {"other letter case", MakeDrawing({MakeLineType(u"dashed", {1, -.5})}, {MakeLayer(u"WALL", 7, u"DaSHED")}),
         "0 3 0 0", u"Wall;", u"DASHED;"},
        {"another layer moves the indexes",
         MakeDrawing({MakeLineType(u"DOT", {0, -1}), dashed}, {MakeLayer(u"Roof", 1, u"DOT"), wall}), "2 3 0 0",
         u"Wall;Roof;", u"DASHED;DOT;"},
        {"another colour", MakeDrawing({dashed}, {MakeLayer(u"wall", 1, u"DASHED")}), "0 2 1 0", u"Wall;wall (1);",
         u"DASHED;"},
        {"another line type takes the layer along", MakeDrawing({longDashed}, {wall}), "0 1 2 0", u"Wall;Wall (1);",
         u"DASHED;Dashed (1);"},
        {"what is missing there is what is here", MakeDrawing({}, {wall}), "0 3 0 0", u"Wall;", u"DASHED;"},
    };
    for (const auto& c : cases) {
        session.GetSet()->Clear();
        Import(MakeDrawing({dashed}, {wall}));
        EXPECT_EQ(TextOf(Merge(c.second)), c.counts) << c.when;
        EXPECT_EQ(Names<Layer>(), c.layers) << c.when;
        EXPECT_EQ(Names<LineType>(), c.lineTypes) << c.when;
        const ImportCounts again = Merge(c.second);
        EXPECT_EQ(again.added + again.renamed, 0u) << c.when << ": importing twice adds nothing";
        EXPECT_EQ(Names<Layer>(), c.layers) << c.when;
    }
}

TEST_F(ImportTest, WhatWasRenamedIsFoundAgainUnderWhateverNumberItGot) {
    for (const char16_t* const name : {u"Wall (1)", u"Wall (01)", u"Wall (0)", u"Wall (1000000000)", u" (2)", u"(2)"}) {
        session.GetSet()->Clear();
        Import(MakeDrawing({}, {MakeLayer(name, 7, u"")}));
        const DxfDrawing other = MakeDrawing({}, {MakeLayer(name, 1, u"")});
        EXPECT_EQ(Merge(other).renamed, 1u);
        EXPECT_EQ(TextOf(Merge(other)), "0 2 0 0");
    }
}

TEST_F(ImportTest, AMissingLineTypeIsCompletedByTheDrawingThatDefinesIt) {
    Import(MakeDrawing({}, {MakeLayer(u"Wall", 7, u"HIDDEN")}));
    const ImportCounts counts =
        Merge(MakeDrawing({MakeLineType(u"Hidden", {1, -1})}, {MakeLayer(u"Wall", 7, u"HIDDEN")}));
    EXPECT_EQ(TextOf(counts), "0 2 0 1");
    EXPECT_EQ(Names<LineType>(), u"Hidden;");
    EXPECT_TRUE(Find<LineType>(u"Hidden")->CheckAttribute());
    EXPECT_EQ(LineTypeOf(u"Wall"), u"Hidden");
}

TEST_F(ImportTest, OnlyTheMarkOfClientCreatedAttributesMayDiffer) {
    const DxfDrawing drawing = MakeDrawing({}, {MakeLayer(u"Wall", 7, u"")});
    const std::pair<short, std::size_t> cases[] = {{ADB::GeneralAttribute::ClientCreated, 0},
                                                   {ADB::GeneralAttribute::FromPax, 1}};
    for (const auto& [flags, renamed] : cases) {
        session.GetSet()->Clear();
        Import(drawing);
        session.GetSet()->GetAttribute(TypeIdOf(Layer::Record.refId), short{1})->SetFlags(flags);
        EXPECT_EQ(Merge(drawing).renamed, renamed) << flags;
    }
}

TEST_F(ImportTest, TheTimeOfImportIsKeptWhenNothingIsAdded) {
    const DxfDrawing drawing = MakeDrawing({}, {MakeLayer(u"Wall", 7, u"")});
    TISetClock([] { return 1000; });
    Import(drawing);
    TISetClock([] { return 2000; });
    Merge(drawing);
    TISetClock(nullptr);
    EXPECT_EQ(Find<Layer>(u"Wall")->GetModificationTime(), 1000);
}

TEST_F(ImportTest, MoreThanAContainerHoldsIsRefusedWithItsLine) {
    DxfDrawing drawing;
    for (std::size_t i = 0; i < MostAttributes; ++i) {
        const std::string number = std::to_string(i);
        drawing.layers.push_back(MakeLayer(std::u16string(number.begin(), number.end()), 7, u""));
        drawing.layers.back().line = i + 1;
    }
    EXPECT_EQ(Import(drawing).added, MostAttributes + 1);
    EXPECT_THROW(Merge(MakeDrawing({}, {MakeLayer(u"one more", 7, u"")})), ReadError);
    session.GetSet()->Clear();
    drawing.layers.push_back(MakeLayer(u"one more", 7, u""));
    drawing.layers.back().line = 99999;
    EXPECT_TRUE(HostTests::RefusalOf([this](const DxfDrawing& read) { Import(read); }, drawing).starts_with("99999:"));
}

TEST_F(ImportTest, DimensionStylesBecomeDimensionStandards) {
    DxfDrawing drawing;
    DxfDimStyle& style = drawing.dimStyles.emplace_back();
    style.name = u"ISO-25";
    style.arrowSize = Number{2.5, "2.5"};
    style.suppressFirstExtension = true;
    Import(drawing);
    DimensionStandardFields expected;
    expected.arrowSize = 2.5;
    expected.hasFirstExtension = false;
    EXPECT_TRUE(Find<DimensionStandard>(u"iso-25")->Get() == expected);
    EXPECT_TRUE(Names<PenTable>().IsEmpty()) << "no layers, no pens";
}

TEST(PaletteTest, ColorsOfTheSharedPalette) {
    const std::pair<int, int> cases[] = {{1, 0xFF0000},   {7, 0xFFFFFF},   {9, 0xC0C0C0},   {10, 0xFF0000},
                                         {11, 0xFF7F7F},  {12, 0xA50000},  {20, 0xFF3F00},  {50, 0xFFFF00},
                                         {90, 0x00FF00},  {130, 0x00FFFF}, {170, 0x0000FF}, {210, 0xFF00FF},
                                         {240, 0xFF003F}, {250, 0x000000}, {255, 0xFFFFFF}};
    for (const auto& [number, color] : cases)
        EXPECT_EQ(GetPaletteColor(number), color) << number;
}

}   // namespace
