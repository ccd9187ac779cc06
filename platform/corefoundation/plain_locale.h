// Numbers as the C locale writes and reads them, whatever locale the process has set.
#pragma once

#include <clocale>

namespace cf {

// The calling thread's locale is plain "C" from construction to the end of the scope.
class PlainLocale {
public:
    PlainLocale() noexcept : before(uselocale(Plain())) {}
    ~PlainLocale() { uselocale(before); }
    PlainLocale(PlainLocale const&) = delete;
    PlainLocale& operator=(PlainLocale const&) = delete;

private:
    // Leaked: numbers are printed until the process is gone.
    static locale_t Plain() noexcept {
        static locale_t const locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t const before;
};

} // namespace cf
