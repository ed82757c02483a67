// Entries of the runtime that fail in the middle of the work, at their first and at a later call.
#include "nvenc_fixture.h"

#include <optional>

#include "tests/support/short_memory.h"

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
}  // namespace

TEST_F(FailuresTest, AFailedMappingIsReportedAndTheFrameIsNotSent)
{
    for (const int nCall : {1, 6})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncMapInputResource", nCall, NV_ENC_ERR_MAP_FAILED);
        const auto pEncoder = MakeEncoder();
        EXPECT_EQ(SendUntilFailure(*pEncoder,
                                   "NvEncoder::MapResources : m_nvenc.nvEncMapInputResource(m_hEncoder, "
                                   "&mapInputResource) returned error 16",
                                   16),
                  nCall);
        EXPECT_EQ(pEncoder->m_iToSend, nCall - 1);
        // The caller may send the frame again.
        EXPECT_NO_THROW(pEncoder->EncodeFrame(m_vPacket));
        EXPECT_EQ(pEncoder->m_iToSend, nCall);
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FailuresTest, APictureThatTheEncoderRefusesIsReportedAndStaysMapped)
{
    for (const int nCall : {1, 6})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncEncodePicture", nCall, NV_ENC_ERR_ENCODER_BUSY);
        const auto pEncoder = MakeEncoder();
        EXPECT_EQ(SendUntilFailure(*pEncoder, "NvEncoder::EncodeFrame : nvEncEncodePicture API failed", 18), nCall);
        EXPECT_EQ(pEncoder->m_iToSend, nCall - 1);
        EXPECT_TRUE(pEncoder->m_vMappedInputBuffers[static_cast<std::size_t>((nCall - 1) % 4)]);
        EXPECT_THAT(m_vPacket, IsEmpty());
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FailuresTest, AFailedLockIsReportedAndThePacketNotCounted)
{
    for (const int nCall : {1, 4})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncLockBitstream", nCall, NV_ENC_ERR_LOCK_BUSY);
        const auto pEncoder = MakeEncoder();
        EXPECT_EQ(SendUntilFailure(*pEncoder,
                                   "NvEncoder::GetEncodedPacket : m_nvenc.nvEncLockBitstream(m_hEncoder, "
                                   "&lockBitstreamData) returned error 13",
                                   13),
                  nCall + 3);
        EXPECT_EQ(pEncoder->m_iToSend, nCall + 3);
        EXPECT_EQ(pEncoder->m_iGot, nCall - 1);
        EXPECT_THAT(m_vPacket, IsEmpty());
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FailuresTest, AFailedUnlockIsReportedWithThePacketRead)
{
    for (const int nCall : {1, 4})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncUnlockBitstream", nCall, NV_ENC_ERR_INVALID_PARAM);
        const auto pEncoder = MakeEncoder();
        EXPECT_EQ(SendUntilFailure(*pEncoder,
                                   "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnlockBitstream(m_hEncoder, "
                                   "lockBitstreamData.outputBitstream) returned error 8",
                                   8),
                  nCall + 3);
        EXPECT_EQ(pEncoder->m_iGot, nCall - 1);
        EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(nCall - 1)));
        runtime.m_setLocked.clear();
        pEncoder->DestroyEncoder();
    }
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

        // It can be asked for again, and nothing behind it is out of place.
        EXPECT_NO_THROW(pEncoder->EndEncode(vPacket));
        EXPECT_EQ(pEncoder->m_iGot, 4);
        EXPECT_EQ(vPacket.back(), FakeRuntime::PacketOf(3));
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(FailuresTest, AFailedUnmappingIsReportedWithThePacketRead)
{
    for (const int nCall : {1, 4})
    {
        FakeRuntime runtime;
        runtime.Fail("nvEncUnmapInputResource", nCall, NV_ENC_ERR_RESOURCE_NOT_MAPPED);
        const auto pEncoder = MakeEncoder();
        EXPECT_EQ(SendUntilFailure(*pEncoder,
                                   "NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnmapInputResource(m_hEncoder, "
                                   "m_vMappedInputBuffers[m_iGot % m_nEncoderBuffer]) returned error 25",
                                   25),
                  nCall + 3);
        EXPECT_EQ(pEncoder->m_iGot, nCall - 1);
        EXPECT_TRUE(pEncoder->m_vMappedInputBuffers[static_cast<std::size_t>((nCall - 1) % 4)]);
        EXPECT_THAT(m_vPacket, ElementsAre(FakeRuntime::PacketOf(nCall - 1)));
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
