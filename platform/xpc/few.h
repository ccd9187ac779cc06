// A sequence that is nearly always short.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace platform {

// Up to kInline items lie in the object itself and cost no allocation; with one more, all of them move into a vector.
// An item that is added may move the others. One thread at a time.
template <class T, size_t kInline>
class Few {
public:
    T* begin() noexcept { return lSpilled.empty() ? aInline.data() : lSpilled.data(); }
    T* end() noexcept { return begin() + size(); }
    T const* begin() const noexcept { return lSpilled.empty() ? aInline.data() : lSpilled.data(); }
    T const* end() const noexcept { return begin() + size(); }
    size_t size() const noexcept { return lSpilled.empty() ? nInline : lSpilled.size(); }

    void push_back(T oItem) {
        if (lSpilled.empty() && nInline < kInline) {
            aInline[nInline++] = std::move(oItem);
            return;
        }
        if (lSpilled.empty()) {
            lSpilled.reserve(2 * kInline);
            std::move(aInline.begin(), aInline.end(), std::back_inserter(lSpilled));
            nInline = 0;
        }
        lSpilled.push_back(std::move(oItem));
    }

    // Drops the items from this one on.
    void truncate(T* pFirst) noexcept {
        for (auto nDropped = end() - pFirst; nDropped > 0; --nDropped)
            if (lSpilled.empty())
                aInline[--nInline] = T();
            else
                lSpilled.pop_back();
    }

private:
    std::array<T, kInline> aInline; // the first nInline are items, the others are T()
    size_t nInline = 0;             // 0 once they have moved
    std::vector<T> lSpilled;
};

} // namespace platform
