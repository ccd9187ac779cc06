// The catalogue, written down a second time: every property of every object, where it shows, whether it can be set, the
// size it says and the value it has in a freshly initialised driver.
#include "tests/driver/driver_test.h"

#include "platform/testing/objects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>

namespace {

enum class Where { All, Elements, GlobOut, InOut };

struct Value {
    Bytes lBytes;
    size_t nItem = 0;             // of a list; 0 for a single value
    char const* szText = nullptr; // of a string reference
    OSStatus nStatus = 0;
    Bytes lQualifier = {};
    Where nWhere = Where::All;
    bool bSettable = false;
};
// clang-format off
Value One(Bytes lBytes) { return {.lBytes = std::move(lBytes)}; }
Value N(UInt32 nValue) { return One(U({nValue})); }
Value Text(char const* szText) { return {.lBytes = Bytes(8, '?'), .szText = szText}; }
Value List(size_t nItem, Bytes lBytes) { return {.lBytes = std::move(lBytes), .nItem = nItem}; }
Value Ids(std::initializer_list<UInt32> lIds) { return List(4, U(lIds)); }
Value Set(Value o) { o.bSettable = true; return o; }
Value In(Where nWhere, Value o) { o.nWhere = nWhere; return o; }
Value With(Bytes lQualifier, Value o) { o.lQualifier = std::move(lQualifier); return o; }

struct Row {
    UInt32 nSelector, nSize;
    Value oValue;
};

std::vector<std::pair<AudioObjectID, std::vector<Row>>> Catalogue() {
    using enum Where;
    Bytes const lUid = Ref(CFSTR("LumoraVirtualAudioDevice_UID"));
    Bytes const lFormat = D({44100}) + U({'lpcm', 9, 8, 1, 8, 2, 32}) + Bytes(4, kGuard); // the last field not written
    Value const oFormats = List(56, lFormat + D({44100, 44100}));
    auto const selector = [](UInt32 nClass, UInt32 nScope) -> std::vector<Row> {
        return {{'bcls', 4, N('slct')}, {'clas', 4, N(nClass)}, {'stdv', 4, N(3)}, {'ownd', 0, Ids({})},
                {'cscp', 4, N(nScope)}, {'celm', 4, N(0)}, {'scci', 4, Set(N(0))}, {'scai', 16, Ids({0, 1, 2, 3})},
                {'scin', 8, With(U({3}), Text("Data Source Item 3"))}};
    };
    return {
        {1, {{'bcls', 4, N('aobj')}, {'clas', 4, N('aplg')}, {'stdv', 4, N(0)}, {'ownd', 8, Ids({2, 3})},
             {'lmak', 8, Text("Tarnwick Software.")}, {'box#', 4, Ids({2})}, {'uidb', 4, With(lUid, N(2))},
             {'dev#', 4, Ids({3})}, {'uidd', 4, With(lUid, N(3))}, {'rsrc', 8, Text("")},
             {'cust', 12, One(U({'PCst', 'cfst', 'plst'}))},
             {'PCst', 8, Set(With(lUid, Text("NullAudio PlugIn Custom Property")))}}},
        {2, {{'bcls', 4, N('aobj')}, {'clas', 4, N('abox')}, {'stdv', 4, N(1)}, {'ownd', 0, Ids({})},
             {'lnam', 8, Set(Text("Null Box"))}, {'lmod', 8, Text("Null Model")}, {'lmak', 8, Text("Apple Inc.")},
             {'iden', 4, Set(N(0))}, {'snum', 8, Text("00000001")}, {'fwvn', 8, Text("1.0")},
             {'buid', 8, Text("LumoraVirtualAudioDevice_UID")}, {'tran', 4, N('virt')}, {'bhau', 4, N(1)},
             {'bhvi', 4, N(0)}, {'bhmi', 4, N(0)}, {'bpro', 4, N(0)}, {'bxon', 4, Set(N(1))}, {'bxof', 4, N(0)},
             {'bdv#', 4, N(3)}}}, // a list, but one that refuses a buffer too small
        {3, {{'bcls', 4, N('aobj')}, {'clas', 4, N('adev')}, {'stdv', 4, N(1)},
             {'ownd', 16, In(GlobOut, Ids({8, 9, 10, 11, 12}))}, {'lnam', 8, Text("Lumora Virtual Device")},
             {'lmak', 8, Text("Tarnwick Software")}, {'lchn', 8, In(Elements, Text("MasterElementName"))},
             {'ctrl', 4, Ids({9, 10, 11, 12})}, {'uid ', 8, Text("LumoraVirtualAudioDevice_UID")},
             {'muid', 8, Text("LumoraVirtualAudioDevice_ModelUID")}, {'tran', 4, N('virt')}, {'akin', 4, Ids({3})},
             {'clkd', 4, N(0)}, {'livn', 4, N(1)}, {'goin', 4, N(0)}, {'dflt', 4, In(InOut, N(1))},
             {'sflt', 4, In(InOut, N(1))}, {'ltnc', 4, In(InOut, N(0))}, {'saft', 4, In(InOut, N(0))},
             {'stm#', 4, In(GlobOut, Ids({8}))}, {'nsrt', 8, Set(One(D({44100})))},
             {'nsr#', 32, List(16, D({44100, 44100}))}, {'hidn', 4, N(0)}, {'ring', 4, N(16384)},
             {'icon', 8, {.lBytes = Bytes(8, '?'), .nStatus = 'what'}}, // no bundle is loaded here
             {'dch2', 8, In(InOut, One(U({1, 2})))},
             {'srnd', 52, In(InOut, One(U({0, 0, 2, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0})))}}},
        {8, {{'bcls', 4, N('aobj')}, {'clas', 4, N('astr')}, {'stdv', 4, N(3)}, {'ownd', 0, Ids({})},
             {'lnam', 8, Text("OutputStreamName")}, {'sact', 4, Set(N(1))}, {'sdir', 4, N(0)}, {'term', 4, N('spkr')},
             {'schn', 4, N(1)}, {'ltnc', 4, N(0)}, {'sfmt', 40, Set(One(lFormat))}, {'sfma', 112, oFormats},
             {'pft ', 40, Set(One(lFormat))}, {'pfta', 112, oFormats}}},
        {9, {{'bcls', 4, N('levl')}, {'clas', 4, N('vlme')}, {'stdv', 4, N(3)}, {'ownd', 0, Ids({})},
             {'cscp', 4, N('outp')}, {'celm', 4, N(0)}, {'lcsv', 4, Set(One(F(0)))}, {'lcdv', 4, Set(One(F(-96)))},
             {'lcdr', 16, One(D({-96, 6}))}, {'lcsd', 4, One(F(-96))}, // of the guard bytes, a negative number near 0
             {'lcds', 4, One(F(0.970142484f))}}},                      // of the same
        {10, {{'bcls', 4, N('togl')}, {'clas', 4, N('mute')}, {'stdv', 4, N(3)}, {'ownd', 0, Ids({})},
              {'cscp', 4, N('outp')}, {'celm', 4, N(0)}, {'bcvl', 4, Set(N(0))}}},
        {11, selector('dsrc', 'outp')},
        {12, selector('dest', 'ptru')},
    };
}
// clang-format on

bool Shows(Where nWhere, UInt32 nScope, UInt32 nElement) {
    if (nWhere == Where::All || nWhere == Where::Elements)
        return nWhere == Where::All || nElement < 3;
    return nScope == 'outp' || nScope == (nWhere == Where::GlobOut ? 'glob' : 'inpt');
}

} // namespace

TEST_F(Driver, ShowsEachPropertyWhereItBelongsAndSaysItsSizeAndAccess) {
    for (auto const& [nObject, lRows] : Catalogue())
        for (auto const& [nSelector, nSize, oValue] : lRows) {
            SCOPED_TRACE(std::to_string(nObject) + " " + CodeText(nSelector));
            for (UInt32 const nScope : {'glob', 'inpt', 'outp', 'ptru', 'zzzz'})
                for (UInt32 const nElement : {0u, 2u, 3u, ~0u})
                    EXPECT_EQ(Has(nObject, At(nSelector, nScope, nElement)), Shows(oValue.nWhere, nScope, nElement));
            auto const oElsewhere = At(nSelector, 'zzzz', 99);
            Boolean bSettable = 2;
            EXPECT_EQ((*pDriver)->IsPropertySettable(pDriver, nObject, 0, &oElsewhere, &bSettable), 0);
            EXPECT_EQ(bSettable, oValue.bSettable);
            EXPECT_EQ(Size(nObject, At(nSelector), oValue.lQualifier).lBytes, U({nSize}));
        }
}

// A list is cut to whole items, a single value comes whole or not at all, and nothing is written past the buffer, made
// for nobody, or left behind.
TEST_F(Driver, DeliversEachValueIntoBuffersOfEverySize) {
    long const nObjects = PlatformCountLiveObjects();
    testing::internal::CaptureStderr(); // where the custom property shows its qualifier
    for (auto const& [nObject, lRows] : Catalogue())
        for (auto const& [nSelector, nSize, o] : lRows)
            for (UInt32 nBuffer = 0; nBuffer <= 128; ++nBuffer) {
                SCOPED_TRACE(std::to_string(nObject) + CodeText(nSelector) + " into " + std::to_string(nBuffer));
                size_t const nFits =
                    o.nItem ? std::min<size_t>(nBuffer / o.nItem * o.nItem, o.lBytes.size()) : o.lBytes.size();
                Answer const oAnswer = Get(nObject, At(nSelector), nBuffer, o.lQualifier);
                EXPECT_EQ(oAnswer.nStatus, nFits > nBuffer ? OSStatus{'!siz'} : o.nStatus);
                if (oAnswer.nStatus != 0)
                    continue;
                if (o.szText) {
                    EXPECT_EQ(TakeText(oAnswer.lBytes), o.szText);
                } else {
                    EXPECT_EQ(oAnswer.lBytes, o.lBytes.substr(0, nFits));
                }
            }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
}

TEST_F(Driver, ListsFollowTheScopeAndTheBox) {
    struct {
        UInt32 nScope, nOwnedSize, nStreamsSize;
        Bytes lOwned, lStreams;
    } const lCases[] = {{'outp', 16, 4, U({8, 9, 10, 11}), U({8})}, {'inpt', 0, 0, {}, {}}, {'zzzz', 0, 0, {}, {}}};
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

    ASSERT_EQ(Set(2, 'bxon', U({0})), 0);
    EXPECT_EQ(Size(1, At('ownd')).lBytes, U({4}));
    EXPECT_EQ(Get(1, At('ownd'), 64).lBytes, U({2}));
    for (auto const& [nObject, nSelector] : {std::pair<UInt32, UInt32>{1, 'dev#'}, {2, 'bdv#'}}) {
        EXPECT_EQ(Size(nObject, At(nSelector)).lBytes, U({0}));
        for (UInt32 const nBuffer : {0u, 3u, 64u})
            EXPECT_EQ(Get(nObject, At(nSelector), nBuffer).nStatus, 0);
        EXPECT_EQ(Get(nObject, At(nSelector), 64).lBytes, "");
    }
    oHost.TakeEvents(); // so that the queued report finds its host
}
