// CFStringCreateWithFormat: the printf conversions and %@, in order or by position.
//
// Three passes, since an argument by position can only be fetched when the types of all before it are known: read the
// conversions, fetch the arguments, print.
#include "platform/corefoundation/plain_locale.h"
#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using std::u16string_view;

enum class Kind { None, Int, Long, LongLong, Double, LongDouble, Pointer };

struct Argument {
    Kind kind = Kind::None;
    long long nValue = 0;
    long double value = 0;
    void const* pointer = nullptr;
};

struct Conversion {
    u16string_view literal; // the text before it
    std::string szFlags = {};
    int nWidth = 0;
    int nPrecision = -1;
    int nWidthArgument = -1; // index of the argument, or -1
    int nPrecisionArgument = -1;
    int nArgument = -1;
    char chLength = 0; // 'H' for hh, 'q' for ll, else the letter
    char chType = 0;   // 0: only the literal
};

constexpr int kMostArguments = 512;
constexpr int kWidest = 1 << 20; // a wider field is a mistake, not a wish

class FormatReader {
public:
    explicit FormatReader(u16string_view format) : rest(format) {}

    std::vector<Conversion> lConversions;
    std::vector<Argument> lArguments;

    void ReadAll() {
        while (!rest.empty())
            ReadOne();
    }

private:
    void ReadOne() {
        Conversion oConversion;
        size_t const nPercent = std::min(rest.find(u'%'), rest.size());
        oConversion.literal = rest.substr(0, nPercent);
        u16string_view const conversion = rest.substr(nPercent);
        rest.remove_prefix(nPercent);
        if (!rest.empty() && !ReadConversion(oConversion)) {
            // Not a conversion: its characters stand for themselves.
            lConversions.push_back({.literal = oConversion.literal});
            oConversion = {.literal = conversion.substr(0, conversion.size() - rest.size())};
        }
        lConversions.push_back(std::move(oConversion));
    }

    bool ReadConversion(Conversion& o) {
        Take();
        int const nPosition = TakePosition();
        while (!rest.empty() && u16string_view(u"-+ #0'").find(rest[0]) != u16string_view::npos)
            if (char const ch = Take(); ch != '\'') // no locale, so no grouping
                o.szFlags += ch;
        o.nWidth = TakeCount(o.nWidthArgument);
        if (TakeIf('.'))
            o.nPrecision = TakeCount(o.nPrecisionArgument);
        o.chLength = TakeLength();
        o.chType = Take();
        if (o.chType == '%')
            return true;
        Kind const kind = KindOf(o);
        if (kind == Kind::None)
            return false;
        o.nArgument = Note(nPosition, kind);
        return o.nArgument >= 0;
    }

    static Kind KindOf(Conversion const& o) {
        switch (o.chType) {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
        case 'D':
        case 'U':
        case 'O':
            switch (o.chLength) {
            case 'l':
            case 'z':
            case 't': return Kind::Long;
            case 'q':
            case 'j': return Kind::LongLong;
            default: return Kind::Int;
            }
        case 'c':
        case 'C': return Kind::Int;
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G': return o.chLength == 'L' ? Kind::LongDouble : Kind::Double;
        case '@':
        case 's':
        case 'S':
        case 'p': return Kind::Pointer;
        default: return Kind::None; // %n among them
        }
    }

    // Where the argument is, its kind noted; -1 when the format asks for too many or for one as two kinds.
    int Note(int nPosition, Kind kind) {
        int const nAt = nPosition >= 0 ? nPosition : nNext++;
        if (nAt >= kMostArguments)
            return -1;
        if (static_cast<size_t>(nAt) >= lArguments.size())
            lArguments.resize(static_cast<size_t>(nAt) + 1);
        Argument& oArgument = lArguments[static_cast<size_t>(nAt)];
        if (oArgument.kind != Kind::None && oArgument.kind != kind)
            return -1;
        oArgument.kind = kind;
        return nAt;
    }

    char Take() {
        if (rest.empty())
            return 0;
        char16_t const c = rest[0];
        rest.remove_prefix(1);
        return c < 0x80 ? static_cast<char>(c) : '\0';
    }
    bool TakeIf(char16_t wanted) {
        bool const bIs = !rest.empty() && rest[0] == wanted;
        if (bIs)
            rest.remove_prefix(1);
        return bIs;
    }
    int TakeNumber() {
        int n = 0;
        for (; !rest.empty() && rest[0] >= '0' && rest[0] <= '9'; rest.remove_prefix(1))
            n = std::min(n * 10 + (rest[0] - '0'), kWidest);
        return n;
    }
    // "3$" as 2; -1, with nothing taken, when there is none.
    int TakePosition() {
        u16string_view const before = rest;
        int const n = TakeNumber();
        if (n > 0 && TakeIf('$'))
            return n - 1;
        rest = before;
        return -1;
    }
    int TakeCount(int& nArgument) {
        if (!TakeIf('*'))
            return TakeNumber();
        nArgument = Note(TakePosition(), Kind::Int);
        return 0;
    }
    char TakeLength() {
        static constexpr u16string_view kLetters = u"hlqLjzt";
        if (rest.empty() || kLetters.find(rest[0]) == u16string_view::npos)
            return 0;
        char const ch = Take();
        if (ch == 'h' && TakeIf('h'))
            return 'H';
        return ch == 'l' && TakeIf('l') ? 'q' : ch;
    }

    u16string_view rest;
    int nNext = 0;
};

void Fetch(std::vector<Argument>& lArguments, va_list arguments) {
    for (auto& oArgument : lArguments) {
        switch (oArgument.kind) {
        case Kind::None: // a gap between positions: nothing tells its type, so take what most types fill
        case Kind::Pointer: oArgument.pointer = va_arg(arguments, void const*); break;
        case Kind::Int: oArgument.nValue = va_arg(arguments, int); break;
        case Kind::Long: oArgument.nValue = va_arg(arguments, long); break;
        case Kind::LongLong: oArgument.nValue = va_arg(arguments, long long); break;
        case Kind::Double: oArgument.value = va_arg(arguments, double); break;
        case Kind::LongDouble: oArgument.value = va_arg(arguments, long double); break;
        }
    }
}

class Printer {
public:
    Printer(std::u16string& outText, std::vector<Argument> const& lTheArguments)
        : out(outText), lArguments(lTheArguments) {}

    void Print(Conversion o) {
        out += o.literal;
        if (o.chType == 0)
            return;
        if (o.nWidthArgument >= 0)
            SetWidth(o, Count(o.nWidthArgument));
        if (o.nPrecisionArgument >= 0)
            o.nPrecision = Count(o.nPrecisionArgument);
        switch (o.chType) {
        case '%': out += u'%'; break;
        case '@': PrintText(o, ObjectText(At(o).pointer)); break;
        case 's': PrintText(o, CStringText(o, static_cast<char const*>(At(o).pointer))); break;
        case 'S': PrintText(o, UnitsText(static_cast<char16_t const*>(At(o).pointer))); break;
        case 'c':
        case 'C': PrintText(o, std::u16string(1, static_cast<char16_t>(At(o).nValue))); break;
        case 'p': PrintNumber(o, "p", At(o).pointer); break;
        default: PrintNumeric(o); break;
        }
    }

private:
    Argument const& At(Conversion const& o) const { return lArguments[static_cast<size_t>(o.nArgument)]; }
    int Count(int nArgument) const {
        auto const nValue = lArguments[static_cast<size_t>(nArgument)].nValue;
        return static_cast<int>(std::min<long long>(std::max<long long>(nValue, -kWidest), kWidest));
    }
    static void SetWidth(Conversion& o, int nWidth) {
        if (nWidth < 0)
            o.szFlags += '-';
        o.nWidth = std::abs(nWidth);
    }

    static std::u16string ObjectText(void const* object) {
        return object ? cf::Of(object).FormattingText() : std::u16string(u"(null)");
    }
    static std::u16string CStringText(Conversion const& o, char const* szText) {
        if (!szText)
            return u"(null)";
        // With a precision the bytes need not end in NUL; a unit is at most three of them.
        size_t const nMost = o.nPrecision < 0 ? std::string::npos : static_cast<size_t>(o.nPrecision) * 3;
        size_t n = 0;
        while (n < nMost && szText[n] != '\0')
            ++n;
        return cf::Utf16FromUtf8Lossy({szText, n});
    }
    static std::u16string UnitsText(char16_t const* units) { return units ? std::u16string(units) : u"(null)"; }

    void PrintText(Conversion const& o, std::u16string text) {
        if (o.nPrecision >= 0 && static_cast<size_t>(o.nPrecision) < text.size() && o.chType != 'c' && o.chType != 'C')
            text.resize(static_cast<size_t>(o.nPrecision));
        size_t const nWidth = static_cast<size_t>(o.nWidth);
        size_t const nPad = nWidth > text.size() ? nWidth - text.size() : 0;
        bool const bLeft = o.szFlags.find('-') != std::string::npos;
        out += bLeft ? text + std::u16string(nPad, u' ') : std::u16string(nPad, u' ') + text;
    }

    void PrintNumeric(Conversion const& o) {
        Argument const& oArgument = At(o);
        if (oArgument.kind == Kind::Double || oArgument.kind == Kind::LongDouble) {
            PrintNumber(o, std::string("L") + o.chType, oArgument.value);
            return;
        }
        // Upper-case D, U and O are old names for the long forms; 'h' narrows after the fetch.
        char const chType =
            o.chType == 'D' || o.chType == 'U' || o.chType == 'O' ? static_cast<char>(o.chType | 0x20) : o.chType;
        PrintNumber(o, std::string("ll") + chType, Narrowed(o, chType, oArgument));
    }
    static long long Narrowed(Conversion const& o, char chType, Argument const& oArgument) {
        bool const bSigned = chType == 'd' || chType == 'i';
        long long const n = oArgument.nValue;
        switch (o.chLength) {
        case 'H': return bSigned ? static_cast<signed char>(n) : static_cast<unsigned char>(n);
        case 'h': return bSigned ? static_cast<short>(n) : static_cast<unsigned short>(n);
        default: return oArgument.kind == Kind::Int && !bSigned ? static_cast<unsigned>(n) : n;
        }
    }

    template <class Value>
    void PrintNumber(Conversion const& o, std::string const& szType, Value value) {
        std::string szFormat = "%" + o.szFlags;
        if (o.nWidth > 0)
            szFormat += std::to_string(o.nWidth);
        if (o.nPrecision >= 0)
            szFormat += "." + std::to_string(o.nPrecision);
        szFormat += szType;
        cf::PlainLocale const oPlain;
        int const nLength = std::snprintf(nullptr, 0, szFormat.c_str(), value);
        std::string szText(static_cast<size_t>(std::max(nLength, 0)) + 1, '\0');
        std::snprintf(szText.data(), szText.size(), szFormat.c_str(), value);
        szText.pop_back();
        out.append(szText.begin(), szText.end());
    }

    std::u16string& out;
    std::vector<Argument> const& lArguments;
};

} // namespace

std::u16string cf::Format(u16string_view format, va_list arguments) noexcept {
    FormatReader oReader(format);
    oReader.ReadAll();
    Fetch(oReader.lArguments, arguments);
    std::u16string out;
    Printer oPrinter(out, oReader.lArguments);
    for (auto const& oConversion : oReader.lConversions)
        oPrinter.Print(oConversion);
    return out;
}
