// Every entry of the encoder's runtime, and Direct3D, failing at every call: what the host gets, what is in the file,
// what is left in the runtime, and that an earlier and a later file are as they would have been.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <tuple>

#include <d3d9.h>

#include "platform/d3d9/d3d9_script.h"
#include "support/diagnostics_capture.h"
#include "support/encoder_script.h"
#include "support/ffmpeg.h"
#include "support/muxed_file.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"
#include "write_outcomes.h"

namespace
{

using namespace test_support;

constexpr NVENCSTATUS g_aeStatuses[] = {NV_ENC_ERR_OUT_OF_MEMORY, NV_ENC_ERR_NEED_MORE_INPUT, NV_ENC_ERR_GENERIC,
                                        static_cast<NVENCSTATUS>(4711)};

class Writing : public testing::Test
{
protected:
    Writing()
    {
        ChooseCodec(m_host, L"NVENC1");
        Forget();
        WriteFile(m_host, m_dir / "before.mp4", EvenTimes(g_uiFrames), Picture);
        m_vUndisturbed = ReadBytes(m_dir / "before.mp4");
        m_undisturbed = ReadMuxedFile(m_vUndisturbed);
    }
    ~Writing() override { D3D9Script_Reset(); }

    static HostPicture Picture(std::uint32_t uiFrame) { return NumberedPicture(64, 48, uiFrame + 1); }

    // Back to an encoder that does as it should.
    void Forget()
    {
        m_script->Reset();
        m_script->SetCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT, m_bEvents ? 1 : 0);
        m_script->WatchSurfaces(m_bWatch ? 1 : 0);
    }

    // The surfaces' locks are counted by the test.
    void DoNotWatch()
    {
        m_bWatch = false;
        Forget();
    }

    // A session that is destroyed with pictures in the encoder can't give their surfaces back. Whether there are any
    // would be a matter of time.
    void AwaitEncoder() const
    {
        while (m_script->CountObjects().uiPendingPackets != 0)
            std::this_thread::yield();
    }

    void ExpectBreaches(const NvencRuntimeBreaches& breaches) const
    {
        EXPECT_EQ(TextOf(m_script->GetBreaches()), TextOf(breaches));
    }

    // Writes a file with what the script says, then one without. bAllEncoded: no packet waits for the end of the
    // stream.
    void ExpectOutcome(const Outcome& outcome, bool bAllEncoded = true)
    {
        const std::filesystem::path path = m_dir / "disturbed.mp4";
        {
            const CDiagnosticsCapture lines;
            const OutputFile file = OpenForPictures(m_host, path, 64, 48);
            std::vector<QmStatus> vFrames;
            for (std::uint32_t ui = 0; ui < g_uiFrames; ++ui)
                vFrames.push_back(WriteAt(file, 40.0 * ui, Picture(ui)));
            EXPECT_EQ(vFrames, outcome.m_vFrames);
            if (bAllEncoded) AwaitEncoder();
            EXPECT_EQ(file->CloseOutput(), QM_OK);
            EXPECT_EQ(lines.LineNumbers(), LinesOf(outcome));
        }
        ExpectBreaches(outcome.m_breaches);
        ASSERT_EQ(std::filesystem::exists(path), outcome.m_uiPackets.has_value());
        if (outcome.m_uiPackets) ExpectFile(ReadBytes(path), outcome);
        std::filesystem::remove(path);

        Forget();
        EXPECT_TRUE(ReadBytes(m_dir / "before.mp4") == m_vUndisturbed) << "a file that was complete has changed";
        WriteFile(m_host, path, EvenTimes(g_uiFrames), Picture);
        EXPECT_TRUE(ReadBytes(path) == m_vUndisturbed) << "a later file isn't as it would have been";
        ExpectBreaches({});
        std::filesystem::remove(path);
    }

    // A frame that was refused still has its time, so times and samples may differ in number.
    void ExpectFile(const Bytes& vFile, const Outcome& outcome) const
    {
        if (*outcome.m_uiPackets == g_uiFrames)
        {
            EXPECT_TRUE(vFile == m_vUndisturbed);
            return;
        }
        const SMuxedFile file = ReadMuxedFile(vFile);
        EXPECT_EQ(file.m_moov.m_vDeltas.size(), g_uiFrames);
        EXPECT_EQ(file.m_moov.m_vSizes.size(), *outcome.m_uiPackets);
        if (!outcome.m_bFirstPackets) return;
        const Bytes& vWhole = m_undisturbed.m_vMdat;
        ASSERT_LE(file.m_vMdat.size(), vWhole.size());
        EXPECT_TRUE(std::equal(file.m_vMdat.begin(), file.m_vMdat.end(), vWhole.begin()));
    }

    // So many sessions weren't destroyed, and all of them are empty.
    void ExpectOpenSessions(std::uint32_t uiSessions) const
    {
        const NvencRuntimeObjects objects = m_script->CountObjects();
        EXPECT_EQ(objects.uiSessions, m_uiSessionsBefore + uiSessions);
        EXPECT_EQ(objects.uiRegisteredResources, 0U);
        EXPECT_EQ(objects.uiMappedResources, 0U);
        EXPECT_EQ(objects.uiBitstreamBuffers, 0U);
        EXPECT_EQ(objects.uiRegisteredEvents, 0U);
    }

    bool m_bEvents = false;  // the session waits on events
    bool m_bWatch = true;
    const EncoderScript m_script;
    const std::uint32_t m_uiSessionsBefore = m_script->CountObjects().uiSessions;
    const TemporaryFolder m_dir;
    const ModuleHost m_host;
    Bytes m_vUndisturbed;
    SMuxedFile m_undisturbed;
};

TEST_F(Writing, CallsEachEntryAsOftenAsItIsFailedHere)
{
    for (const bool bEvents : {false, true})
    {
        SCOPED_TRACE(bEvents);
        m_bEvents = bEvents;
        Forget();
        WriteFile(m_host, m_dir / "counted.mp4", EvenTimes(g_uiFrames), Picture);
        for (std::int32_t n = 0; n < NVENC_ENTRY_COUNT; ++n)
        {
            const auto eEntry = static_cast<NvencRuntimeEntry>(n);
            EXPECT_EQ(m_script->CountCalls(eEntry), CallsOf(eEntry)) << "entry " << n;
        }
        ExpectBreaches({});
        ExpectOpenSessions(0);
    }
}

TEST_F(Writing, WithEventsAFileHasTheSameBytes)
{
    m_bEvents = true;
    Forget();
    ExpectOutcome({});
}

// The entry, and whether the session waits on events.
class WritingWithoutEntry : public Writing, public testing::WithParamInterface<std::tuple<std::int32_t, bool>>
{
protected:
    WritingWithoutEntry()
    {
        m_bEvents = std::get<1>(GetParam());
        Forget();
    }

    NvencRuntimeEntry Entry() const { return static_cast<NvencRuntimeEntry>(std::get<0>(GetParam())); }

    // A runtime that says that it took a picture and didn't never sets the picture's event, and the wait for it takes
    // twenty seconds.
    bool WouldWait(std::uint32_t uiCall, NVENCSTATUS eStatus) const
    {
        return m_bEvents && Entry() == NVENC_ENTRY_ENCODE_PICTURE && eStatus == NV_ENC_ERR_NEED_MORE_INPUT &&
               uiCall <= g_uiFrames;
    }
};

class WritingWithoutTableEntry : public WritingWithoutEntry
{
};

TEST_P(WritingWithoutEntry, OfWhichACallFails)
{
    std::uint32_t uiFailures = 0;
    for (std::uint32_t uiCall = 1; uiCall <= CallsOf(Entry()); ++uiCall)
    {
        for (const NVENCSTATUS eStatus : g_aeStatuses)
        {
            if (WouldWait(uiCall, eStatus)) continue;
            SCOPED_TRACE("call " + std::to_string(uiCall) + ", status " + std::to_string(eStatus));
            m_script->FailCalls(Entry(), uiCall, 1, eStatus);
            ExpectOutcome(OfOneFailure(Entry(), uiCall, eStatus, m_bEvents));
            ++uiFailures;
        }
    }
    ExpectOpenSessions(Entry() == NVENC_ENTRY_DESTROY_ENCODER ? uiFailures : 0);
}

TEST_P(WritingWithoutEntry, OfWhichAllCallsFail)
{
    std::uint32_t uiFailures = 0;
    for (const NVENCSTATUS eStatus : g_aeStatuses)
    {
        if (WouldWait(1, eStatus)) continue;
        SCOPED_TRACE("status " + std::to_string(eStatus));
        m_script->FailCalls(Entry(), 1, 1000, eStatus);
        ExpectOutcome(OfLastingFailure(Entry(), eStatus, m_bEvents));
        ++uiFailures;
    }
    ExpectOpenSessions(Entry() == NVENC_ENTRY_DESTROY_ENCODER ? uiFailures : 0);
}

TEST_P(WritingWithoutTableEntry, ThatIsLacking)
{
    m_script->LackEntry(Entry());
    // A table without its first entry, which has no caller, is taken for no table at all.
    ExpectOutcome(Entry() == NVENC_ENTRY_OPEN_ENCODE_SESSION
                      ? WithoutFile(g_nOpenSession)
                      : OfLastingFailure(Entry(), NV_ENC_ERR_UNIMPLEMENTED, m_bEvents));
    ExpectOpenSessions(Entry() == NVENC_ENTRY_DESTROY_ENCODER ? 1 : 0);
}

std::string NameOf(const testing::TestParamInfo<std::tuple<std::int32_t, bool>>& info)
{
    return std::to_string(std::get<0>(info.param)) + (std::get<1>(info.param) ? "_events" : "");
}

INSTANTIATE_TEST_SUITE_P(Entries, WritingWithoutEntry,
                         testing::Combine(testing::Range<std::int32_t>(0, NVENC_ENTRY_COUNT), testing::Bool()), NameOf);
INSTANTIATE_TEST_SUITE_P(Entries, WritingWithoutTableEntry,
                         testing::Combine(testing::Range<std::int32_t>(0, NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION),
                                          testing::Bool()),
                         NameOf);

// The frame keeps its time, and its picture is missing: every later picture stands at the time of the frame before it.
TEST_F(Writing, AfterARefusedFramePicturesStandAtTheTimesOfTheFramesBeforeThem)
{
    const std::vector<double> vTimes = {0.0, 10.0, 30.0, 70.0, 150.0, 310.0, 630.0, 1270.0};
    ASSERT_EQ(vTimes.size(), g_uiFrames);
    for (const NvencRuntimeEntry eEntry : {NVENC_ENTRY_MAP_INPUT_RESOURCE, NVENC_ENTRY_ENCODE_PICTURE})
    {
        for (const std::uint32_t uiRefused : {1U, 3U, g_uiFrames})
        {
            SCOPED_TRACE("frame " + std::to_string(uiRefused) + " by entry " + std::to_string(eEntry));
            Forget();
            m_script->FailCalls(eEntry, uiRefused, 1, NV_ENC_ERR_GENERIC);
            const std::filesystem::path path = m_dir / "refused.mp4";
            const OutputFile file = OpenForPictures(m_host, path, 64, 48);
            std::vector<std::uint32_t> vNumbers;
            for (std::uint32_t ui = 0; ui < g_uiFrames; ++ui)
            {
                EXPECT_EQ(WriteAt(file, vTimes[ui], Picture(ui)), ui + 1 == uiRefused ? QM_ERR_FAIL : QM_OK);
                if (ui + 1 != uiRefused) vNumbers.push_back(ui + 1);
            }
            EXPECT_EQ(file->CloseOutput(), QM_OK);

            EXPECT_EQ(NumbersIn(path, 64, 48), vNumbers);
            std::vector<std::int64_t> vTicks;  // of a tenth of a millisecond
            for (std::uint32_t ui = 0; ui + 1 < g_uiFrames; ++ui)
                vTicks.push_back(static_cast<std::int64_t>(vTimes[ui] * 10.0));
            EXPECT_EQ(PacketValues(path, "pts"), vTicks);

            const ReadBack reader(m_host, path);
            EXPECT_EQ(reader.Times(), vTimes);
            for (std::uint32_t ui = 0; ui < vNumbers.size(); ++ui)
                EXPECT_EQ(NumberIn(reader.Frame(ui)), vNumbers[ui]) << "at " << vTimes[ui] << " ms";
        }
    }
}

TEST_F(Writing, PacketsHeldBackForFewerFramesThanTheRingHasComeAsEver)
{
    for (std::uint32_t uiPictures = 1; uiPictures <= g_uiHeldBack; ++uiPictures)
    {
        m_script->DelayPackets(uiPictures);
        ExpectOutcome({}, false);
    }
}

// The fourth frame reads the first packet, which comes with the sixth. All pictures that were sent are in the file.
TEST_F(Writing, PacketsHeldBackForMoreFramesThanTheRingHasRefuseFramesWithoutWaitingForEver)
{
    m_script->DelayPackets(5);
    ExpectOutcome(WithoutPacket(1, g_uiHeldBack + 1), false);
}

// --- Direct3D ---

TEST_F(Writing, WithoutADeviceFramesAreRefusedAndNoFileIsMade)
{
    for (const D3D9Call eCall : {D3D9Call::Create9Ex, D3D9Call::CreateDevice, D3D9Call::CreateOffscreenPlainSurface})
    {
        D3D9Script_Reset();
        D3D9Script_FailCall(eCall, 1, D3DERR_NOTAVAILABLE);
        ExpectOutcome(WithoutFile(0));
    }
    ExpectOpenSessions(0);
}

TEST_F(Writing, WithoutASurfaceForEachSlotFramesAreRefusedAndNoFileIsMade)
{
    for (unsigned uiSurface = 1; uiSurface <= g_uiHeldBack + 1; ++uiSurface)
    {
        D3D9Script_Reset();
        // After the one that nothing is drawn on.
        D3D9Script_FailCall(D3D9Call::CreateOffscreenPlainSurface, 1 + uiSurface, D3DERR_OUTOFVIDEOMEMORY);
        ExpectOutcome(WithoutFile(g_nCreateEncoder));
    }
    ExpectOpenSessions(0);
}

// Its time is in the list already, so every later picture would get a wrong one.
TEST_F(Writing, ASurfaceThatCannotBeWrittenToEndsTheFileAfterTheLastGoodFrame)
{
    DoNotWatch();
    for (std::uint32_t uiFrame = 1; uiFrame <= g_uiFrames; ++uiFrame)
    {
        D3D9Script_Reset();
        // Each frame locks its surface twice, to be written by the module and to be read by the runtime.
        D3D9Script_FailCall(D3D9Call::LockRect, 2 * uiFrame - 1, D3DERR_INVALIDCALL);
        Outcome outcome;
        outcome.RefuseFrom(uiFrame);
        outcome.m_uiPackets = uiFrame - 1;
        ExpectOutcome(outcome);
    }
}

TEST_F(Writing, ASurfaceThatTheRuntimeCannotReadIsAPictureThatItRefuses)
{
    DoNotWatch();
    for (std::uint32_t uiFrame = 1; uiFrame <= g_uiFrames; ++uiFrame)
    {
        D3D9Script_Reset();
        D3D9Script_FailCall(D3D9Call::LockRect, 2 * uiFrame, D3DERR_INVALIDCALL);
        Outcome outcome = WithoutPicture(uiFrame, NV_ENC_ERR_MAP_FAILED);
        outcome.m_breaches.uiSurfacesWritten = 0;
        ExpectOutcome(outcome);
    }
}

}  // namespace
