// The thread that takes an AMF encoder's output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>

#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "mp4_outputfile/pollingthread.h"
#include "muxer/muxing.h"
#include "passing_clock.h"
#include "scripted_amf.h"
#include "support/muxed_file.h"
#include "support/repetitions.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const Bytes g_vPacket = Join({g_vStart4, {0x09, 0x10}, g_vStart4, Nal(0x65, 40)});

class PollingThreadTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_amf.m_funcPacket = [](int) { return g_vPacket; };
    }
    void TearDown() override { EXPECT_EQ(m_amf.m_nLiving, 0); }

    void OpenFile() { m_file.Open(WidePath(m_target), EPacketLayout::Amf, 64, 48); }
    // Gives the encoder's output that many buffers.
    void Hold(int nCount)
    {
        for (int n = 0; n < nCount; ++n)
        {
            auto* const pBuffer = new ScriptedBuffer(m_amf.m_nLiving, m_amf.m_funcPacket(m_amf.m_nPictures));
            if (m_amf.m_funcBuffer) m_amf.m_funcBuffer(*pBuffer, m_amf.m_nPictures);
            ++m_amf.m_nPictures;
            m_amf.m_vHeld.push_back(pBuffer);
        }
    }
    // Runs the thread over nCount buffers up to the end of the stream.
    void RunOver(int nCount)
    {
        OpenFile();
        Hold(nCount);
        m_amf.m_bDrained = true;
        End();
    }
    void End()
    {
        ASSERT_TRUE(m_thread.Start());
        EXPECT_TRUE(m_thread.RequestStop());
        EXPECT_TRUE(m_thread.WaitForStop());
        EXPECT_FALSE(m_thread.IsRunning());
    }
    std::size_t CountSamples() const { return m_file.GetLog().m_vecSampleSizes.size(); }

    CPassingClock m_clock;
    ScriptedDirect3D m_d3d;
    ScriptedAmf m_amf{m_d3d};
    ScriptedEncoder m_encoder{m_amf};
    TemporaryFile m_target;
    CMp4FileWriter m_file;
    PollingThread m_thread{m_encoder, m_file};
};
}  // namespace

TEST_F(PollingThreadTest, WithoutAFileItTakesNothing)
{
    Hold(2);
    End();
    EXPECT_EQ(m_amf.m_nQueries, 0);
    m_encoder.Terminate();
}

TEST_F(PollingThreadTest, TakesOutputUntilTheEndOfTheStreamAndWritesTheLengths)
{
    RunOver(3);
    EXPECT_EQ(m_amf.m_nQueries, 4);
    m_file.Finish({0.0, 40.0, 80.0});
    const SMuxedFile file = ReadMuxedFile(m_target.Bytes());
    const Bytes vSample = Join({Prefixed({0x09, 0x10}), Prefixed(Nal(0x65, 40))});
    EXPECT_EQ(file.m_vMdat, Join({vSample, vSample, vSample}));
    EXPECT_THAT(file.m_moov.m_vKeySamples, ElementsAre(1U, 2U, 3U));
}

TEST_F(PollingThreadTest, DataThatComesWithTheEndOfTheStreamIsReleased)
{
    class CEndWithData : public ScriptedEncoder
    {
    public:
        explicit CEndWithData(ScriptedAmf& amf) : ScriptedEncoder(amf), m_amf(amf) {}
        AMF_RESULT QueryOutput(AMFData** ppData) override
        {
            *ppData = new ScriptedBuffer(m_amf.m_nLiving, g_vPacket);
            return AMF_EOF;
        }

    private:
        ScriptedAmf& m_amf;
    };
    OpenFile();
    CEndWithData encoder(m_amf);
    PollingThread thread(encoder, m_file);
    ASSERT_TRUE(thread.Start());
    thread.RequestStop();
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_EQ(CountSamples(), 0U);
}

// Whatever the answer is: what counts is whether there is data.
TEST_F(PollingThreadTest, AFailureWithoutDataCountsAsNoOutput)
{
    class CFailing : public ScriptedEncoder
    {
    public:
        explicit CFailing(ScriptedAmf& amf) : ScriptedEncoder(amf) {}
        AMF_RESULT QueryOutput(AMFData** ppData) override
        {
            static constexpr AMF_RESULT s_aeResults[] = {AMF_FAIL, AMF_NOT_INITIALIZED, AMF_OK, AMF_REPEAT,
                                                         AMF_RESULT(77)};
            const int nCall = m_nCall++;
            if (nCall % 2 == 0 && nCall < 10) return s_aeResults[nCall / 2];
            const AMF_RESULT eResult = ScriptedEncoder::QueryOutput(ppData);
            return *ppData != nullptr ? AMF_FAIL : eResult;
        }

    private:
        int m_nCall = 0;
    };
    OpenFile();
    Hold(5);
    m_amf.m_bDrained = true;
    CFailing encoder(m_amf);
    PollingThread thread(encoder, m_file);
    ASSERT_TRUE(thread.Start());
    thread.RequestStop();
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_EQ(CountSamples(), 5U);
}

TEST_F(PollingThreadTest, TheStartTimeIsAskedForAndGivenBack)
{
    std::vector<std::wstring> vNames;
    m_amf.m_funcBuffer = [&](ScriptedBuffer& buffer, int) {
        buffer.m_funcGetProperty = [&](const wchar_t* name, AMFVariantStruct* pValue) {
            vNames.emplace_back(name);
            EXPECT_EQ(pValue->type, AMF_VARIANT_EMPTY);
            pValue->type = AMF_VARIANT_INTERFACE;
            pValue->pInterface = new ScriptedBuffer(m_amf.m_nLiving, Bytes());  // counted at the end
            return AMF_OK;
        };
    };
    RunOver(2);
    EXPECT_THAT(vNames, ElementsAre(L"StartTimeProperty", L"StartTimeProperty"));
    EXPECT_EQ(CountSamples(), 2U);
}

TEST_F(PollingThreadTest, ABufferOfSixBytesOrFewerIsASampleWithoutNals)
{
    const std::vector<Bytes> vPackets = {g_vPacket, Join({g_vStart4, {0x09, 0x30}}), {0, 0, 1}, {}};
    m_amf.m_funcPacket = [&](int nPicture) { return vPackets.at(static_cast<std::size_t>(nPicture)); };
    m_amf.m_funcBuffer = nullptr;
    RunOver(4);
    EXPECT_EQ(ToVector(m_file.GetLog().m_vecSampleSizes),
              (std::vector<std::uint32_t>{static_cast<std::uint32_t>(g_vPacket.size()), 6, 3, 0}));
    EXPECT_FALSE(m_file.IsAbandoned());
}

// --- output that can't be written

TEST_F(PollingThreadTest, OutputThatIsNoBufferEndsTheFileAndNotTheThread)
{
    m_amf.m_funcBuffer = [](ScriptedBuffer& buffer, int nPicture) { buffer.m_bBuffer = nPicture != 1; };
    RunOver(4);
    EXPECT_TRUE(m_file.IsAbandoned());
    EXPECT_EQ(CountSamples(), 1U);
    EXPECT_EQ(m_amf.m_nGiven, 4);
    EXPECT_EQ(m_target.Bytes().size(), 48U + g_vPacket.size());
}

TEST_F(PollingThreadTest, ABufferWithoutMemoryEndsTheFileAndNotTheThread)
{
    m_amf.m_funcBuffer = [](ScriptedBuffer& buffer, int nPicture) { buffer.m_bMemory = nPicture != 1; };
    RunOver(4);
    EXPECT_TRUE(m_file.IsAbandoned());
    EXPECT_EQ(CountSamples(), 1U);
    EXPECT_EQ(m_amf.m_nGiven, 4);
}

TEST_F(PollingThreadTest, AnExceptionEndsTheFileAndNeitherTheThreadNorTheProcess)
{
    for (const bool bMemory : {true, false})
    {
        m_amf.m_nPictures = 0;
        m_amf.m_nGiven = 0;
        m_amf.m_bDrained = true;
        m_amf.m_funcBuffer = [=](ScriptedBuffer& buffer, int nPicture) {
            if (nPicture != 1) return;
            buffer.m_funcGetProperty = [=](const wchar_t*, AMFVariantStruct*) -> AMF_RESULT {
                if (bMemory) throw std::bad_alloc();
                throw std::runtime_error("of the runtime");
            };
        };
        const TemporaryFile target;
        CMp4FileWriter file;
        file.Open(WidePath(target), EPacketLayout::Amf, 64, 48);
        Hold(4);
        PollingThread thread(m_encoder, file);
        ASSERT_TRUE(thread.Start());
        thread.RequestStop();
        EXPECT_TRUE(thread.WaitForStop());
        EXPECT_TRUE(file.IsAbandoned());
        EXPECT_EQ(file.GetLog().m_vecSampleSizes.size(), 1U);
        EXPECT_EQ(m_amf.m_nGiven, 4);
        EXPECT_EQ(target.Bytes().size(), 48U + g_vPacket.size());
    }
}

// --- the end

TEST_F(PollingThreadTest, BeforeTheEndIsExpectedItWaitsForOutputWithoutLimit)
{
    OpenFile();
    std::atomic<int> nEmpty = 0;
    m_amf.m_funcEmpty = [&] {
        m_clock.m_uiPassedMs += 3'600'000;
        ++nEmpty;
    };
    ASSERT_TRUE(m_thread.Start());
    while (nEmpty < 5)
        Sleep(1);
    EXPECT_TRUE(m_thread.IsRunning());
    m_thread.ExpectEnd(600'000, 0);
    m_thread.RequestStop();
    EXPECT_TRUE(m_thread.WaitForStop());
}

TEST_F(PollingThreadTest, QuietIsCountedFromTheLastOutputOrFromTheGivenTime)
{
    EXPECT_FALSE(m_thread.IsQuietFor(1000, 1'000'000));
    m_clock.m_uiPassedMs = 999;
    EXPECT_FALSE(m_thread.IsQuietFor(1000, 1'000'000));
    m_clock.m_uiPassedMs = 1000;
    EXPECT_TRUE(m_thread.IsQuietFor(1000, 1'000'000));
    RunOver(1);  // at 1000
    EXPECT_FALSE(m_thread.IsQuietFor(1000, 1'000'000));
    m_clock.m_uiPassedMs = 2000;
    EXPECT_TRUE(m_thread.IsQuietFor(1000, 1'000'000));
    EXPECT_FALSE(m_thread.IsQuietFor(1000, 1'001'500));
}

// Each buffer that is taken makes the encoder give another one.
TEST_F(PollingThreadTest, AnEncoderThatGivesBuffersWithoutEndIsGivenUpAndItsFileLeftUnfinished)
{
    class CEndless : public ScriptedEncoder
    {
    public:
        explicit CEndless(ScriptedAmf& amf) : ScriptedEncoder(amf), m_amf(amf) {}
        AMF_RESULT QueryOutput(AMFData** ppData) override
        {
            ++m_amf.m_nGiven;
            *ppData = new ScriptedBuffer(m_amf.m_nLiving, g_vPacket);
            return AMF_OK;
        }

    private:
        ScriptedAmf& m_amf;
    };
    OpenFile();
    CEndless encoder(m_amf);
    PollingThread thread(encoder, m_file);
    for (int n = 0; n < 10; ++n)
        thread.ExpectPicture();
    ASSERT_TRUE(thread.Start());
    while (m_amf.m_nGiven < 100)
        Sleep(1);
    EXPECT_TRUE(thread.IsRunning());  // the host may still submit
    thread.ExpectEnd(600'000, 0);
    thread.RequestStop();
    EXPECT_TRUE(thread.WaitForStop());
    EXPECT_TRUE(m_file.IsAbandoned());
    EXPECT_EQ(CountSamples(), 36U);  // 2 for each picture and 16
}

TEST_F(PollingThreadTest, TwoBuffersForEachPictureAreTaken)
{
    for (int n = 0; n < 100; ++n)
        m_thread.ExpectPicture();
    RunOver(200);
    EXPECT_EQ(CountSamples(), 200U);
    EXPECT_FALSE(m_file.IsAbandoned());
}

// A wait that comes before the thread has begun must not pass: the object goes directly after it.
TEST_F(PollingThreadTest, AnOwnerThatWaitsAtOnceFindsAllOutputTaken)
{
    for (int n = 0; n < test_support::Repetitions(300); ++n)
    {
        const TemporaryFile target;
        CMp4FileWriter file;
        file.Open(WidePath(target), EPacketLayout::Amf, 64, 48);
        Hold(1);
        m_amf.m_bDrained = true;
        auto pThread = std::make_unique<PollingThread>(m_encoder, file);
        ASSERT_TRUE(pThread->Start());
        pThread->RequestStop();
        ASSERT_TRUE(pThread->WaitForStop());
        pThread.reset();
        ASSERT_EQ(file.GetLog().m_vecSampleSizes.size(), 1U);
    }
}

// It may have ended before Start has its handle.
TEST_F(PollingThreadTest, AThreadThatEndsAtOnceIsNotTakenForARunningOne)
{
    for (int n = 0; n < test_support::Repetitions(300); ++n)
    {
        auto pThread = std::make_unique<PollingThread>(m_encoder, m_file);
        ASSERT_TRUE(pThread->Start());
        if (n % 2 == 0) Sleep(1);
        pThread->RequestStop();
        ASSERT_TRUE(pThread->WaitForStop());
        ASSERT_FALSE(pThread->IsRunning());
        pThread.reset();
    }
}
