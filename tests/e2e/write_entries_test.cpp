// Every entry of the encoder's runtime, and Direct3D, failing at every call: what the host gets, what becomes of the
// file, and that neither an earlier nor a later file notices.
#include <gtest/gtest.h>

#include <algorithm>

#include <d3d9.h>

#include "platform/d3d9/d3d9_script.h"
#include "support/diagnostics_capture.h"
#include "support/encoder_script.h"
#include "support/muxed_file.h"
#include "support/video_maker.h"
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
        // Without events: a wait for one that never comes takes twenty seconds.
        m_script->SetCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT, 0);
        WriteFile(m_host, m_dir / "before.mp4", EvenTimes(g_uiFrames), Picture);
        m_vUndisturbed = ReadBytes(m_dir / "before.mp4");
        m_undisturbed = ReadMuxedFile(m_vUndisturbed);
    }
    ~Writing() override { D3D9Script_Reset(); }

    static HostPicture Picture(std::uint32_t uiFrame) { return NumberedPicture(64, 48, uiFrame + 1); }

    void Forget()
    {
        m_script->Reset();
        m_script->SetCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT, 0);
    }

    // Writes a file with what the script has in store, then one without.
    void ExpectOutcome(const Outcome& outcome)
    {
        const std::filesystem::path path = m_dir / "disturbed.mp4";
        {
            const CDiagnosticsCapture lines;
            const OutputFile file = OpenForPictures(m_host, path, 64, 48);
            std::vector<QmStatus> vFrames;
            for (std::uint32_t ui = 0; ui < g_uiFrames; ++ui)
                vFrames.push_back(WriteAt(file, 40.0 * ui, Picture(ui)));
            EXPECT_EQ(vFrames, outcome.m_vFrames);
            EXPECT_EQ(file->CloseOutput(), QM_OK);
            for (const int nLine : {g_nOpenSession, g_nCreateEncoder, g_nFrame, g_nClose})
            {
                if (nLine == outcome.m_nLine || outcome.m_nLine == 0)
                {
                    EXPECT_EQ(lines.TextsOf(nLine).empty(), outcome.m_nLine == 0) << nLine;
                }
            }
        }
        ASSERT_EQ(std::filesystem::exists(path), outcome.m_uiPackets.has_value());
        if (outcome.m_uiPackets) ExpectFile(ReadBytes(path), outcome);
        std::filesystem::remove(path);

        Forget();
        EXPECT_TRUE(ReadBytes(m_dir / "before.mp4") == m_vUndisturbed) << "a file that was complete has changed";
        WriteFile(m_host, path, EvenTimes(g_uiFrames), Picture);
        EXPECT_TRUE(ReadBytes(path) == m_vUndisturbed) << "a later file isn't as it would have been";
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

    // Nothing is left in the runtime but what was left in it before the test.
    void ExpectNothingLeft() const
    {
        const NvencRuntimeObjects objects = m_script->CountObjects();
        EXPECT_EQ(objects.uiSessions, m_objects.uiSessions);
        EXPECT_EQ(objects.uiRegisteredResources, m_objects.uiRegisteredResources);
        EXPECT_EQ(objects.uiMappedResources, m_objects.uiMappedResources);
        EXPECT_EQ(objects.uiBitstreamBuffers, m_objects.uiBitstreamBuffers);
        EXPECT_EQ(objects.uiRegisteredEvents, m_objects.uiRegisteredEvents);
    }

    const EncoderScript m_script;
    const NvencRuntimeObjects m_objects = m_script->CountObjects();
    const TempDir m_dir;
    const ModuleHost m_host;
    Bytes m_vUndisturbed;
    SMuxedFile m_undisturbed;
};

TEST_F(Writing, CallsEachEntryAsOftenAsItIsFailedHere)
{
    Forget();
    WriteFile(m_host, m_dir / "counted.mp4", EvenTimes(g_uiFrames), Picture);
    for (std::int32_t n = 0; n < NVENC_ENTRY_COUNT; ++n)
    {
        const auto eEntry = static_cast<NvencRuntimeEntry>(n);
        EXPECT_EQ(m_script->CountCalls(eEntry), CallsOf(eEntry)) << "entry " << n;
    }
    ExpectNothingLeft();
}

class WritingWithoutEntry : public Writing, public testing::WithParamInterface<std::int32_t>
{
protected:
    NvencRuntimeEntry Entry() const { return static_cast<NvencRuntimeEntry>(GetParam()); }
};

class WritingWithoutTableEntry : public WritingWithoutEntry
{
};

TEST_P(WritingWithoutEntry, OfWhichACallFails)
{
    for (std::uint32_t uiCall = 1; uiCall <= CallsOf(Entry()); ++uiCall)
    {
        for (const NVENCSTATUS eStatus : g_aeStatuses)
        {
            SCOPED_TRACE("call " + std::to_string(uiCall) + ", status " + std::to_string(eStatus));
            m_script->FailCalls(Entry(), uiCall, 1, eStatus);
            ExpectOutcome(OfOneFailure(Entry(), uiCall, eStatus));
        }
    }
    if (Entry() != NVENC_ENTRY_DESTROY_ENCODER) ExpectNothingLeft();
}

TEST_P(WritingWithoutEntry, OfWhichAllCallsFail)
{
    for (const NVENCSTATUS eStatus : g_aeStatuses)
    {
        SCOPED_TRACE("status " + std::to_string(eStatus));
        m_script->FailCalls(Entry(), 1, 1000, eStatus);
        ExpectOutcome(OfLastingFailure(Entry(), eStatus));
    }
}

TEST_P(WritingWithoutTableEntry, ThatIsLacking)
{
    m_script->LackEntry(Entry());
    // A table without its first entry, which nobody calls, is taken for no table at all.
    ExpectOutcome(Entry() == NVENC_ENTRY_OPEN_ENCODE_SESSION ? WithoutFile(g_nOpenSession)
                                                             : OfLastingFailure(Entry(), NV_ENC_ERR_UNIMPLEMENTED));
}

INSTANTIATE_TEST_SUITE_P(Entries, WritingWithoutEntry, testing::Range<std::int32_t>(0, NVENC_ENTRY_COUNT),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Entries, WritingWithoutTableEntry,
                         testing::Range<std::int32_t>(0, NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION),
                         testing::PrintToStringParamName());

// With events a frame whose event wasn't registered isn't taken, nor is the end of the stream, which stands at the same
// slot: the packets that were held back are lost.
TEST_F(Writing, WithEventsALostRegistrationRefusesTheFramesOfItsSlot)
{
    for (std::uint32_t uiCall = 1; uiCall <= g_uiHeldBack + 1; ++uiCall)
    {
        SCOPED_TRACE(uiCall);
        m_script->Reset();
        m_script->FailCalls(NVENC_ENTRY_REGISTER_ASYNC_EVENT, uiCall, 1, NV_ENC_ERR_GENERIC);
        Outcome outcome = WithoutPicture(uiCall, NV_ENC_ERR_GENERIC);
        outcome.m_uiPackets = 0;
        ExpectOutcome(outcome);
    }
}

TEST_F(Writing, WithEventsAFileHasTheSameBytes)
{
    m_script->Reset();
    ExpectOutcome({});
}

TEST_F(Writing, WithEventsAFrameThatCannotBeMappedIsLeftOut)
{
    for (std::uint32_t uiCall = 1; uiCall <= g_uiFrames; ++uiCall)
    {
        SCOPED_TRACE(uiCall);
        m_script->Reset();
        m_script->FailCalls(NVENC_ENTRY_MAP_INPUT_RESOURCE, uiCall, 1, NV_ENC_ERR_MAP_FAILED);
        ExpectOutcome(OfOneFailure(NVENC_ENTRY_MAP_INPUT_RESOURCE, uiCall, NV_ENC_ERR_MAP_FAILED));
    }
}

TEST_F(Writing, WithEventsAPictureThatIsRefusedEndsTheStreamThere)
{
    for (std::uint32_t uiCall = 1; uiCall <= g_uiFrames + 2; ++uiCall)
    {
        SCOPED_TRACE(uiCall);
        m_script->Reset();
        m_script->FailCalls(NVENC_ENTRY_ENCODE_PICTURE, uiCall, 1, NV_ENC_ERR_GENERIC);
        ExpectOutcome(WithoutPicture(uiCall, NV_ENC_ERR_GENERIC));
    }
}

TEST_F(Writing, PacketsHeldBackForFewerFramesThanTheRingHasComeAsEver)
{
    for (std::uint32_t uiPictures = 1; uiPictures <= g_uiHeldBack; ++uiPictures)
    {
        m_script->DelayPackets(uiPictures);
        ExpectOutcome({});
    }
}

// The fourth frame wants the first packet, which isn't to be had before the sixth. What was taken until then comes out
// at the end.
TEST_F(Writing, PacketsHeldBackForMoreFramesThanTheRingHasRefuseFramesWithoutWaitingForEver)
{
    m_script->DelayPackets(5);
    ExpectOutcome(WithoutPacket(1, g_uiHeldBack + 1));
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
    ExpectNothingLeft();
}

TEST_F(Writing, WithoutASurfaceForEachSlotFramesAreRefusedAndNoFileIsMade)
{
    for (unsigned uiSurface = 1; uiSurface <= g_uiHeldBack + 1; ++uiSurface)
    {
        D3D9Script_Reset();
        // Behind the one that nothing is drawn on.
        D3D9Script_FailCall(D3D9Call::CreateOffscreenPlainSurface, 1 + uiSurface, D3DERR_OUTOFVIDEOMEMORY);
        ExpectOutcome(WithoutFile(g_nCreateEncoder));
    }
    ExpectNothingLeft();
}

TEST_F(Writing, ASurfaceThatCannotBeWrittenToLeavesItsFrameOut)
{
    for (std::uint32_t uiFrame = 1; uiFrame <= g_uiFrames; ++uiFrame)
    {
        D3D9Script_Reset();
        // Each frame locks its surface twice, to be written by the module and to be read by the runtime.
        D3D9Script_FailCall(D3D9Call::LockRect, 2 * uiFrame - 1, D3DERR_INVALIDCALL);
        Outcome outcome = OfOneFailure(NVENC_ENTRY_MAP_INPUT_RESOURCE, uiFrame, NV_ENC_ERR_GENERIC);
        outcome.m_nLine = 0;
        ExpectOutcome(outcome);
    }
}

TEST_F(Writing, ASurfaceThatTheRuntimeCannotReadIsAPictureThatItRefuses)
{
    for (std::uint32_t uiFrame = 1; uiFrame <= g_uiFrames; ++uiFrame)
    {
        D3D9Script_Reset();
        D3D9Script_FailCall(D3D9Call::LockRect, 2 * uiFrame, D3DERR_INVALIDCALL);
        ExpectOutcome(WithoutPicture(uiFrame, NV_ENC_ERR_MAP_FAILED));
    }
}

}  // namespace
