// The obvious way to do what files/path.h does, on strings without a limit: what the fast way is compared with.
#pragma once

#include <functional>
#include <string>

namespace model {

inline constexpr char kSeparators[] = "/\\";
inline constexpr auto npos = std::string::npos;

inline std::string Cut(std::string const& sz) {
    return sz.substr(0, 259);
}
inline bool EndsWithSeparator(std::string const& sz) {
    return !sz.empty() && sz.find_last_of(kSeparators) == sz.size() - 1;
}
inline std::string File(std::string const& sz) {
    return sz.substr(sz.find_last_of(kSeparators) + 1);
}

inline std::string Join(std::string const& szFolder, std::string const& szName, std::string const& szExt) {
    std::string sz = szFolder.substr(0, 258);
    return Cut((sz.empty() || EndsWithSeparator(sz) ? sz : sz + "/") + szName + szExt);
}

inline std::string Folder(std::string const& sz) {
    size_t const n = sz.find_last_of(kSeparators);
    if (n == npos || n == 0)
        return !sz.empty() && sz[0] == '/' ? "/" : "";
    return sz.substr(0, n);
}

inline std::string BaseFolder(std::string const& sz) {
    size_t const n = sz.find_first_of(kSeparators, 2);
    std::string const szBase = n == npos ? sz : sz.substr(0, n + 1);
    return szBase.size() >= 2 && EndsWithSeparator(szBase) ? szBase.substr(0, szBase.size() - 1) : szBase;
}

inline std::string FileName(std::string const& sz) {
    std::string const szFile = File(sz);
    size_t const n = szFile.rfind('.');
    return n == npos || n == 0 ? szFile : szFile.substr(0, n);
}

inline std::string Extension(std::string const& sz) {
    std::string const szFile = File(sz);
    size_t const n = szFile.rfind('.');
    return n == npos ? "" : szFile.substr(n);
}

inline std::string NewExtension(std::string const& sz, std::string const& szExt) {
    size_t const nPart = sz.find_last_of(kSeparators) + 1;
    size_t const n = sz.rfind('.');
    return (n == npos || n < nPart || n == 0 ? sz : sz.substr(0, n)) + szExt;
}

// Calls back with every string of at most `nLength` characters of the alphabet.
inline void ForEachString(std::string const& szAlphabet, size_t nLength,
                          std::function<void(std::string const&)> const& Do, std::string const& szStart = "") {
    Do(szStart);
    if (szStart.size() < nLength)
        for (char const c : szAlphabet)
            ForEachString(szAlphabet, nLength, Do, szStart + c);
}

} // namespace model
