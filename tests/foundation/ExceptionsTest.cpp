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
    EXPECT_EQ(clone->GetErrorCode(), -108) << "of the most derived class";
    EXPECT_EQ(clone->GetMessage(), u"memo");
    EXPECT_STREQ(clone->GetFile(), "Store.cpp");
    EXPECT_EQ(clone->GetLine(), 12U);

    EXPECT_STREQ(clone->GetCause()->GetName(), "StoreException");
    EXPECT_EQ(clone->GetCause()->GetErrorCode(), -7003);
    EXPECT_EQ(clone->GetCause()->GetFile(), nullptr);
    EXPECT_EQ(clone->GetCause()->GetCause()->GetMessage(), u"disk");
}

TEST(ExceptionsTest, AssignmentTakesEverythingOverAlsoAlongSeveralPaths) {
    StoreFullException source("full", "a.cpp", 3, KestException("disk", nullptr, 0));
    StoreFullException copied(nullptr, nullptr, 0), moved(nullptr, nullptr, 0);
    copied = source;
    moved = std::move(source);   // assigns the virtual base twice
    for (const StoreFullException* each : {&copied, &moved}) {
        EXPECT_EQ(each->GetMessage(), u"full");
        EXPECT_STREQ(each->GetFile(), "a.cpp");
        EXPECT_EQ(each->GetCause()->GetMessage(), u"disk");
    }
}

}   // namespace
