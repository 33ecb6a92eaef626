#pragma once

#include <cassert>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kest {

/// An array in pages of N elements that grows and shrinks at its end. Elements never move: a reference holds until its
/// own element goes, also when the array grows or is moved.
template <class T, std::size_t N>
class PagedArray {
    static_assert(N > 0, "a page holds at least one element");

    template <bool IsConst>
    class BasicIterator {
        using Owner = std::conditional_t<IsConst, const PagedArray, PagedArray>;

    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = std::conditional_t<IsConst, const T&, T&>;
        using pointer = std::remove_reference_t<reference>*;

        BasicIterator() = default;
        BasicIterator(Owner& array, std::size_t place) noexcept : owner(&array), index(place) {}
        reference operator*() const noexcept { return (*owner)[index]; }
        pointer operator->() const noexcept { return &(*owner)[index]; }
        BasicIterator& operator++() noexcept {
            ++index;
            return *this;
        }
        BasicIterator operator++(int) noexcept { return BasicIterator(*owner, index++); }
        bool operator==(const BasicIterator&) const = default;

    private:
        Owner* owner = nullptr;
        std::size_t index = 0;
    };

public:
    using Iterator = BasicIterator<false>;
    using ConstIterator = BasicIterator<true>;

    PagedArray() noexcept = default;
    PagedArray(const PagedArray& source) {
        pages.reserve(source.pages.size());
        for (const T& element : source)
            Push(element);
    }
    PagedArray(PagedArray&& source) noexcept { pages.swap(source.pages); }
    ~PagedArray() = default;
    PagedArray& operator=(const PagedArray& source) {
        PagedArray copy(source);
        pages.swap(copy.pages);
        return *this;
    }
    PagedArray& operator=(PagedArray&& source) noexcept {
        PagedArray taken(std::move(source));
        pages.swap(taken.pages);
        return *this;
    }

    /// Appends \p element; whatever is thrown leaves the array as it was. \returns the stored one.
    T& Push(T element) {
        if (pages.empty() || pages.back().size() == N)
            PushPage(std::move(element));
        else
            pages.back().push_back(std::move(element));
        return pages.back().back();
    }

    /// Removes the last element of an array that is not empty.
    void Pop() noexcept {
        assert(!pages.empty());
        pages.back().pop_back();
        if (pages.back().empty())
            pages.pop_back();
    }

    void Clear() noexcept { pages.clear(); }

    std::size_t GetSize() const noexcept { return pages.empty() ? 0 : (pages.size() - 1) * N + pages.back().size(); }
    bool IsEmpty() const noexcept { return pages.empty(); }

    T& operator[](std::size_t index) noexcept {
        assert(index < GetSize());
        return pages[index / N][index % N];
    }
    const T& operator[](std::size_t index) const noexcept {
        assert(index < GetSize());
        return pages[index / N][index % N];
    }

    Iterator begin() noexcept { return {*this, 0}; }
    Iterator end() noexcept { return {*this, GetSize()}; }
    ConstIterator begin() const noexcept { return {*this, 0}; }
    ConstIterator end() const noexcept { return {*this, GetSize()}; }

private:
    using Page = std::vector<T>;   // reserved for N elements and never grown beyond them

    void PushPage(T&& element) {
        Page page;
        page.reserve(N);
        page.push_back(std::move(element));
        pages.push_back(std::move(page));
    }

    std::vector<Page> pages;   // full but for the last, which is not empty
};

}   // namespace Kest
