#include <Kest/PagedArray.hpp>

#include "TestElements.hpp"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

namespace {

using Kest::PagedArray;

TEST(PagedArrayTest, ElementsStayWhereTheyAreWhileOthersComeAndGo) {
    {
        std::mt19937 random(11);
        PagedArray<CountedElement, 3> array;
        std::vector<const CountedElement*> places;
        for (int step = 0; step < 2000; ++step) {
            if (random() % 5 < 3) {
                places.push_back(&array.Push(CountedElement(static_cast<int>(places.size()))));
            } else if (!array.IsEmpty()) {
                array.Pop();
                places.pop_back();
            }
            ASSERT_EQ(array.GetSize(), places.size());
            ASSERT_EQ(CountedElement::living, static_cast<int>(places.size()));
        }
        const PagedArray<CountedElement, 3> moved(std::move(array));
        std::size_t index = 0;
        for (const CountedElement& element : moved) {
            ASSERT_EQ(&element, places[index]);
            ASSERT_EQ(element.value, static_cast<int>(index++));
        }
        EXPECT_EQ(index, places.size());
        EXPECT_TRUE(array.IsEmpty());   // and usable
        array.Push(CountedElement(1));
    }
    EXPECT_EQ(CountedElement::living, 0);
}

TEST(PagedArrayTest, ACopyGrowsWithoutMovingToo) {
    PagedArray<int, 4> array;
    for (int n = 0; n < 5; ++n)
        array.Push(n);
    PagedArray<int, 4> copy;
    copy = array;
    int& last = copy[4];
    copy.Push(5);
    last = 40;
    EXPECT_EQ(copy[4], 40);
    EXPECT_EQ(array[4], 4);
}

TEST(PagedArrayTest, AThrowingCopyLeavesTheArrayAsItWas) {
    PagedArray<CopyOnlyElement, 2> array;
    for (std::size_t size = 0; size < 5; ++size) {
        const CopyOnlyElement added(static_cast<int>(size));
        EXPECT_GT(FailCopies([&] { array.Push(added); }, [&] { ASSERT_EQ(array.GetSize(), size); }), 1);
    }
    PagedArray<CopyOnlyElement, 2> other;
    EXPECT_GT(FailCopies([&] { other = array; }, [&] { ASSERT_TRUE(other.IsEmpty()); }), 5);
    EXPECT_EQ(other[4].value, 4);
}

}   // namespace
