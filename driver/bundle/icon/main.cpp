// usage: lumora_draw_icon OUTPUT.icns
#include "driver/bundle/icon/icon_file.h"

#include <cstdio>

namespace {

// The kinds that hold a PNG, by size in pixels; the first two are for small sizes on dense displays.
constexpr struct {
    char const* szKind;
    int nSize;
} kEntries[] = {{"ic11", 32}, {"ic12", 64}, {"ic07", 128}, {"ic08", 256}, {"ic09", 512}, {"ic10", 1024}};

} // namespace

int main(int nArguments, char** ppArguments) {
    if (nArguments != 2) {
        std::fputs("usage: lumora_draw_icon OUTPUT.icns\n", stderr);
        return 2;
    }
    IconFile oFile;
    for (auto const& oEntry : kEntries)
        if (!oFile.Add(oEntry.szKind, DrawIcon(oEntry.nSize))) {
            std::fprintf(stderr, "lumora_draw_icon: can't compress the picture of %d pixels\n", oEntry.nSize);
            return 1;
        }
    if (!oFile.Write(ppArguments[1])) {
        std::perror(ppArguments[1]);
        return 1;
    }
    return 0;
}
