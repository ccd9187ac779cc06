#include <Foundation/NSUserDefaults.h>

#include <CoreFoundation/CFPreferences.h>

NSUserDefaults* NSUserDefaults::standardUserDefaults() {
    static NSUserDefaults* const pDefaults = new NSUserDefaults; // never destroyed
    return pDefaults;
}

CFTypeRef NSUserDefaults::objectForKey(CFStringRef key) {
    return CFPreferencesCopyValue(key, kCFPreferencesCurrentApplication, kCFPreferencesCurrentUser,
                                  kCFPreferencesAnyHost);
}

void NSUserDefaults::setObject(CFTypeRef object, CFStringRef key) {
    if (object)
        CFPreferencesSetValue(key, object, kCFPreferencesCurrentApplication, kCFPreferencesCurrentUser,
                              kCFPreferencesAnyHost);
}

void NSUserDefaults::removeObjectForKey(CFStringRef key) {
    CFPreferencesSetValue(key, nullptr, kCFPreferencesCurrentApplication, kCFPreferencesCurrentUser,
                          kCFPreferencesAnyHost);
}

bool NSUserDefaults::synchronize() {
    return CFPreferencesSynchronize(kCFPreferencesCurrentApplication, kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
}
