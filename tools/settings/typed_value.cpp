#include "tools/settings/typed_value.h"

#include "tools/process/failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <termios.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostBytes = 1 << 20;
constexpr char kCtrlC = '\x03';

// What is typed is not shown, and Ctrl-C comes as a character that ends the line at once: a signal would leave the
// terminal like that.
class UnseenInput {
public:
    UnseenInput() {
        bChanged = tcgetattr(STDIN_FILENO, &oBefore) == 0;
        termios oUnseen = oBefore;
        oUnseen.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        oUnseen.c_cc[VEOL] = kCtrlC;
        bChanged = bChanged && tcsetattr(STDIN_FILENO, TCSAFLUSH, &oUnseen) == 0;
    }
    ~UnseenInput() {
        if (!bChanged)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &oBefore);
        std::fputc('\n', stderr);
    }
    UnseenInput(UnseenInput const&) = delete;
    UnseenInput& operator=(UnseenInput const&) = delete;

    bool IsUnseen() const { return bChanged; }

private:
    termios oBefore{};
    bool bChanged = false;
};

std::string ReadInput(bool bOneLine) {
    std::string szText;
    char sz[4096];
    while (szText.size() <= kMostBytes &&
           (!bOneLine || szText.empty() || (szText.back() != '\n' && szText.back() != kCtrlC))) {
        ssize_t const n = read(STDIN_FILENO, sz, sizeof sz);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            throw Failure(ExitCode::Input,
                          std::string("the value can't be read from standard input: ") + std::strerror(errno) + ".");
        if (n == 0)
            break;
        szText.append(sz, static_cast<std::size_t>(n));
    }
    return szText;
}

std::string ReadUnseenLine() {
    UnseenInput const oUnseen;
    if (!oUnseen.IsUnseen())
        throw Failure(ExitCode::Input, "the terminal can't be kept from showing the password. Give it through a pipe.");
    std::string const szLine = ReadInput(true);
    if (szLine.find(kCtrlC) != std::string::npos)
        throw Failure(ExitCode::Usage, "nothing was changed.");
    return szLine;
}

} // namespace

std::string ReadTypedValue(std::string const& szQuestion, bool bSecret) {
    bool const bTerminal = isatty(STDIN_FILENO);
    if (bTerminal)
        std::fputs(szQuestion.c_str(), stderr);
    std::string szValue = bTerminal && bSecret ? ReadUnseenLine() : ReadInput(bTerminal);
    if (szValue.empty()) // the input ended before a line did, or what should have written it failed
        throw Failure(ExitCode::Usage, bTerminal ? "nothing was changed."
                                                 : "standard input is empty, and nothing was changed. For an empty "
                                                   "value give '' as VALUE.");
    if (!szValue.empty() && szValue.back() == '\n')
        szValue.pop_back();
    if (!szValue.empty() && szValue.back() == '\r')
        szValue.pop_back();
    if (szValue.size() > kMostBytes)
        throw Failure(ExitCode::Input, "the value on standard input is larger than 1 MiB.");
    if (szValue.find('\0') != std::string::npos)
        throw Failure(ExitCode::Input, "the value on standard input is no text: it has a zero byte in it.");
    return szValue;
}
