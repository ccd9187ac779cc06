#include "tests/platform/corefoundation.h"

#include <thread>
#include <vector>

using Objects = CoreFoundation;

TEST_F(Objects, LiveUntilTheLastReferenceOfAnyThread) {
    CFStringRef const text = MakeString("shared");
    long const nWith = PlatformCountLiveObjects();
    std::vector<std::thread> lThreads;
    for (int n = 0; n < 4; ++n) {
        CFRetain(text);
        lThreads.emplace_back([text] {
            for (int k = 0; k < 20000; ++k) {
                CFRetain(text);
                CFRelease(text);
            }
            CFRelease(text);
        });
    }
    for (auto& oThread : lThreads)
        oThread.join();
    EXPECT_EQ(1, CFGetRetainCount(text));
    EXPECT_EQ(nWith, PlatformCountLiveObjects());
    CFRelease(text);
    EXPECT_EQ(nWith - 1, PlatformCountLiveObjects());
}

TEST_F(Objects, ConstantsAreOneObjectAValueAndSurviveReleases) {
    auto const ThisSite = [] { return CFSTR("constant"); };
    CFStringRef const elsewhere = CFSTR("con"
                                        "stant");
    EXPECT_EQ(ThisSite(), ThisSite());
    EXPECT_EQ(ThisSite(), elsewhere);
    CFUUIDRef const unknown = IUnknownUUID;
    EXPECT_EQ(unknown, IUnknownUUID);
    for (CFTypeRef const constant : {CFTypeRef(elsewhere), CFTypeRef(kCFBooleanTrue), CFTypeRef(unknown)}) {
        CFIndex const nCount = CFGetRetainCount(constant);
        CFRelease(constant);
        CFRelease(constant);
        EXPECT_EQ(nCount, CFGetRetainCount(constant));
    }
    EXPECT_EQ("constant", Text(elsewhere));
}

TEST_F(Objects, EqualityIsByTypeAndValueAndHashesFollowIt) {
    OwnedString const a = MakeString("a");
    Owned<CFMutableStringRef> const mutableA = CFStringCreateMutableCopy(nullptr, 0, a);
    Owned<CFNumberRef> const one = MakeNumber(SInt64{1}), oneAsDouble = MakeNumber(1.0), two = MakeNumber(2.0);
    UInt8 const bytes[] = {1};
    Owned<CFDataRef> const data = CFDataCreate(nullptr, bytes, 1),
                           borrowed = CFDataCreateWithBytesNoCopy(nullptr, bytes, 1, kCFAllocatorNull);
    struct {
        char const* szCase;
        CFTypeRef first, second;
        bool bEqual;
    } const cases[] = {
        {"constant and made string", a, CFSTR("a"), true},
        {"mutable and immutable string", mutableA, a, true},
        {"letter case", a, CFSTR("A"), false},
        {"integer and double", one, oneAsDouble, true},
        {"different numbers", one, two, false},
        {"number and Boolean", one, kCFBooleanTrue, false},
        {"owned and borrowed bytes", data, borrowed, true},
    };
    for (auto const& oCase : cases) {
        EXPECT_EQ(oCase.bEqual, CFEqual(oCase.first, oCase.second)) << oCase.szCase;
        if (oCase.bEqual) {
            EXPECT_EQ(CFHash(oCase.first), CFHash(oCase.second)) << oCase.szCase;
        }
    }
}

TEST_F(Objects, ShowPrintsStringsBareAndTheRestDescribed) {
    void const* values[] = {kCFBooleanFalse, CFSTR("é")};
    Owned<CFArrayRef> const array = CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks);
    testing::internal::CaptureStderr();
    CFShow(CFSTR("plain é"));
    CFShow(nullptr);
    CFShow(array);
    std::string const szShown = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0u, szShown.find("plain é\n(null)\n<CFArray 0x")) << szShown;
    EXPECT_NE(std::string::npos, szShown.find("count = 2")) << szShown;
    EXPECT_NE(std::string::npos, szShown.find("contents = \"é\"")) << szShown;
}

TEST_F(Objects, MisuseStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(CFRelease(nullptr), "null object");
    EXPECT_DEATH(CFStringAppend(const_cast<CFMutableStringRef>(CFSTR("fixed")), CFSTR("x")), "not mutable");
    EXPECT_DEATH(CFStringGetCharacterAtIndex(CFSTR("abc"), 3), "past the end");
    Owned<CFArrayRef> const empty = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
    EXPECT_DEATH(CFArrayGetValueAtIndex(empty, 0), "past the end");
}

TEST_F(Objects, UuidsGoThroughBytesAndText) {
    Owned<CFUUIDRef> const uuid = CFUUIDCreateFromString(nullptr, CFSTR("443abab8-E7B3-491A-B985-BEB9187030DB"));
    ASSERT_TRUE(uuid);
    EXPECT_EQ(0x44, CFUUIDGetUUIDBytes(uuid).byte0);
    EXPECT_EQ(0xDB, CFUUIDGetUUIDBytes(uuid).byte15);
    EXPECT_EQ("443ABAB8-E7B3-491A-B985-BEB9187030DB", TextOf(CFUUIDCreateString(nullptr, uuid)));
    Owned<CFUUIDRef> const same = CFUUIDCreateFromUUIDBytes(nullptr, CFUUIDGetUUIDBytes(uuid));
    Owned<CFUUIDRef> const braced = CFUUIDCreateFromString(nullptr, CFSTR("{443ABAB8-E7B3-491A-B985-BEB9187030DB}"));
    EXPECT_TRUE(CFEqual(uuid, same) && CFEqual(uuid, braced) && CFHash(uuid) == CFHash(same));
    for (char const* szBad :
         {"", "443ABAB8", "443ABAB8-E7B3-491A-B985-BEB9187030D", "443ABAB8-E7B3-491A-B985-BEB9187030DG",
          "443ABAB8-E7B3-491A-B985-BEB9187030DB0", "443ABAB8E7B3-491A-B985-BEB9187030DB-"})
        EXPECT_FALSE(CFUUIDCreateFromString(nullptr, OwnedString(MakeString(szBad)))) << szBad;
    Owned<CFUUIDRef> const fresh = CFUUIDCreate(nullptr), other = CFUUIDCreate(nullptr);
    EXPECT_FALSE(CFEqual(fresh, other));
    EXPECT_EQ(0x40, CFUUIDGetUUIDBytes(fresh).byte6 & 0xF0);
}

TEST_F(Objects, ArraysHoldReferencesAndGiveThemBack) {
    OwnedString const a = MakeString("a"), b = MakeString("b");
    {
        Owned<CFMutableArrayRef> const array = CFArrayCreateMutable(nullptr, 1, &kCFTypeArrayCallBacks);
        CFArrayAppendValue(array, b);
        CFArrayInsertValueAtIndex(array, 0, a);
        CFArraySetValueAtIndex(array, 2, b);
        Owned<CFArrayRef> const frozen = CFArrayCreateCopy(nullptr, array);
        CFArraySetValueAtIndex(array, 0, b);
        CFArrayRemoveValueAtIndex(array, 1);
        EXPECT_EQ(2, CFArrayGetCount(array));
        EXPECT_EQ(3, CFArrayGetCount(frozen));
        EXPECT_EQ(0, CFArrayGetFirstIndexOfValue(frozen, {0, 3}, CFSTR("a")));
        EXPECT_FALSE(CFArrayContainsValue(frozen, {1, 2}, CFSTR("a")));
        EXPECT_EQ(2, CFGetRetainCount(a)); // here and in the copy
        CFArrayAppendArray(array, frozen, {0, 2});
        CFArraySortValues(
            array, {0, 4},
            [](void const* first, void const* second, void*) {
                return CFStringCompare(static_cast<CFStringRef>(first), static_cast<CFStringRef>(second), 0);
            },
            nullptr);
        EXPECT_EQ(CFStringRef(a), CFArrayGetValueAtIndex(array, 0));
        CFArrayRemoveAllValues(array);
        EXPECT_EQ(2, CFGetRetainCount(a));
    }
    EXPECT_EQ(1, CFGetRetainCount(a));
    EXPECT_EQ(1, CFGetRetainCount(b));
}

TEST_F(Objects, DictionariesAddReplaceAndSetEachInItsWay) {
    Owned<CFMutableDictionaryRef> const dictionary =
        CFDictionaryCreateMutable(nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    Owned<CFMutableStringRef> const key = CFStringCreateMutableCopy(nullptr, 0, CFSTR("one"));
    CFDictionaryAddValue(dictionary, key, CFSTR("1"));
    CFStringAppend(key, CFSTR(" changed")); // the dictionary has its own copy
    CFDictionaryAddValue(dictionary, CFSTR("one"), CFSTR("not added"));
    CFDictionaryReplaceValue(dictionary, CFSTR("two"), CFSTR("not there"));
    EXPECT_EQ("1", Text(static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, CFSTR("one")))));
    EXPECT_EQ(1, CFDictionaryGetCount(dictionary));
    CFDictionarySetValue(dictionary, CFSTR("one"), CFSTR("uno"));
    CFDictionarySetValue(dictionary, CFSTR("two"), CFSTR("due"));
    EXPECT_TRUE(CFDictionaryContainsValue(dictionary, CFSTR("due")));

    void const* keys[] = {CFSTR("two"), CFSTR("one"), CFSTR("two")};
    void const* values[] = {CFSTR("due"), CFSTR("uno"), CFSTR("the first wins")};
    Owned<CFDictionaryRef> const other =
        CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    EXPECT_TRUE(CFEqual(dictionary, other)) << "order does not count";
    CFDictionaryRemoveValue(dictionary, CFSTR("one"));
    void const* value = dictionary;
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary, CFSTR("one"), &value));
    EXPECT_FALSE(CFEqual(dictionary, other));
}

TEST_F(Objects, ContainersWithoutCallbacksHoldPlainPointers) {
    int a = 0, b = 0;
    Owned<CFMutableDictionaryRef> const dictionary = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
    CFDictionarySetValue(dictionary, &a, &b);
    CFDictionarySetValue(dictionary, &b, nullptr);
    void const* value = &a;
    EXPECT_EQ(&b, CFDictionaryGetValue(dictionary, &a));
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dictionary, &b, &value));
    EXPECT_EQ(nullptr, value);
    EXPECT_FALSE(CFPropertyListIsValid(dictionary, kCFPropertyListXMLFormat_v1_0));
}

TEST_F(Objects, DataGrowsCopiesAndKeepsItsRanges) {
    UInt8 const bytes[] = {1, 2, 3};
    Owned<CFMutableDataRef> const data = CFDataCreateMutable(nullptr, 0);
    CFDataAppendBytes(data, bytes, 3);
    CFDataAppendBytes(data, CFDataGetBytePtr(data), 3); // its own bytes, which move
    CFDataSetLength(data, 7);
    Owned<CFDataRef> const copy = CFDataCreateCopy(nullptr, data);
    CFDataGetMutableBytePtr(data)[0] = 9;
    UInt8 out[7] = {};
    CFDataGetBytes(copy, {0, 7}, out);
    EXPECT_EQ((std::vector<UInt8>{1, 2, 3, 1, 2, 3, 0}), std::vector<UInt8>(out, out + 7));
}
