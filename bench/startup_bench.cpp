// What the start-up costs a host: load and unload of the bundle, beside those of a shared object of the same size with
// an initialiser that does nothing. Prints the table "Load and unload" of docs/performance.md.
#include "bench/measure.h"
#include "tests/harness/temporary_folder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <vector>

namespace {

uint64_t LoadAndUnload(char const* szObject) {
    uint64_t const nBegin = NowNs();
    void* const pObject = dlopen(szObject, RTLD_NOW | RTLD_LOCAL);
    if (!pObject || dlclose(pObject) != 0)
        std::abort();
    uint64_t const nTaken = NowNs() - nBegin;
    if (dlopen(szObject, RTLD_NOW | RTLD_NOLOAD))
        std::abort(); // still there: nothing was measured
    return nTaken;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    TemporaryFolder const oHome; // unloading deletes the run-lock file of whoever's home it is
    setenv("HOME", oHome.Path().c_str(), 1);
    std::vector<uint64_t> lOurs, lEmpty;
    for (int n = 0; n < (bQuick ? 100 : 1000); ++n) {
        lEmpty.push_back(LoadAndUnload(LUMORA_EMPTY_OBJECT));
        lOurs.push_back(LoadAndUnload(LUMORA_BUNDLE_OBJECT));
    }
    auto const oMedian = [](std::vector<uint64_t>& l) { return static_cast<double>(Percentile(l, 0.5)) / 1e6; };
    double const fOurs = oMedian(lOurs), fEmpty = oMedian(lEmpty);
    char szWhat[120];
    std::snprintf(szWhat, sizeof szWhat, "load and unload, median: %.2f ms; above the empty object's %.2f ms", fOurs,
                  fEmpty);
    return PrintRows({{szWhat, fOurs - fEmpty, 0, "ms", 3}}) ? 0 : 1;
}
