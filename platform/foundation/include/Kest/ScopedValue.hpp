#pragma once

#include <utility>

namespace Kest {

/// Gives a variable a value for the length of a scope.
template <class T>
class ScopedValue {
public:
    ScopedValue(T& target, T value) : variable(target), previous(std::exchange(target, std::move(value))) {}
    ~ScopedValue() { variable = std::move(previous); }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    T& variable;
    T previous;
};

}   // namespace Kest
