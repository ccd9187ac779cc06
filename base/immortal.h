// A global whose destructor never runs by itself.
#pragma once

#include <utility>

// Holds a T that is constructed as usual (at compile time, where T allows) and never destroyed: for globals that other
// code takes down at a moment of its own choosing, whatever order the program's own destructors run in.
template <class T>
class LImmortal {
public:
    template <class... Arguments>
    constexpr explicit LImmortal(Arguments&&... oArguments) noexcept : oValue(std::forward<Arguments>(oArguments)...) {}
    constexpr ~LImmortal() {}
    LImmortal(LImmortal const&) = delete;
    LImmortal& operator=(LImmortal const&) = delete;

    T* operator->() noexcept { return &oValue; }
    T& operator*() noexcept { return oValue; }

private:
    union {
        T oValue;
    };
};
