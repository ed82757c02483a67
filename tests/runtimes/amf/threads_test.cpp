// One thread submits and another queries, without a lock of the client's.
#include <atomic>
#include <thread>

#include "client.h"

namespace
{

constexpr amf_int32 c_nWidth = 64;
constexpr amf_int32 c_nHeight = 48;

// Takes buffers until the end; the start times in their order.
std::vector<std::int64_t> TakeAll(AMFComponent& encoder)
{
    std::vector<std::int64_t> times;
    for (;;)
    {
        AMFData* pTaken = nullptr;
        const AMF_RESULT eResult = encoder.QueryOutput(&pTaken);
        const Held<AMFData> pData(pTaken);
        if (eResult == AMF_EOF || eResult == AMF_NOT_INITIALIZED)
        {
            return times;
        }
        if (!pData)
        {
            std::this_thread::yield();
            continue;
        }
        AMFVariantStruct value{};
        EXPECT_EQ(pData->GetProperty(L"StartTimeProperty", &value), AMF_OK);
        times.push_back(value.int64Value);
    }
}

std::vector<std::int64_t> UpTo(std::int64_t nCount)
{
    std::vector<std::int64_t> numbers;
    for (std::int64_t n = 0; n < nCount; ++n)
    {
        numbers.push_back(n);
    }
    return numbers;
}

}  // namespace

TEST_F(AmfRuntime, OneThreadSubmitsAsFastAsItCanAndAnotherTakes)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    constexpr std::int64_t c_nPictures = 150;
    std::vector<std::int64_t> times;
    std::thread taker([&] { times = TakeAll(client.Encoder()); });
    for (std::int64_t n = 0; n < c_nPictures; ++n)
    {
        const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_NV12, c_nWidth, c_nHeight);
        AMF_RESULT eResult = AMF_INPUT_FULL;
        while (eResult == AMF_INPUT_FULL)
        {
            pSurface->SetProperty(L"StartTimeProperty", Number(n));
            eResult = client.Submit(pSurface.Get());
            std::this_thread::yield();
        }
        ASSERT_EQ(eResult, AMF_OK);
    }
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    taker.join();
    EXPECT_EQ(times, UpTo(c_nPictures));
}

TEST_F(AmfRuntime, SeveralEncodersWorkAtOnce)
{
    const auto work = [] {
        Client client(c_nWidth, c_nHeight);
        client.Start();
        for (int i = 0; i < 20; ++i)
        {
            client.Send(NaturalPicture(c_nWidth, c_nHeight, i));
        }
        client.Finish();
        EXPECT_EQ(client.Buffers().size(), 20u);
    };
    // The pictures' pattern is made once.
    NaturalPicture(16, 16, 0);
    std::thread other(work);
    work();
    other.join();
}

TEST_F(AmfRuntime, TerminateEndsAQueryThatWaits)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    m_script.HoldEncoders(1);
    client.Send(NaturalPicture(c_nWidth, c_nHeight, 0));
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    std::vector<std::int64_t> times;
    std::thread taker([&] { times = TakeAll(client.Encoder()); });
    EXPECT_EQ(client.Encoder().Terminate(), AMF_OK);
    taker.join();
    EXPECT_TRUE(times.empty());
    EXPECT_EQ(m_script.GetBreaches().uiPicturesLost, 1u);
}

TEST_F(AmfRuntime, AnEncoderIsInitialisedAgainWhileAnotherThreadQueries)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    std::atomic<bool> bStop = false;
    std::atomic<int> nTaken = 0;
    std::thread taker([&] {
        while (!bStop)
        {
            AMFData* pTaken = nullptr;
            client.Encoder().QueryOutput(&pTaken);
            nTaken += Held<AMFData>(pTaken) ? 1 : 0;
        }
    });
    int nSent = 0;
    for (int i = 0; i < 10; ++i)
    {
        const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_NV12, c_nWidth, c_nHeight);
        nSent += client.Submit(pSurface.Get()) == AMF_OK ? 1 : 0;
        EXPECT_EQ(client.Encoder().Init(AMF_SURFACE_NV12, c_nWidth, c_nHeight), AMF_OK);
    }
    bStop = true;
    taker.join();
    EXPECT_EQ(nSent, 10);
    EXPECT_EQ(static_cast<std::uint32_t>(nTaken) + m_script.GetBreaches().uiPicturesLost, 10u);
}
