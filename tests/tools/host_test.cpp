// The host's own parts, against a fake driver where one is needed.
#include "tests/harness/temporary_folder.h"
#include "tools/host/device_change.h"
#include "tools/host/device_timeline.h"
#include "tools/host/host.h"
#include "tools/host/storage.h"
#include "tools/inspect/property_text.h"
#include "tools/process/event_line.h"
#include "tools/process/failure.h"
#include "tools/process/private_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

using namespace std::chrono_literals;

TEST(Storage, SurvivesARestartAndADamagedFile) {
    TemporaryFolder oFolder;
    std::string const szState = oFolder / "deep/state";
    {
        Storage oStorage(szState);
        EXPECT_TRUE(oStorage.Write(CFSTR("box acquired"), kCFBooleanFalse));
        EXPECT_TRUE(oStorage.Write(CFSTR("name"), CFSTR("K\xc3\xa4stchen <&>")));
        EXPECT_TRUE(oStorage.Write(CFSTR("gone"), CFSTR("soon")));
        EXPECT_TRUE(oStorage.Delete(CFSTR("gone")));
    }
    {
        Storage oStorage(szState);
        LCFOwner<CFPropertyListRef> const pFlag(oStorage.Copy(CFSTR("box acquired")));
        LCFOwner<CFPropertyListRef> const pName(oStorage.Copy(CFSTR("name")));
        EXPECT_TRUE(pFlag && CFEqual(pFlag.Get(), kCFBooleanFalse));
        EXPECT_EQ(TextOf(static_cast<CFStringRef>(pName.Get())), "K\xc3\xa4stchen <&>");
        EXPECT_EQ(oStorage.Copy(CFSTR("gone")), nullptr);
        std::ofstream(oStorage.Path(), std::ios::trunc) << "no list";
    }
    Storage oStorage(szState);
    EXPECT_EQ(oStorage.Copy(CFSTR("name")), nullptr);
    EXPECT_TRUE(oFolder.Has("deep/state/plugin_storage.plist.damaged"));
    EXPECT_TRUE(oStorage.Write(CFSTR("name"), CFSTR("new")));
}

TEST(Host, PerformsRequestedChangesElsewhereAndOneAtATime) {
    TemporaryFolder oFolder;
    pthread_t const nHere = pthread_self();
    std::vector<UInt64> lPerformed; // by the host's queue; read when it has come to rest
    std::atomic<int> nInside{0};
    Host oHost(oFolder.Path(), [&](AudioObjectID nObject, UInt64 nAction, void*) {
        EXPECT_EQ(++nInside, 1);
        EXPECT_FALSE(pthread_equal(nHere, pthread_self()));
        EXPECT_EQ(nObject, 3u);
        lPerformed.push_back(nAction);
        --nInside;
    });
    AudioServerPlugInHostRef const pRef = oHost.Ref();
    for (UInt64 n = 0; n < 100; ++n)
        EXPECT_EQ(pRef->RequestDeviceConfigurationChange(pRef, 3, n, nullptr), 0);
    AudioObjectPropertyAddress const arAddresses[] = {GlobalAddress('lcsv'), GlobalAddress('lcdv')};
    pRef->PropertiesChanged(pRef, 9, 2, arAddresses);
    EXPECT_EQ(oHost.NotificationCount(9, 'lcdv'), 1u);
    oHost.StopChanges();
    EXPECT_EQ(lPerformed.size(), 100u);
    EXPECT_TRUE(std::is_sorted(lPerformed.begin(), lPerformed.end()));
    pRef->RequestDeviceConfigurationChange(pRef, 3, 100, nullptr);
    oHost.StopChanges();
    EXPECT_EQ(lPerformed.size(), 100u) << "carried out after changes had stopped";
}

TEST(DeviceTimeline, FollowsTheReportsAndAFreshSeed) {
    DeviceTimeline oLine(10.0);
    oLine.Report(0, 1000, 1);
    EXPECT_EQ(oLine.HostTimeOf(100), 2000u);
    oLine.Report(0, 1000, 1); // the same period again says nothing new
    oLine.Report(100, 2200, 1);
    EXPECT_EQ(oLine.HostTimeOf(200), 3400u);
    EXPECT_EQ(oLine.HostTimeOf(0), 1000u) << "the past lies on the same line";
    EXPECT_DOUBLE_EQ(oLine.SampleTimeAt(2800), 150);
    oLine.Report(0, 50000, 2);
    EXPECT_EQ(oLine.HostTimeOf(10), 50100u) << "a new line starts at the nominal rate";
}

TEST(DeviceChange, ReadsWhatIsRightAndNamesWhatIsWrong) {
    DeviceChange const oChange = DeviceChange::Parse("2.5 volume=0.25");
    EXPECT_EQ(oChange.nTime, 2.5);
    EXPECT_EQ(oChange.szName, "volume");
    EXPECT_EQ(oChange.nValue, 0.25);
    for (char const* szWrong : {"", "volume=1", "1 volume", "1 loudness=1", "-1 volume=1", "1 volume=", "x volume=1",
                                "1 mute=-1", "1 volume=nan", "1 volume=1x"})
        EXPECT_THROW(DeviceChange::Parse(szWrong), Failure) << szWrong;
}

TEST(EventLine, ReadsBackWhatItWrote) {
    EventLine oEvent("finished");
    oEvent.Add("path", "a \"b\" \\ c=d\ne").Add("empty", "").Add("frames", uint64_t{1} << 60).Add("value", 0.1);
    EventLine const oRead = EventLine::Parse(oEvent.Line());
    EXPECT_EQ(oRead.Name(), "finished");
    EXPECT_EQ(oRead.Text("path"), "a \"b\" \\ c=d\ne");
    EXPECT_EQ(oRead.Text("empty"), "");
    EXPECT_EQ(oRead.Number("frames"), uint64_t{1} << 60);
    EXPECT_EQ(oRead.Real("value"), 0.1);
    EXPECT_EQ(oRead.Text("missing"), std::nullopt);
    EXPECT_EQ(oEvent.Line().find('\n'), std::string::npos);
}

namespace {

template <class Value>
std::vector<UInt8> Bytes(std::initializer_list<Value> lValues) {
    auto const* p = reinterpret_cast<UInt8 const*>(lValues.begin());
    return {p, p + lValues.size() * sizeof(Value)};
}

} // namespace

TEST(PropertyText, PutsValuesIntoWords) {
    AudioStreamBasicDescription const oFormat = {48000, 'lpcm', 9, 8, 1, 8, 2, 32, 0};
    struct Row {
        ValueKind nKind;
        std::vector<UInt8> arBytes;
        std::vector<std::string> lTexts;
    };
    for (Row const& oRow : {
             Row{ValueKind::FourChar, Bytes<UInt32>({'vlme'}), {"'vlme' volume control"}},
             Row{ValueKind::FourChar, Bytes<UInt32>({'\x01zzz'}), {"'?zzz'"}},
             Row{ValueKind::ObjectList, Bytes<UInt32>({8, 9}), {"8", "9"}},
             Row{ValueKind::Object, Bytes<UInt32>({0}), {"none"}},
             Row{ValueKind::YesNo, Bytes<UInt32>({1}), {"yes"}},
             Row{ValueKind::Rate, Bytes<Float64>({44100}), {"44100 Hz"}},
             Row{ValueKind::Decibels, Bytes<Float32>({-89.625f}), {"-89.625 dB"}},
             Row{ValueKind::DecibelRange, Bytes<AudioValueRange>({{-96, 6}}), {"-96 to 6 dB"}},
             Row{ValueKind::Format, Bytes({oFormat}), {"'lpcm' linear PCM, stereo, 32-bit float, 48000 Hz"}},
             Row{ValueKind::FormatList, {}, {}},
             Row{ValueKind::Text, Bytes<CFStringRef>({CFSTR("a \"name\"")}), {"\"a \"name\"\""}},
             Row{ValueKind::Text, Bytes<CFStringRef>({nullptr}), {"none"}},
             Row{ValueKind::Number, {1, 2, 3}, {}}, // too short for one
             Row{ValueKind::ChannelLayout, {1, 2, 3}, {}},
         })
        EXPECT_EQ(ValueTexts(oRow.nKind, oRow.arBytes), oRow.lTexts);
}

TEST(PrivateFolder, DeletesWhatKilledRunsHaveLeftAndNothingElse) {
    TemporaryFolder const oParent;
    for (char const* szName : {"lumora-run.killed", "lumora-run.killed/mach-services", "other"})
        std::filesystem::create_directory(oParent / szName);
    std::ofstream(oParent / "lumora-run.file") << "somebody's";
    std::filesystem::create_directory_symlink("other", oParent / "lumora-run.link");
    setenv("TMPDIR", oParent.Path().c_str(), 1);
    {
        PrivateFolder const oLiving, oNext;
        EXPECT_TRUE(std::filesystem::exists(oLiving.Path()));
        EXPECT_FALSE(oParent.Has("lumora-run.killed"));
    }
    unsetenv("TMPDIR");
    std::vector<std::string> lLeft;
    for (auto const& oEntry : std::filesystem::directory_iterator(oParent.Path()))
        lLeft.push_back(oEntry.path().filename());
    EXPECT_THAT(lLeft, testing::UnorderedElementsAre("other", "lumora-run.file", "lumora-run.link"));
}
