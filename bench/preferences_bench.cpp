// What walking through the preference store costs, beside copying its key list, which every step of the walk does.
#include "bench/measure.h"
#include "settings/cf_string.h"
#include "settings/preference_keys.h"
#include "settings/preferences.h"
#include "tests/harness/temporary_folder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>

namespace {

constexpr int kKeys = 10'000;
CFStringRef const kUser = kCFPreferencesCurrentUser;

double TimeMs(std::function<void()> const& Do) {
    uint64_t const nBegin = NowNs();
    Do();
    return static_cast<double>(NowNs() - nBegin) / 1e6;
}

void CopyKeys() {
    LCFOwner<CFArrayRef> const oKeys(
        CFPreferencesCopyKeyList(LPreferenceApplication(), kUser, kCFPreferencesCurrentHost));
    if (!oKeys || CFArrayGetCount(oKeys.Get()) != kKeys)
        std::abort();
}

// Keys of one form, the number in it, and a step from one name to the next below a prefix.
struct Shape {
    char const *szWhat, *szKey, *szPrefix, *szFrom, *szTo;
};

Row Step(Shape const& oShape, int nRounds) {
    std::string const szHome = std::getenv("CFFIXED_USER_HOME");
    std::filesystem::remove_all(szHome + "/Library");
    for (int n = 0; n < kKeys; ++n) {
        char szKey[kLNameSize];
        std::snprintf(szKey, sizeof szKey, oShape.szKey, n);
        LPreferenceSet(kUser, LCFString(szKey).Get(), CFSTR("value"));
    }
    LPreferenceSynchronize(kUser);
    Row oRow{oShape.szWhat, 1e9, 1e9, "ms", 3.0};
    // By turns, so that what else the machine does meets both; the best, since other work can only add.
    for (int n = 0; n < nRounds; ++n) {
        oRow.fYardstick = std::min(oRow.fYardstick, TimeMs(CopyKeys));
        oRow.fOurs = std::min(oRow.fOurs, TimeMs([&] {
                                  char szNext[kLNameSize];
                                  if (!_LSettingPlistGetNextKey(kUser, oShape.szPrefix, oShape.szFrom, szNext) ||
                                      std::string_view(szNext) != oShape.szTo)
                                      std::abort();
                              }));
    }
    return oRow;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    TemporaryFolder const oHome;
    setenv("CFFIXED_USER_HOME", oHome.Path().c_str(), 1);
    std::vector<Row> lRows;
    for (Shape const& oShape : {
             Shape{"next key among 10,000 records below one path; beside copying the key list", "Records/Item%05d/Name",
                   "Records/", "Item05000", "Item05001"},
             Shape{"the same with names that are not ASCII", "Записи/Мелодия%05d/Название", "Записи/", "Мелодия05000",
                   "Мелодия05001"},
         })
        lRows.push_back(Step(oShape, bQuick ? 20 : 200));
    return PrintRows(lRows) ? 0 : 1;
}
