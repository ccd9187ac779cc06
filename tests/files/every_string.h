// All short texts there are, for what must hold for every one.
#pragma once

#include <functional>
#include <string>

// Calls back with every string of at most `nLength` characters of the alphabet.
inline void ForEachString(std::string const& szAlphabet, std::size_t nLength,
                          std::function<void(std::string const&)> const& Do, std::string const& szStart = "") {
    Do(szStart);
    if (szStart.size() < nLength)
        for (char const c : szAlphabet)
            ForEachString(szAlphabet, nLength, Do, szStart + c);
}
