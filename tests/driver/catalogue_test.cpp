// The catalogue, written down a second time: every property of every object, where it shows, whether it can be set, the
// size it says and the value it has in a freshly initialised driver.
#include "tests/driver/driver_test.h"

#include "platform/testing/objects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>

namespace {

enum Where { All, Elements, GlobOut, InOut };
enum Access { Fixed, Set };

struct Value {
    Bytes lBytes;
    size_t nItem = 0;             // of a list; 0 for a single value
    char const* szText = nullptr; // of a string reference
    OSStatus nStatus = 0;
};
Value One(Bytes lBytes) {
    return {.lBytes = std::move(lBytes)};
}
Value N(UInt32 nValue) {
    return One(U({nValue}));
}
Value Text(char const* szText) {
    return {.lBytes = Bytes(8, '?'), .szText = szText};
}
Value List(size_t nItem, Bytes lBytes) {
    return {.lBytes = std::move(lBytes), .nItem = nItem};
}
Value Ids(std::initializer_list<UInt32> lIds) {
    return List(4, U(lIds));
}
Value Missing(OSStatus nStatus) {
    return {.lBytes = Bytes(8, '?'), .nStatus = nStatus};
}

struct Row {
    AudioObjectID nObject;
    UInt32 nSelector;
    Where nWhere;
    Access nAccess;
    UInt32 nSize;
    Value oValue;
    Bytes lQualifier = {};
};

Bytes Uid() {
    return Ref(CFSTR("LumoraVirtualAudioDevice_UID"));
}
Bytes Format() {
    return D({44100}) + U({'lpcm', 9, 8, 1, 8, 2, 32}) + Bytes(4, kGuard);
} // the last field not written
Bytes Ranged() {
    return D({44100}) + U({'lpcm', 9, 8, 1, 8, 2, 32}) + Bytes(4, kGuard) + D({44100, 44100});
}

std::vector<Row> Rows() {
    // clang-format off
    std::vector<Row> lRows = {
        {1, 'bcls', All, Fixed, 4, N('aobj')},
        {1, 'clas', All, Fixed, 4, N('aplg')},
        {1, 'stdv', All, Fixed, 4, N(0)},
        {1, 'lmak', All, Fixed, 8, Text("Tarnwick Software.")},
        {1, 'ownd', All, Fixed, 8, Ids({2, 3})},
        {1, 'box#', All, Fixed, 4, Ids({2})},
        {1, 'uidb', All, Fixed, 4, N(2), Uid()},
        {1, 'dev#', All, Fixed, 4, Ids({3})},
        {1, 'uidd', All, Fixed, 4, N(3), Uid()},
        {1, 'rsrc', All, Fixed, 8, Text("")},
        {1, 'cust', All, Fixed, 12, One(U({'PCst', 'cfst', 'plst'}))},
        {1, 'PCst', All, Set, 8, Text("NullAudio PlugIn Custom Property"), Uid()},

        {2, 'bcls', All, Fixed, 4, N('aobj')},
        {2, 'clas', All, Fixed, 4, N('abox')},
        {2, 'stdv', All, Fixed, 4, N(1)},
        {2, 'lnam', All, Set, 8, Text("Null Box")},
        {2, 'lmod', All, Fixed, 8, Text("Null Model")},
        {2, 'lmak', All, Fixed, 8, Text("Apple Inc.")},
        {2, 'ownd', All, Fixed, 0, Ids({})},
        {2, 'iden', All, Set, 4, N(0)},
        {2, 'snum', All, Fixed, 8, Text("00000001")},
        {2, 'fwvn', All, Fixed, 8, Text("1.0")},
        {2, 'buid', All, Fixed, 8, Text("LumoraVirtualAudioDevice_UID")},
        {2, 'tran', All, Fixed, 4, N('virt')},
        {2, 'bhau', All, Fixed, 4, N(1)},
        {2, 'bhvi', All, Fixed, 4, N(0)},
        {2, 'bhmi', All, Fixed, 4, N(0)},
        {2, 'bpro', All, Fixed, 4, N(0)},
        {2, 'bxon', All, Set, 4, N(1)},
        {2, 'bxof', All, Fixed, 4, N(0)},
        {2, 'bdv#', All, Fixed, 4, N(3)}, // a list, but one that refuses a buffer too small

        {3, 'bcls', All, Fixed, 4, N('aobj')},
        {3, 'clas', All, Fixed, 4, N('adev')},
        {3, 'stdv', All, Fixed, 4, N(1)},
        {3, 'lnam', All, Fixed, 8, Text("Lumora Virtual Device")},
        {3, 'lmak', All, Fixed, 8, Text("Tarnwick Software")},
        {3, 'lchn', Elements, Fixed, 8, Text("MasterElementName")},
        {3, 'ownd', GlobOut, Fixed, 16, Ids({8, 9, 10, 11, 12})},
        {3, 'ctrl', All, Fixed, 4, Ids({9, 10, 11, 12})},
        {3, 'uid ', All, Fixed, 8, Text("LumoraVirtualAudioDevice_UID")},
        {3, 'muid', All, Fixed, 8, Text("LumoraVirtualAudioDevice_ModelUID")},
        {3, 'tran', All, Fixed, 4, N('virt')},
        {3, 'akin', All, Fixed, 4, Ids({3})},
        {3, 'clkd', All, Fixed, 4, N(0)},
        {3, 'livn', All, Fixed, 4, N(1)},
        {3, 'goin', All, Fixed, 4, N(0)},
        {3, 'dflt', InOut, Fixed, 4, N(1)},
        {3, 'sflt', InOut, Fixed, 4, N(1)},
        {3, 'ltnc', InOut, Fixed, 4, N(0)},
        {3, 'saft', InOut, Fixed, 4, N(0)},
        {3, 'stm#', GlobOut, Fixed, 4, Ids({8})},
        {3, 'nsrt', All, Set, 8, One(D({44100}))},
        {3, 'nsr#', All, Fixed, 32, List(16, D({44100, 44100}))},
        {3, 'icon', All, Fixed, 8, Missing('what')}, // no bundle is loaded here
        {3, 'hidn', All, Fixed, 4, N(0)},
        {3, 'dch2', InOut, Fixed, 8, One(U({1, 2}))},
        {3, 'srnd', InOut, Fixed, 52, One(U({0, 0, 2, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0}))},
        {3, 'ring', All, Fixed, 4, N(16384)},

        {8, 'bcls', All, Fixed, 4, N('aobj')},
        {8, 'clas', All, Fixed, 4, N('astr')},
        {8, 'stdv', All, Fixed, 4, N(3)},
        {8, 'lnam', All, Fixed, 8, Text("OutputStreamName")},
        {8, 'ownd', All, Fixed, 0, Ids({})},
        {8, 'sact', All, Set, 4, N(1)},
        {8, 'sdir', All, Fixed, 4, N(0)},
        {8, 'term', All, Fixed, 4, N('spkr')},
        {8, 'schn', All, Fixed, 4, N(1)},
        {8, 'ltnc', All, Fixed, 4, N(0)},
        {8, 'sfmt', All, Set, 40, One(Format())},
        {8, 'sfma', All, Fixed, 112, List(56, Ranged())},
        {8, 'pft ', All, Set, 40, One(Format())},
        {8, 'pfta', All, Fixed, 112, List(56, Ranged())},

        {9, 'bcls', All, Fixed, 4, N('levl')},
        {9, 'clas', All, Fixed, 4, N('vlme')},
        {9, 'stdv', All, Fixed, 4, N(3)},
        {9, 'ownd', All, Fixed, 0, Ids({})},
        {9, 'cscp', All, Fixed, 4, N('outp')},
        {9, 'celm', All, Fixed, 4, N(0)},
        {9, 'lcsv', All, Set, 4, One(F(0))},
        {9, 'lcdv', All, Set, 4, One(F(-96))},
        {9, 'lcdr', All, Fixed, 16, One(D({-96, 6}))},
        {9, 'lcsd', All, Fixed, 4, One(F(-96))},          // of the guard bytes, a negative number near 0
        {9, 'lcds', All, Fixed, 4, One(F(0.970142484f))}, // of the same

        {10, 'bcls', All, Fixed, 4, N('togl')},
        {10, 'clas', All, Fixed, 4, N('mute')},
        {10, 'stdv', All, Fixed, 4, N(3)},
        {10, 'ownd', All, Fixed, 0, Ids({})},
        {10, 'cscp', All, Fixed, 4, N('outp')},
        {10, 'celm', All, Fixed, 4, N(0)},
        {10, 'bcvl', All, Set, 4, N(0)},
    };
    for (AudioObjectID const nControl : {11u, 12u})
        for (Row const& oRow : std::initializer_list<Row>{
            {nControl, 'bcls', All, Fixed, 4, N('slct')},
            {nControl, 'clas', All, Fixed, 4, N(nControl == 11 ? 'dsrc' : 'dest')},
            {nControl, 'stdv', All, Fixed, 4, N(3)},
            {nControl, 'ownd', All, Fixed, 0, Ids({})},
            {nControl, 'cscp', All, Fixed, 4, N(nControl == 11 ? 'outp' : 'ptru')},
            {nControl, 'celm', All, Fixed, 4, N(0)},
            {nControl, 'scci', All, Set, 4, N(0)},
            {nControl, 'scai', All, Fixed, 16, Ids({0, 1, 2, 3})},
            {nControl, 'scin', All, Fixed, 8, Text("Data Source Item 3"), U({3})}})
            lRows.push_back(oRow);
    // clang-format on
    return lRows;
}

bool Shows(Where nWhere, UInt32 nScope, UInt32 nElement) {
    switch (nWhere) {
    case All: return true;
    case Elements: return nElement < 3;
    case GlobOut: return nScope == 'glob' || nScope == 'outp';
    case InOut: return nScope == 'inpt' || nScope == 'outp';
    }
    return false;
}

std::string Name(Row const& oRow) {
    return std::to_string(oRow.nObject) + " " + CodeText(oRow.nSelector);
}

} // namespace

class Catalogue : public Driver {
protected:
    void CheckValue(Row const& oRow, UInt32 nBufferSize) {
        Value const& oValue = oRow.oValue;
        Answer const oAnswer = Get(oRow.nObject, At(oRow.nSelector), nBufferSize, oRow.lQualifier);
        size_t const nFits = oValue.nItem
                                 ? std::min<size_t>(nBufferSize / oValue.nItem * oValue.nItem, oValue.lBytes.size())
                                 : oValue.lBytes.size();
        EXPECT_EQ(oAnswer.nStatus, nFits > nBufferSize ? OSStatus{'!siz'} : oValue.nStatus);
        if (oAnswer.nStatus != 0)
            return;
        if (oValue.szText) {
            EXPECT_EQ(TakeText(oAnswer.lBytes), oValue.szText);
        } else {
            EXPECT_EQ(oAnswer.lBytes, oValue.lBytes.substr(0, nFits));
        }
    }
};

TEST_F(Catalogue, ShowsEachPropertyWhereItBelongsAndSaysItsSizeAndAccess) {
    for (Row const& oRow : Rows()) {
        SCOPED_TRACE(Name(oRow));
        for (UInt32 const nScope : {'glob', 'inpt', 'outp', 'ptru', 'zzzz'})
            for (UInt32 const nElement : {0u, 1u, 2u, 3u, ~0u})
                EXPECT_EQ(Has(oRow.nObject, At(oRow.nSelector, nScope, nElement)),
                          Shows(oRow.nWhere, nScope, nElement));
        auto const oElsewhere = At(oRow.nSelector, 'zzzz', 99);
        Boolean bSettable = 2;
        EXPECT_EQ((*pDriver)->IsPropertySettable(pDriver, oRow.nObject, 0, &oElsewhere, &bSettable), 0);
        EXPECT_EQ(bSettable, oRow.nAccess == Access::Set);
        EXPECT_EQ(Size(oRow.nObject, At(oRow.nSelector), oRow.lQualifier).lBytes, U({oRow.nSize}));
    }
}

// A list is cut to whole items, a single value comes whole or not at all, and nothing is written past the buffer, made
// for nobody, or left behind.
TEST_F(Catalogue, DeliversEachValueIntoBuffersOfEverySize) {
    auto const lRows = Rows();
    long const nObjects = PlatformCountLiveObjects();
    testing::internal::CaptureStderr(); // where the custom property shows its qualifier
    for (Row const& oRow : lRows)
        for (UInt32 nBufferSize = 0; nBufferSize <= 128; ++nBufferSize) {
            SCOPED_TRACE(Name(oRow) + " into " + std::to_string(nBufferSize) + " bytes");
            CheckValue(oRow, nBufferSize);
        }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
}

TEST_F(Catalogue, KnowsNothingElse) {
    auto const lRows = Rows();
    for (AudioObjectID const nObject : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 64u, ~0u})
        for (Row const& oOther : lRows)
            for (UInt32 const nSelector : {oOther.nSelector, oOther.nSelector ^ 1, oOther.nSelector + 0x01000000}) {
                auto const isThis = [&](Row const& o) { return o.nObject == nObject && o.nSelector == nSelector; };
                if (std::any_of(lRows.begin(), lRows.end(), isThis))
                    continue;
                SCOPED_TRACE(std::to_string(nObject) + " " + CodeText(nSelector));
                bool const bObject = nObject == 1 || nObject == 2 || nObject == 3 || (nObject >= 8 && nObject <= 12);
                OSStatus const nExpected = bObject ? 'who?' : '!obj';
                auto const oAddress = At(nSelector);
                Boolean bSettable = 2;
                EXPECT_FALSE(Has(nObject, oAddress));
                EXPECT_EQ((*pDriver)->IsPropertySettable(pDriver, nObject, 0, &oAddress, &bSettable), nExpected);
                EXPECT_EQ(bSettable, 2);
                EXPECT_EQ(Size(nObject, oAddress, Uid()).nStatus, nExpected);
                EXPECT_EQ(Get(nObject, oAddress, 64, Uid()).nStatus, nExpected);
                EXPECT_EQ(Set(nObject, nSelector, Bytes(3, 'x')), nExpected);
            }
}

TEST_F(Catalogue, DeviceListsFollowTheScope) {
    struct {
        UInt32 nScope, nOwnedSize, nStreamsSize;
        Bytes lOwned, lStreams;
    } const lCases[] = {{'glob', 16, 4, U({8, 9, 10, 11, 12}), U({8})},
                        {'outp', 16, 4, U({8, 9, 10, 11}), U({8})},
                        {'inpt', 0, 0, {}, {}},
                        {'ptru', 0, 0, {}, {}},
                        {'zzzz', 0, 0, {}, {}}};
    for (auto const& oCase : lCases) {
        SCOPED_TRACE(CodeText(oCase.nScope));
        EXPECT_EQ(Size(3, At('ownd', oCase.nScope)).lBytes, U({oCase.nOwnedSize}));
        EXPECT_EQ(Size(3, At('stm#', oCase.nScope)).lBytes, U({oCase.nStreamsSize}));
        EXPECT_EQ(Get(3, At('ownd', oCase.nScope), 64).lBytes, oCase.lOwned);
        EXPECT_EQ(Get(3, At('stm#', oCase.nScope), 64).lBytes, oCase.lStreams);
    }
    char const* const lNames[] = {"MasterElementName", "LeftElementName", "RightElementName", "unknown"};
    for (UInt32 nElement = 0; nElement < 4; ++nElement)
        EXPECT_EQ(TakeText(Get(3, At('lchn', 'ptru', nElement), 8).lBytes), lNames[nElement]);
}

TEST_F(Catalogue, TheDeviceLeavesTheListsWhileTheBoxIsReleased) {
    ASSERT_EQ(Set(2, 'bxon', U({0})), 0);
    EXPECT_EQ(Size(1, At('ownd')).lBytes, U({4}));
    EXPECT_EQ(Get(1, At('ownd'), 64).lBytes, U({2}));
    EXPECT_EQ(Get(2, At('bxon'), 4).lBytes, U({0}));
    for (auto const& [nObject, nSelector] : {std::pair<UInt32, UInt32>{1, 'dev#'}, {2, 'bdv#'}}) {
        EXPECT_EQ(Size(nObject, At(nSelector)).lBytes, U({0}));
        for (UInt32 const nBufferSize : {0u, 3u, 64u}) {
            EXPECT_EQ(Get(nObject, At(nSelector), nBufferSize).nStatus, 0);
            EXPECT_EQ(Get(nObject, At(nSelector), nBufferSize).lBytes, "");
        }
    }
    oHost.TakeEvents(); // so that the queued report finds its host
}
