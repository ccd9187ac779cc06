// LStringLongTemplate: the library's growable string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// A growable string of char, wchar_t or char16_t. Starts without a buffer; once it has one, the text in it always ends
// with a NUL. Lengths and capacities are in characters; the capacity counts the NUL. No operation throws: one that
// can't get memory leaves the string as it was and returns false. One thread at a time.
template <class T>
class LStringLongTemplate {
    static_assert(std::is_same_v<T, char> || std::is_same_v<T, wchar_t> || std::is_same_v<T, char16_t>);

public:
    constexpr LStringLongTemplate() noexcept = default;
    LStringLongTemplate(LStringLongTemplate const& oOther) noexcept { Append(oOther.View()); }
    LStringLongTemplate(LStringLongTemplate&& oOther) noexcept { Swap(oOther); }
    LStringLongTemplate& operator=(LStringLongTemplate const& oOther) noexcept {
        if (this != &oOther)
            Set(oOther.View());
        return *this;
    }
    LStringLongTemplate& operator=(LStringLongTemplate&& oOther) noexcept {
        LStringLongTemplate oTaken(std::move(oOther));
        Swap(oTaken);
        return *this;
    }
    ~LStringLongTemplate() { std::free(pBuffer); }

    // The characters, or null before the first allocation. Valid until the next change.
    T* GetBuffer() noexcept { return pBuffer; }
    T const* GetBuffer() const noexcept { return pBuffer; }
    // The text as a C string: an empty one where there is no buffer yet. Never null.
    T const* GetString() const noexcept { return pBuffer ? pBuffer : &kEnd; }
    std::basic_string_view<T> View() const noexcept { return {GetString(), nLength}; }

    std::size_t GetLength() const noexcept { return nLength; }
    std::size_t GetCapacity() const noexcept { return nCapacity; }
    bool IsEmpty() const noexcept { return nLength == 0; }

    // Room for `nCharacters`, the NUL counted. Never shrinks.
    bool Reserve(std::size_t nCharacters) noexcept {
        if (nCharacters <= nCapacity)
            return true;
        if (nCharacters > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T))
            return false;
        void* const pGrown = std::realloc(static_cast<void*>(pBuffer), nCharacters * sizeof(T));
        if (!pGrown)
            return false;
        pBuffer = static_cast<T*>(pGrown);
        nCapacity = nCharacters;
        pBuffer[nLength] = T();
        return true;
    }

    // Keeps the buffer.
    void Empty() noexcept { Truncate(0); }
    // Cuts the text to at most `nCharacters`.
    void Truncate(std::size_t nCharacters) noexcept {
        if (nCharacters >= nLength)
            return;
        nLength = nCharacters;
        pBuffer[nLength] = T();
    }

    // For a writer that goes character by character: a full buffer grows fourfold, so that a long text costs few
    // moves. Once the capacity is above 0x20000000 a character that does not fit is dropped.
    bool AppendChar(T c) noexcept {
        if (nLength + 1 >= nCapacity && (nCapacity > kMostToMultiply || !Reserve(nCapacity ? nCapacity * 4 : kLeast)))
            return false;
        pBuffer[nLength++] = c;
        pBuffer[nLength] = T();
        return true;
    }

    // Grows to the larger of 260 and what is needed plus the capacity so far. `szMore` may be part of this string.
    bool Append(T const* szMore) noexcept { return !szMore || Append(std::basic_string_view<T>(szMore)); }
    bool Append(std::basic_string_view<T> szMore) noexcept {
        if (szMore.empty())
            return true;
        bool const bOwnText = !std::less<T const*>()(szMore.data(), GetString()) &&
                              std::less<T const*>()(szMore.data(), GetString() + nLength + 1);
        std::size_t const nOffset = bOwnText ? static_cast<std::size_t>(szMore.data() - GetString()) : 0;
        if (szMore.size() >
            static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T) - nLength - 1)
            return false;
        std::size_t const nNeeded = nLength + szMore.size() + 1;
        if (nNeeded > nCapacity && !Reserve(nNeeded + nCapacity > kLeast ? nNeeded + nCapacity : kLeast))
            return false;
        std::memmove(pBuffer + nLength, bOwnText ? pBuffer + nOffset : szMore.data(), szMore.size() * sizeof(T));
        nLength = nNeeded - 1;
        pBuffer[nLength] = T();
        return true;
    }

    // Replaces the text; the old one stays when memory runs out. `szText` may be part of this string; null is empty.
    bool Set(T const* szText) noexcept {
        return Set(szText ? std::basic_string_view<T>(szText) : View().substr(nLength));
    }
    bool Set(std::basic_string_view<T> szText) noexcept {
        if (szText.empty()) {
            Empty();
            return true;
        }
        std::size_t const nBefore = nLength;
        if (!Append(szText)) // behind the old text, which may be its source
            return false;
        nLength -= nBefore;
        std::memmove(pBuffer, pBuffer + nBefore, (nLength + 1) * sizeof(T));
        return true;
    }

    // After something else has written into the reserved buffer: takes the text up to its first NUL.
    void UpdateLength() noexcept {
        if (!pBuffer)
            return;
        pBuffer[nCapacity - 1] = T();
        nLength = std::char_traits<T>::length(pBuffer);
    }

    // After something else has written `nCharacters`, fewer than the capacity, into the reserved buffer: takes them all,
    // NULs included.
    void SetLength(std::size_t nCharacters) noexcept {
        nLength = nCharacters;
        pBuffer[nLength] = T();
    }

    void Swap(LStringLongTemplate& oOther) noexcept {
        std::swap(pBuffer, oOther.pBuffer);
        std::swap(nLength, oOther.nLength);
        std::swap(nCapacity, oOther.nCapacity);
    }

    friend bool operator==(LStringLongTemplate const& oLeft, LStringLongTemplate const& oRight) noexcept {
        return oLeft.View() == oRight.View();
    }
    friend bool operator==(LStringLongTemplate const& oLeft, T const* szRight) noexcept {
        return oLeft.View() == szRight;
    }

private:
    static constexpr std::size_t kLeast = 260;
    static constexpr std::size_t kMostToMultiply = 0x20000000;
    static constexpr T kEnd{};

    T* pBuffer = nullptr;
    std::size_t nLength = 0;
    std::size_t nCapacity = 0;
};

using LStringLong = LStringLongTemplate<char>;
