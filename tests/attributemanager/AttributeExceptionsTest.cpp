#include <AttributeManager/AttributeManagerException.hpp>
#include <AttributeManager/AttributeMemoryFullException.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace {

using ADB::AttributeManagerException;
using ADB::AttributeMemoryFullException;
using Kest::KestException;

// Which of the handlers, most specific last, catches what is thrown.
template <class Thrown, class Caught>
bool IsCaughtAs() {
    try {
        throw Thrown(nullptr, nullptr, 0);
    } catch (const Caught&) {
        return true;
    } catch (...) {
        return false;
    }
}

TEST(AttributeExceptionsTest, EachIsCaughtByAllItsBasesAndNoOther) {
    EXPECT_TRUE((IsCaughtAs<AttributeMemoryFullException, std::bad_alloc>()));
    EXPECT_TRUE((IsCaughtAs<AttributeMemoryFullException, std::exception>()));
    EXPECT_TRUE((IsCaughtAs<AttributeMemoryFullException, AttributeManagerException>()));
    EXPECT_TRUE((IsCaughtAs<AttributeMemoryFullException, KestException>()));
    EXPECT_TRUE((IsCaughtAs<AttributeMemoryFullException, Kest::RootException>()));
    EXPECT_TRUE((IsCaughtAs<AttributeManagerException, KestException>()));
    EXPECT_TRUE((IsCaughtAs<AttributeManagerException, Kest::RootException>()));
    EXPECT_FALSE((IsCaughtAs<AttributeManagerException, std::exception>()));
    EXPECT_FALSE((IsCaughtAs<AttributeManagerException, AttributeMemoryFullException>()));
}

template <class Exception>
class EachAttributeExceptionTest : public testing::Test {
protected:
    static constexpr bool IsMemoryFull = std::is_same_v<Exception, AttributeMemoryFullException>;

    // Names what differs from an exception with these details.
    static void Expect(const KestException& exception, const Kest::UniString& message, const char* file, unsigned line,
                       const char* causeName) {
        EXPECT_NE(dynamic_cast<const Exception*>(&exception), nullptr);
        EXPECT_STREQ(exception.GetName(), IsMemoryFull ? "AttributeMemoryFullException" : "AttributeManagerException");
        EXPECT_EQ(exception.GetErrorCode(), IsMemoryFull ? -108 : -7003);
        EXPECT_EQ(exception.GetMessage(), message);
        EXPECT_STREQ(exception.GetFile(), file);
        EXPECT_EQ(exception.GetLine(), line);
        EXPECT_STREQ(exception.GetCause() != nullptr ? exception.GetCause()->GetName() : nullptr, causeName);
    }
};

using AttributeExceptions = testing::Types<AttributeManagerException, AttributeMemoryFullException>;
TYPED_TEST_SUITE(EachAttributeExceptionTest, AttributeExceptions);

TYPED_TEST(EachAttributeExceptionTest, CarriesWhatItsConstructorWasGiven) {
    const KestException cause("disk", nullptr, 0);
    const Kest::UniString text(u"memo");
    const char* const noMessage = nullptr;
    TestFixture::Expect(TypeParam(noMessage, nullptr, 0), u"", nullptr, 0, nullptr);
    TestFixture::Expect(TypeParam("memo", "a.cpp", 7), u"memo", "a.cpp", 7, nullptr);
    TestFixture::Expect(TypeParam(noMessage, "a.cpp", 7, cause), u"", "a.cpp", 7, "KestException");
    TestFixture::Expect(TypeParam(text, nullptr, 7), u"memo", nullptr, 7, nullptr);
    TestFixture::Expect(TypeParam(text, "a.cpp", 7, cause), u"memo", "a.cpp", 7, "KestException");
}

TYPED_TEST(EachAttributeExceptionTest, ClonesAndMovesAreWhole) {
    const AttributeMemoryFullException cause("full", nullptr, 0);
    TypeParam source("memo", "a.cpp", 7, cause), moved("other", nullptr, 1);
    const std::unique_ptr<const KestException> clone(source.Clone());
    moved = std::move(source);
    TestFixture::Expect(*clone, u"memo", "a.cpp", 7, "AttributeMemoryFullException");
    TestFixture::Expect(moved, u"memo", "a.cpp", 7, "AttributeMemoryFullException");
}

}   // namespace
