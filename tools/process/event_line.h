// What the roles say on standard output, for people and programs alike: one line an event, a name and key=value words.
//
//     finished frames=352800 cycles=690 hash=9f27c3...
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class EventLine {
public:
    explicit EventLine(std::string szEvent) : szName(std::move(szEvent)) {}

    // Reads a line without its end. Words without "=" are kept with an empty value.
    static EventLine Parse(std::string const& szLine);

    // A value with spaces, quotes or control characters is written in double quotes with backslashes.
    EventLine& Add(std::string const& szKey, std::string const& szValue);
    EventLine& Add(std::string const& szKey, uint64_t nValue);
    EventLine& Add(std::string const& szKey, double nValue); // so that it reads back as the same number

    std::string const& Name() const noexcept { return szName; }
    std::optional<std::string> Text(std::string const& szKey) const;
    uint64_t Number(std::string const& szKey) const; // 0 when missing or no number
    double Real(std::string const& szKey) const;     // 0 when missing or no number

    std::string Line() const;

    // Writes the line to standard output at once, whole. Any thread. A reader that has gone is no error.
    void Print() const;

private:
    std::string szName;
    std::vector<std::pair<std::string, std::string>> lValues;
};
