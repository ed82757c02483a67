// Entries of the runtime that fail in the middle of the work, at their first and at a later call.
#include "nvenc_fixture.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class FailuresTest : public NvencTest
{
protected:
    // Sends frames until one fails and holds that failure against the text. Gives the number of the failing frame,
    // counted from 1.
    int SendUntilFailure(TestEncoder& encoder, const std::string& strText, int nStatus)
    {
        for (int nFrame = 1; nFrame < 50; ++nFrame)
        {
            try
            {
                encoder.EncodeFrame(m_vPacket);
            }
            catch (const NVENCException& exception)
            {
                EXPECT_EQ(exception.GetErrorString(), strText + "\n");
                EXPECT_EQ(static_cast<int>(exception.GetErrorCode()), nStatus);
                return nFrame;
            }
        }
        ADD_FAILURE() << "no failure; expected: " << strText;
        return 0;
    }

    Packets m_vPacket;
};

// An entry that fails while frames are encoded, and what is left of the frame and of the packet.
struct SFailingEntry
{
    const char* m_pszEntry;
    NVENCSTATUS m_eStatus;
    const char* m_pszText;
    bool m_bFrameSent;   // so it fails three frames later, when the packet of its slot is taken
    bool m_bMapped;      // the slot stays mapped
    bool m_bPacketRead;  // the packet is handed out with the failure
};

constexpr SFailingEntry g_aFailingEntries[] = {
    {"nvEncMapInputResource", NV_ENC_ERR_MAP_FAILED,
     "NvEncoder::MapResources : m_nvenc.nvEncMapInputResource(m_hEncoder, &mapInputResource) returned error 16", false,
     false, false},
    {"nvEncEncodePicture", NV_ENC_ERR_ENCODER_BUSY, "NvEncoder::EncodeFrame : nvEncEncodePicture API failed", false,
     true, false},
    {"nvEncLockBitstream", NV_ENC_ERR_LOCK_BUSY,
     "NvEncoder::GetEncodedPacket : m_nvenc.nvEncLockBitstream(m_hEncoder, &lockBitstreamData) returned error 13", true,
     true, false},
    {"nvEncUnlockBitstream", NV_ENC_ERR_INVALID_PARAM,
     "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnlockBitstream(m_hEncoder, lockBitstreamData.outputBitstream) "
     "returned error 8",
     true, true, true},
    {"nvEncUnmapInputResource", NV_ENC_ERR_RESOURCE_NOT_MAPPED,
     "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnmapInputResource(m_hEncoder, m_vMappedInputBuffers[m_iGot % "
     "m_nEncoderBuffer]) returned error 25",
     true, true, true}};

std::vector<SFailingEntry> EntriesThatFail(bool bFrameSent)
{
    std::vector<SFailingEntry> vEntries;
    std::copy_if(std::begin(g_aFailingEntries), std::end(g_aFailingEntries), std::back_inserter(vEntries),
                 [bFrameSent](const SFailingEntry& entry) { return entry.m_bFrameSent == bFrameSent; });
    return vEntries;
}

class FailingEntryTest : public FailuresTest, public testing::WithParamInterface<SFailingEntry>
{
};
class UnsentFrameTest : public FailingEntryTest
{
};
class UntakenPacketTest : public FailingEntryTest
{
};

constexpr auto g_nameOf = [](const auto& info) { return std::string(info.param.m_pszEntry); };
INSTANTIATE_TEST_SUITE_P(Entries, FailingEntryTest, testing::ValuesIn(g_aFailingEntries), g_nameOf);
INSTANTIATE_TEST_SUITE_P(Entries, UnsentFrameTest, testing::ValuesIn(EntriesThatFail(false)), g_nameOf);
INSTANTIATE_TEST_SUITE_P(Entries, UntakenPacketTest, testing::ValuesIn(EntriesThatFail(true)), g_nameOf);
}  // namespace

TEST_P(FailingEntryTest, IsReportedAndTheCountsStayAsTheyWere)
{
    const SFailingEntry& entry = GetParam();
    for (const int nCall : {1, 6})
    {
        SCOPED_TRACE(nCall);
        FakeRuntime runtime;
        runtime.Fail(entry.m_pszEntry, nCall, entry.m_eStatus);
        const auto pEncoder = MakeEncoder();
        const int nFrame = nCall + (entry.m_bFrameSent ? 3 : 0);
        EXPECT_EQ(SendUntilFailure(*pEncoder, entry.m_pszText, entry.m_eStatus), nFrame);
        EXPECT_EQ(pEncoder->m_iToSend, entry.m_bFrameSent ? nFrame : nFrame - 1);
        EXPECT_EQ(pEncoder->m_iGot, entry.m_bFrameSent ? nCall - 1 : std::max(nCall - 4, 0));
        EXPECT_EQ(pEncoder->m_vMappedInputBuffers[static_cast<std::size_t>((nCall - 1) % 4)] != nullptr,
                  entry.m_bMapped);
        EXPECT_EQ(m_vPacket, entry.m_bPacketRead ? Packets{FakeRuntime::PacketOf(nCall - 1)} : Packets{});
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

// The slot was never in flight: the next frame takes it, mapped or not.
TEST_P(UnsentFrameTest, IsFollowedByOthers)
{
    const SFailingEntry& entry = GetParam();
    for (const int nCall : {1, 6})
    {
        SCOPED_TRACE(nCall);
        FakeRuntime runtime;
        runtime.Fail(entry.m_pszEntry, nCall, entry.m_eStatus);
        const auto pEncoder = MakeEncoder();
        SendUntilFailure(*pEncoder, entry.m_pszText, entry.m_eStatus);
        EXPECT_EQ(pEncoder->GetNextInputFrame(), &pEncoder->m_vInputFrames[static_cast<std::size_t>((nCall - 1) % 4)]);
        for (int i = 0; i < 6; ++i)
            EXPECT_NO_THROW(pEncoder->EncodeFrame(m_vPacket)) << i;
        EXPECT_EQ(pEncoder->m_iToSend, nCall + 5);
        EXPECT_EQ(m_vPacket, Packets{FakeRuntime::PacketOf(nCall + 1)});
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
        // The mapping of the refused frame is the only thing that is still there at the end.
        pEncoder->DestroyEncoder();
        EXPECT_EQ(runtime.m_mapMapped.size(), entry.m_bMapped ? 1u : 0u);
    }
}

// The packet that couldn't be taken keeps its slot, which is the next frame's too.
TEST_P(UntakenPacketTest, RefusesFramesWhileItsSlotIsInFlight)
{
    const SFailingEntry& entry = GetParam();
    for (const int nCall : {1, 6})
    {
        SCOPED_TRACE(nCall);
        FakeRuntime runtime;
        runtime.Fail(entry.m_pszEntry, nCall, entry.m_eStatus);
        const auto pEncoder = MakeEncoder();
        SendUntilFailure(*pEncoder, entry.m_pszText, entry.m_eStatus);

        const std::vector<void*> vMapped = pEncoder->m_vMappedInputBuffers;
        const std::size_t uiBefore = runtime.m_vCalls.size();
        for (int i = 0; i < 2; ++i)
        {
            ExpectFailure([&] { pEncoder->GetNextInputFrame(); },
                          "NvEncoder::GetNextInputFrame : All encoder buffers are in flight", 18);
            ExpectFailure([&] { pEncoder->EncodeFrame(m_vPacket); },
                          "NvEncoder::EncodeFrame : All encoder buffers are in flight", 18);
        }
        EXPECT_THAT(runtime.CallsFrom(uiBefore), IsEmpty());
        EXPECT_EQ(pEncoder->m_vMappedInputBuffers, vMapped);
        EXPECT_EQ(pEncoder->m_iToSend, nCall + 3);
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FailuresTest, OnceThePacketIsTakenItsSlotIsFreeAgain)
{
    const auto pEncoder = MakeEncoder();
    m_runtime.Fail("nvEncLockBitstream", 1, NV_ENC_ERR_LOCK_BUSY);
    for (int i = 0; i < 3; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    EXPECT_THROW(pEncoder->EncodeFrame(m_vPacket), NVENCException);
    EXPECT_THROW(pEncoder->GetNextInputFrame(), NVENCException);
    pEncoder->EndEncode(m_vPacket);
    EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(0), FakeRuntime::PacketOf(1), FakeRuntime::PacketOf(2),
                                       FakeRuntime::PacketOf(3)));
    EXPECT_EQ(pEncoder->GetNextInputFrame(), &pEncoder->m_vInputFrames[0]);
    EXPECT_NO_THROW(pEncoder->EncodeFrame(m_vPacket));
}

TEST_F(FailuresTest, APacketThatThereIsNoMemoryForIsUnlockedAndNotCounted)
{
    for (const unsigned uiCall : {1u, 2u})  // for its place in the list, and for its bytes
    {
        FakeRuntime runtime;
        const auto pEncoder = MakeEncoder();
        for (int i = 0; i < 3; ++i)
            pEncoder->EncodeFrame(m_vPacket);
        std::optional<CShortMemory> memory;
        runtime.m_funcLocked = [&] { memory.emplace(uiCall); };
        Packets vPacket;
        EXPECT_THROW(pEncoder->EncodeFrame(vPacket), std::bad_alloc);
        memory.reset();
        runtime.m_funcLocked = nullptr;
        EXPECT_TRUE(runtime.m_setLocked.empty());
        EXPECT_EQ(pEncoder->m_iGot, 0);
        EXPECT_EQ(pEncoder->m_iToSend, 4);

        // It can be asked for again, and nothing after it is out of place.
        EXPECT_NO_THROW(pEncoder->EndEncode(vPacket));
        EXPECT_EQ(pEncoder->m_iGot, 4);
        EXPECT_EQ(vPacket.back(), FakeRuntime::PacketOf(3));
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FailuresTest, AFailedUnmappingOfAReferenceIsReported)
{
    const auto pEncoder = MakeEncoder();
    pEncoder->m_bMotionEstimationOnly = true;
    pEncoder->m_vMappedRefBuffers.resize(4);
    int aReferences[4] = {};
    pEncoder->RegisterResources({&aReferences[0], &aReferences[1], &aReferences[2], &aReferences[3]},
                                NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX, 64, 48, 256, NV_ENC_BUFFER_FORMAT_ARGB, true);
    pEncoder->EncodeFrame(m_vPacket);
    m_runtime.Fail("nvEncUnmapInputResource", 2, NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    ExpectFailure([&] { pEncoder->EndEncode(m_vPacket); },
                  "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnmapInputResource(m_hEncoder, "
                  "m_vMappedRefBuffers[m_iGot % m_nEncoderBuffer]) returned error 25",
                  25);
    pEncoder->DestroyEncoder();
    EXPECT_TRUE(m_runtime.m_mapMapped.empty());
    pEncoder->m_bMotionEstimationOnly = false;
}

TEST_F(FailuresTest, AFailedEndOfStreamIsReported)
{
    for (const int nFrames : {0, 5})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncEncodePicture", nFrames + 1, NV_ENC_ERR_INVALID_CALL);
        const auto pEncoder = MakeEncoder();
        for (int i = 0; i < nFrames; ++i)
            pEncoder->EncodeFrame(m_vPacket);
        const std::int32_t iGot = pEncoder->m_iGot;
        ExpectFailure([&] { pEncoder->EndEncode(m_vPacket); },
                      "NvEncoder::SendEOS : m_nvenc.nvEncEncodePicture(m_hEncoder, &picParams) returned error 9", 9);
        EXPECT_THAT(m_vPacket, IsEmpty());
        EXPECT_EQ(pEncoder->m_iGot, iGot);
    }
}

TEST_F(FailuresTest, AnEndOfStreamThatNeedsMoreInputIsAFailure)
{
    const auto pEncoder = MakeEncoder();
    m_runtime.Fail("nvEncEncodePicture", 1, NV_ENC_ERR_NEED_MORE_INPUT);
    ExpectFailure([&] { pEncoder->EndEncode(m_vPacket); },
                  "NvEncoder::SendEOS : m_nvenc.nvEncEncodePicture(m_hEncoder, &picParams) returned error 17", 17);
}

TEST_F(FailuresTest, AFailureWhileDrainingKeepsThePacketsReadBefore)
{
    const auto pEncoder = MakeEncoder();
    for (int i = 0; i < 3; ++i)
        pEncoder->EncodeFrame(m_vPacket);
    m_runtime.Fail("nvEncLockBitstream", 3, NV_ENC_ERR_GENERIC);
    EXPECT_THROW(pEncoder->EndEncode(m_vPacket), NVENCException);
    EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(0), FakeRuntime::PacketOf(1)));
    EXPECT_EQ(pEncoder->m_iGot, 2);
}

TEST_F(FailuresTest, EveryMissingEntryFailsLikeAFailingOne)
{
    struct SCase
    {
        const char* m_pszEntry;
        const char* m_pszText;
    };
    for (const SCase& missing :
         {SCase{"nvEncInitializeEncoder",
                "NvEncoder::CreateEncoder : m_nvenc.nvEncInitializeEncoder(m_hEncoder, &m_initializeParams) returned "
                "error 22"},
          SCase{"nvEncCreateBitstreamBuffer",
                "NvEncoder::InitializeBitstreamBuffer : m_nvenc.nvEncCreateBitstreamBuffer(m_hEncoder, "
                "&createBitstreamBuffer) returned error 22"},
          SCase{"nvEncRegisterResource",
                "NvEncoder::RegisterResource : m_nvenc.nvEncRegisterResource(m_hEncoder, &registerResource) returned "
                "error 22"},
          SCase{"nvEncMapInputResource",
                "NvEncoder::MapResources : m_nvenc.nvEncMapInputResource(m_hEncoder, &mapInputResource) returned error "
                "22"},
          SCase{"nvEncEncodePicture", "NvEncoder::EncodeFrame : nvEncEncodePicture API failed"},
          SCase{"nvEncLockBitstream",
                "NvEncoder::GetEncodedPacket : m_nvenc.nvEncLockBitstream(m_hEncoder, &lockBitstreamData) returned "
                "error 22"},
          SCase{"nvEncUnlockBitstream", "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnlockBitstream(m_hEncoder, "
                                        "lockBitstreamData.outputBitstream) returned error 22"},
          SCase{"nvEncUnmapInputResource", "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnmapInputResource(m_hEncoder, "
                                           "m_vMappedInputBuffers[m_iGot % m_nEncoderBuffer]) returned error 22"}})
    {
        FakeRuntime runtime;
        runtime.Lack(missing.m_pszEntry);
        ExpectFailure(
            [&] {
                const auto pEncoder = MakeEncoder();
                for (int i = 0; i < 4; ++i)
                    pEncoder->EncodeFrame(m_vPacket);
            },
            missing.m_pszText, 22);
    }
}

TEST_F(FailuresTest, EntriesWhoseResultsDoNotCountMayBeMissing)
{
    for (const char* pszEntry :
         {"nvEncGetEncodeCaps", "nvEncGetEncodePresetConfig", "nvEncRegisterAsyncEvent", "nvEncUnregisterAsyncEvent",
          "nvEncDestroyBitstreamBuffer", "nvEncUnregisterResource", "nvEncDestroyEncoder"})
    {
        FakeRuntime runtime;
        runtime.Lack(pszEntry);
        // Events that were never registered are unregistered all the same.
        if (pszEntry == std::string("nvEncRegisterAsyncEvent")) runtime.Lack("nvEncUnregisterAsyncEvent");
        const auto pEncoder = MakeEncoder();
        for (int i = 0; i < 4; ++i)
            EXPECT_NO_THROW(pEncoder->EncodeFrame(m_vPacket)) << pszEntry;
        EXPECT_NO_THROW(pEncoder->DestroyEncoder()) << pszEntry;
        EXPECT_FALSE(pEncoder->GetSession()) << pszEntry;
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty()) << pszEntry;
    }
}
