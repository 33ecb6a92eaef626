#include <Kest/Exceptions.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using Kest::KestException;
using Kest::RootException;
using Kest::UniString;

// The two shapes that libraries above give their exceptions.
class StoreException : public virtual KestException, public virtual RootException {
public:
    template <class... Cause>
    StoreException(const char* message, const char* file, unsigned line, const Cause&... cause) noexcept
        : KestException(message, file, line, cause...) {
        SetErrorCode(-7003);
    }
    const char* GetName() const noexcept override { return "StoreException"; }
    KestException* Clone() const noexcept override { return NewCopy(*this); }
};

class StoreFullException : public virtual KestException,
                           public virtual RootException,
                           public StoreException,
                           public std::bad_alloc {
public:
    template <class... Cause>
    StoreFullException(const char* message, const char* file, unsigned line, const Cause&... cause) noexcept
        : KestException(message, file, line, cause...),
          StoreException(nullptr, nullptr, 0) {
        SetErrorCode(-108);
    }
    const char* GetName() const noexcept override { return "StoreFullException"; }
    KestException* Clone() const noexcept override { return NewCopy(*this); }
};

static_assert(std::is_nothrow_copy_constructible_v<StoreFullException>);

template <class Caught>
const char* NameOfCaught() {
    try {
        throw StoreFullException(nullptr, nullptr, 0);
    } catch (const Caught& caught) {
        const auto* root = dynamic_cast<const RootException*>(&caught);
        return root != nullptr ? root->GetName() : "no RootException";
    }
}

TEST(ExceptionsTest, AnExceptionOfManyBasesIsCaughtByEachOfThem) {
    EXPECT_STREQ(NameOfCaught<RootException>(), "StoreFullException");
    EXPECT_STREQ(NameOfCaught<KestException>(), "StoreFullException");
    EXPECT_STREQ(NameOfCaught<StoreException>(), "StoreFullException");
    EXPECT_STREQ(NameOfCaught<StoreFullException>(), "StoreFullException");
    EXPECT_STREQ(NameOfCaught<std::bad_alloc>(), "StoreFullException");
    EXPECT_THROW(throw StoreException("text", "file", 1), KestException);
}

TEST(ExceptionsTest, TheCodeIsThatOfTheMostDerivedClass) {
    EXPECT_EQ(KestException("text", nullptr, 0).GetErrorCode(), KestException::GeneralError);
    EXPECT_EQ(StoreException(nullptr, nullptr, 0).GetErrorCode(), -7003);
    EXPECT_EQ(StoreFullException(nullptr, nullptr, 0).GetErrorCode(), -108);
}

TEST(ExceptionsTest, WhatIsNotGivenIsAbsent) {
    const KestException bare(nullptr, nullptr, 0);
    EXPECT_TRUE(bare.GetMessage().IsEmpty());
    EXPECT_EQ(bare.GetFile(), nullptr);
    EXPECT_EQ(bare.GetLine(), 0U);
    EXPECT_EQ(bare.GetCause(), nullptr);
    EXPECT_EQ(KestException(nullptr, "a.cpp", 3).GetMessage(), u"");
    EXPECT_EQ(KestException("text", nullptr, 3).GetFile(), nullptr);
}

TEST(ExceptionsTest, ACloneIsOfTheSameClassAndOutlivesTheOriginal) {
    std::unique_ptr<const KestException> clone;
    {
        std::string file = "Store.cpp";
        const KestException root(UniString(u"disk"), "Disk.cpp", 7);
        const StoreException middle("folder", nullptr, 0, root);
        clone.reset(StoreFullException("memo", file.c_str(), 12, middle).Clone());
        file = "gone";
    }
    EXPECT_STREQ(clone->GetName(), "StoreFullException");
    EXPECT_NE(dynamic_cast<const std::bad_alloc*>(clone.get()), nullptr);
    EXPECT_EQ(clone->GetErrorCode(), -108);
    EXPECT_EQ(clone->GetMessage(), u"memo");
    EXPECT_STREQ(clone->GetFile(), "Store.cpp");
    EXPECT_EQ(clone->GetLine(), 12U);

    const KestException* const cause = clone->GetCause();
    ASSERT_NE(cause, nullptr);
    EXPECT_STREQ(cause->GetName(), "StoreException");
    EXPECT_EQ(cause->GetMessage(), u"folder");
    EXPECT_EQ(cause->GetCause()->GetMessage(), u"disk");
}

TEST(ExceptionsTest, AssignmentTakesEverythingOverAlsoAlongSeveralPaths) {
    const KestException root("disk", nullptr, 0);
    StoreFullException source("full", "a.cpp", 3, root);
    StoreFullException copied(nullptr, nullptr, 0), moved(nullptr, nullptr, 0);
    copied = source;
    moved = std::move(source);   // assigns the virtual base twice
    for (const StoreFullException* each : {&copied, &moved}) {
        EXPECT_EQ(each->GetMessage(), u"full");
        EXPECT_STREQ(each->GetFile(), "a.cpp");
        EXPECT_EQ(each->GetLine(), 3U);
        EXPECT_EQ(each->GetErrorCode(), -108);
        EXPECT_EQ(each->GetCause()->GetMessage(), u"disk");
    }
}

}   // namespace
