#pragma once

#include <compare>
#include <cstddef>
#include <stdexcept>
#include <utility>

/// Move-only, and counts the objects that live, so that leaks and double destruction show.
class CountedElement {
public:
    explicit CountedElement(int number) : value(number) { ++living; }
    CountedElement(CountedElement&& source) noexcept : value(std::exchange(source.value, -1)) { ++living; }
    CountedElement& operator=(CountedElement&& source) noexcept {
        value = std::exchange(source.value, -1);
        return *this;
    }
    ~CountedElement() { --living; }
    bool operator==(const CountedElement& other) const = default;

    int value;
    static inline int living = 0;
};

/// Has no move of its own; copying throws once the count of copies that may still succeed has run down.
class CopyOnlyElement {
public:
    explicit CopyOnlyElement(int number) : value(number) {}
    CopyOnlyElement(const CopyOnlyElement& source) : value(source.value) { Spend(); }
    CopyOnlyElement& operator=(const CopyOnlyElement& source) {
        Spend();
        value = source.value;
        return *this;
    }
    bool operator==(const CopyOnlyElement& other) const = default;

    int value;
    static inline int copiesLeft = -1;   // below 0: without limit

private:
    static void Spend() {
        if (copiesLeft == 0)
            throw std::runtime_error("no more copies");
        if (copiesLeft > 0)
            --copiesLeft;
    }
};

/// Runs \p operation with 0, 1, 2 ... copies allowed until it succeeds, and \p check after each failure.
template <class Operation, class Check>
int FailCopies(Operation&& operation, Check&& check) {
    for (int allowed = 0;; ++allowed) {
        CopyOnlyElement::copiesLeft = allowed;
        try {
            operation();
            CopyOnlyElement::copiesLeft = -1;
            return allowed;
        } catch (const std::runtime_error&) {
            CopyOnlyElement::copiesLeft = -1;
            check();
        }
    }
}
