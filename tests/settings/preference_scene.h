// What the tests of the preference store share: a home of their own, and the store's contents as a map.
#pragma once

#include "platform/testing/objects.h"
#include "platform/testing/preferences.h"
#include "settings/cf_string.h"
#include "settings/preference_keys.h"
#include "settings/preferences.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

class PreferenceScene : public testing::Test {
protected:
    using Contents = std::map<std::string, std::string>;

    void SetUp() override { setenv("CFFIXED_USER_HOME", oHome.Path().c_str(), 1); }
    void TearDown() override {
        PlatformForgetPreferences();
        unsetenv("CFFIXED_USER_HOME");
        EXPECT_EQ(nBefore, PlatformCountLiveObjects()) << "objects leaked";
    }

    // As others see it: what is in memory alone is forgotten first.
    Contents All() const {
        PlatformForgetPreferences();
        Contents oAll;
        LPreferenceKeys oKeys(pUser);
        for (unsigned long n = 0; n < oKeys.GetCount(); ++n) {
            LCFOwner<CFPropertyListRef> const oValue(LPreferenceCopy(pUser, oKeys.GetKey(n)));
            LStringLong szValue;
            if (CFGetTypeID(oValue.Get()) == CFStringGetTypeID())
                LCFString(static_cast<CFStringRef>(CFRetain(oValue.Get()))).GetString(szValue);
            else
                szValue.Set("(no string)");
            oAll[std::string(oKeys.GetName(n))] = szValue.GetString();
        }
        return oAll;
    }
    void Fill(Contents const& oContents) const {
        PlatformForgetPreferences();
        std::filesystem::remove_all(oHome / "Library");
        for (auto const& [szKey, szValue] : oContents)
            LPreferenceSet(pUser, LCFString(szKey.c_str()).Get(), LCFString(szValue.c_str()).Get());
        LPreferenceSynchronize(pUser);
    }
    // Every key with a value of its own.
    void FillKeys(std::vector<std::string> const& lKeys) const {
        Contents oContents;
        for (auto const& szKey : lKeys)
            oContents[szKey] = "of " + szKey;
        Fill(oContents);
    }

    TemporaryFolder oHome;
    CFStringRef const pUser = kCFPreferencesCurrentUser;
    long const nBefore = PlatformCountLiveObjects();
};
