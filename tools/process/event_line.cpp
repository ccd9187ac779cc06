#include "tools/process/event_line.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace {

std::string Quoted(std::string const& szValue) {
    if (!szValue.empty() && szValue.find_first_of(" \"\\\n\r\t=") == std::string::npos)
        return szValue;
    std::string szQuoted = "\"";
    for (char const c : szValue)
        if (c == '\n')
            szQuoted += "\\n";
        else
            (szQuoted += c == '"' || c == '\\' ? "\\" : "") += c;
    return szQuoted + "\"";
}

// The word at nAt, unquoted; nAt moves past it.
std::string TakeWord(std::string const& szLine, size_t& nAt, char const* szEnds) {
    std::string szWord;
    bool bQuoted = false;
    for (; nAt < szLine.size(); ++nAt) {
        char const c = szLine[nAt];
        if (c == '"') {
            bQuoted = !bQuoted;
        } else if (c == '\\' && bQuoted && nAt + 1 < szLine.size()) {
            char const cNext = szLine[++nAt];
            szWord += cNext == 'n' ? '\n' : cNext;
        } else if (!bQuoted && std::string(szEnds).find(c) != std::string::npos) {
            break;
        } else {
            szWord += c;
        }
    }
    return szWord;
}

} // namespace

EventLine EventLine::Parse(std::string const& szLine) {
    size_t nAt = 0;
    EventLine oEvent(TakeWord(szLine, nAt, " "));
    while (nAt < szLine.size()) {
        if (szLine[nAt] == ' ') {
            ++nAt;
            continue;
        }
        std::string szKey = TakeWord(szLine, nAt, "= ");
        std::string szValue;
        if (nAt < szLine.size() && szLine[nAt] == '=')
            szValue = TakeWord(szLine, ++nAt, " ");
        oEvent.lValues.emplace_back(std::move(szKey), std::move(szValue));
    }
    return oEvent;
}

EventLine& EventLine::Add(std::string const& szKey, std::string const& szValue) {
    lValues.emplace_back(szKey, szValue);
    return *this;
}

EventLine& EventLine::Add(std::string const& szKey, uint64_t nValue) {
    return Add(szKey, std::to_string(nValue));
}

EventLine& EventLine::Add(std::string const& szKey, double nValue) {
    char szText[40];
    std::snprintf(szText, sizeof szText, "%.9g", nValue);
    if (std::strtod(szText, nullptr) != nValue)
        std::snprintf(szText, sizeof szText, "%.17g", nValue);
    return Add(szKey, std::string(szText));
}

std::optional<std::string> EventLine::Text(std::string const& szKey) const {
    for (auto const& [szName_, szValue] : lValues)
        if (szName_ == szKey)
            return szValue;
    return std::nullopt;
}

uint64_t EventLine::Number(std::string const& szKey) const {
    return std::strtoull(Text(szKey).value_or("").c_str(), nullptr, 10);
}

double EventLine::Real(std::string const& szKey) const {
    return std::strtod(Text(szKey).value_or("").c_str(), nullptr);
}

std::string EventLine::Line() const {
    std::string szLine = szName;
    for (auto const& [szKey, szValue] : lValues)
        szLine += " " + szKey + "=" + Quoted(szValue);
    return szLine;
}

void EventLine::Print() const {
    std::string const szLine = Line() + "\n"; // one write, so that lines of several threads don't run into each other
    [[maybe_unused]] ssize_t const nWritten = write(STDOUT_FILENO, szLine.data(), szLine.size());
}
