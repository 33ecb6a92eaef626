#include <Kest/ClassManager.hpp>

#include <memory>

#include <gtest/gtest.h>

#include <Kest/Object.hpp>

namespace {

using Kest::ClassInfo;
using Kest::ClassManager;
using Kest::ClassVersion;
using Kest::Guid;

constexpr char BaseId[] = "{0BADCAFE-0000-4000-8000-000000000001}";
constexpr char OtherId[] = "{0BADCAFE-0000-4000-8000-000000000002}";

class Shape : public Kest::Object {
public:
    Shape* Clone() const override { return new Shape(*this); }
};

Kest::Object* MakeShape() {
    return new Shape;
}

TEST(ClassManagerTest, RecordsAreFoundWhileTheyLive) {
    {
        const ClassInfo nameless("Test::Null", Guid(), ClassVersion(1, 0), nullptr);
        EXPECT_EQ(ClassManager::Find(Guid()), nullptr) << "the null id belongs to no class";
        auto first = std::make_unique<ClassInfo>("Test::First", Guid(BaseId), ClassVersion(1, 0), nullptr);
        const ClassInfo second("Test::Second", Guid(BaseId), ClassVersion(2, 0), nullptr);
        EXPECT_EQ(ClassManager::Find(Guid(BaseId)), first.get()) << "the first one answers";
        first.reset();
        EXPECT_EQ(ClassManager::Find(Guid(BaseId)), &second) << "then the next one";
    }
    EXPECT_EQ(ClassManager::Find(Guid(BaseId)), nullptr);
}

TEST(ClassManagerTest, ObjectsAreMadeByIdWhereThereIsAFactory) {
    const ClassInfo abstract("Test::Abstract", Guid(BaseId), ClassVersion(1, 0), nullptr);
    const ClassInfo shape("Test::Shape", Guid(OtherId), ClassVersion(1, 0), &abstract, {}, &MakeShape);
    EXPECT_FALSE(abstract.IsConstructible());
    EXPECT_EQ(ClassManager::CreateObject(Guid(BaseId)), nullptr);
    const std::unique_ptr<Kest::Object> made(ClassManager::CreateObject(Guid(OtherId)));
    EXPECT_NE(dynamic_cast<Shape*>(made.get()), nullptr);
}

TEST(ClassManagerTest, CompatibilityGoesUpwardsAndProperlyById) {
    static constinit const Kest::ClassProperty trait("Test::trait");
    static constinit const Kest::ClassProperty other("Test::trait");
    const ClassInfo base("Test::Base", Guid(BaseId), ClassVersion(1, 0), nullptr, {&trait});
    const ClassInfo derived("Test::Derived", Guid(OtherId), ClassVersion(1, 0), &base);
    const ClassInfo sameBase("Test::Base", Guid(BaseId), ClassVersion(1, 0), nullptr);   // from a second library
    EXPECT_TRUE(derived.IsCompatibleWith(base));
    EXPECT_TRUE(derived.IsCompatibleWith(sameBase));
    EXPECT_FALSE(base.IsCompatibleWith(derived));
    EXPECT_TRUE(base.HasProperty(trait) && !base.HasProperty(other)) << "known by address";
    EXPECT_FALSE(derived.HasProperty(trait)) << "not inherited";
}

}   // namespace
