#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace Kest {

/// A growing array. Indexes count from 0; elements move when it grows and when others are inserted or deleted.
template <class T>
class Array {
public:
    /// The answer of Find when there is no such element.
    static constexpr std::size_t NotFound = static_cast<std::size_t>(-1);

    Array() noexcept = default;
    Array(std::initializer_list<T> source) : elements(source) {}

    /// Appends \p element. \returns the stored one.
    T& Push(T element) { return elements.emplace_back(std::move(element)); }

    /// Inserts \p element before the one at \p index; at GetSize() it is appended.
    void Insert(std::size_t index, T element) {
        assert(index <= elements.size());
        elements.insert(At(index), std::move(element));
    }

    /// Deletes the element at \p index, below GetSize(); the ones behind it move up.
    void Delete(std::size_t index) {
        assert(index < elements.size());
        elements.erase(At(index));
    }

    /// Deletes all elements equal to \p value. \returns how many there were.
    /// The value is taken as a copy: it may be one of the elements.
    std::size_t DeleteAll(T value) { return std::erase(elements, value); }

    /// The index of the first element equal to \p value, or NotFound.
    std::size_t Find(const T& value) const {
        const auto found = std::find(elements.begin(), elements.end(), value);
        return found == elements.end() ? NotFound : static_cast<std::size_t>(found - elements.begin());
    }
    bool Contains(const T& value) const { return Find(value) != NotFound; }

    void Clear() noexcept { elements.clear(); }
    /// Makes room for \p count elements in all.
    void Reserve(std::size_t count) { elements.reserve(count); }

    std::size_t GetSize() const noexcept { return elements.size(); }
    bool IsEmpty() const noexcept { return elements.empty(); }

    T& operator[](std::size_t index) noexcept {
        assert(index < elements.size());
        return elements[index];
    }
    const T& operator[](std::size_t index) const noexcept {
        assert(index < elements.size());
        return elements[index];
    }
    T& GetFirst() noexcept { return (*this)[0]; }
    const T& GetFirst() const noexcept { return (*this)[0]; }
    T& GetLast() noexcept { return (*this)[elements.size() - 1]; }
    const T& GetLast() const noexcept { return (*this)[elements.size() - 1]; }

    T* begin() noexcept { return elements.data(); }
    T* end() noexcept { return elements.data() + elements.size(); }
    const T* begin() const noexcept { return elements.data(); }
    const T* end() const noexcept { return elements.data() + elements.size(); }

    bool operator==(const Array& other) const { return elements == other.elements; }

private:
    auto At(std::size_t index) noexcept { return elements.begin() + static_cast<std::ptrdiff_t>(index); }

    std::vector<T> elements;
};

}   // namespace Kest
