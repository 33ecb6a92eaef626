#include <ODB/AssociationManager.hpp>

#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "Coin.hpp"

namespace {

constexpr ODB::CustomAssociationPropertyValue Chosen("Chosen");

ODB::Id ChosenId(std::uint8_t number) {
    return ODB::Id(Kest::Guid(Kest::Guid::Bytes{0xD1, 0xE6, number}));
}

TEST(AssociationManagerTest, AssociationsOfAClassComeInTheOrderOfTheirIds) {
    const Things third(ChosenId(3), Chosen);
    const Things first(ChosenId(1), Chosen);
    const ODB::Association1N<Coin, Thing> second(ChosenId(2), Chosen);
    using Found = std::vector<const ODB::Association1NUntyped*>;
    const struct {
        const Kest::ClassInfo* leftClass;
        Found expected;
    } cases[] = {{nullptr, {&first, &second, &third}},
                 {Coin::GetClassInfoStatic(), {&first, &second, &third}},
                 {Thing::GetClassInfoStatic(), {&first, &third}},
                 {ODB::Object::GetClassInfoStatic(), {}}};
    for (const auto& c : cases) {
        Found found;
        ODB::AssociationManager::EnumerateAssociations(c.leftClass, Chosen,
                                                       [&](const auto& association) { found.push_back(&association); });
        EXPECT_EQ(found, c.expected);
    }
}

TEST(AssociationManagerTest, AssociationsMayComeAndGoMeanwhile) {
    const Things first(ChosenId(1), Chosen);
    auto second = std::make_unique<Things>(ChosenId(2), Chosen);
    std::unique_ptr<Things> late;
    int visited = 0;
    ODB::AssociationManager::EnumerateAssociations(nullptr, Chosen, [&](const auto&) {
        ++visited;
        second.reset();
        late = std::make_unique<Things>(ChosenId(3), Chosen);
    });
    EXPECT_EQ(visited, 1);
}

}   // namespace
