// A media source when memory runs out.
#include <functional>

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "counted_item.h"
#include "source_fixture.h"
#include "support/short_memory.h"

namespace
{

class SourceMemory : public VideoSourceTest
{
protected:
    void SetUp() override
    {
        VideoSourceTest::SetUp();
        if (!CShortMemory::ReachesLibraries())
            GTEST_SKIP() << "the requests of the system's libraries can't be refused";
    }

    // Refuses the first request for memory, then the second, until there are no more. After each, `after` sees the
    // result and what the operation left. Returns what the whole operation returns at last.
    static HRESULT RefuseEach(const std::function<void()>& before, const std::function<HRESULT()>& operation,
                              const std::function<void(HRESULT)>& after)
    {
        for (unsigned uiRequest = 1;; ++uiRequest)
        {
            SCOPED_TRACE(uiRequest);
            before();
            HRESULT hr = S_OK;
            unsigned uiRefused = 0;
            {
                const CShortMemory shortMemory(uiRequest);
                hr = operation();
                uiRefused = shortMemory.GetRefused();
            }
            if (uiRefused == 0)
            {
                EXPECT_GT(uiRequest, 1U);
                return hr;
            }
            after(hr);
        }
    }
    // As before, where no request can be done without.
    static HRESULT FailEach(const std::function<void()>& before, const std::function<HRESULT()>& operation,
                            const std::function<void()>& after)
    {
        return RefuseEach(before, operation, [&after](HRESULT hr) {
            EXPECT_EQ(hr, HRESULT{E_OUTOFMEMORY});
            after();
        });
    }

    void MakeFresh()
    {
        if (m_pSource) m_pSource->Shutdown();
        m_pStream.reset();
        m_pDescriptor.reset();
        Make();
    }
};

TEST_F(SourceMemory, IsNotMadeWithoutIt)
{
    void* pObject = nullptr;
    EXPECT_EQ(FailEach([] {}, [&] { return CreateVideoSource(IID_IMFMediaSource, &pObject); },
                       [&] { EXPECT_EQ(pObject, nullptr); }),
              S_OK);
    ASSERT_NE(pObject, nullptr);
    EXPECT_EQ(static_cast<IUnknown*>(pObject)->Release(), 0U);
}

TEST_F(SourceMemory, ADescriptorIsMadeCompletelyOrNotAtAll)
{
    // A comparison of types that finds no memory doesn't matter: the type is the stream's own.
    const auto create = [this] {
        IMFPresentationDescriptor* pDescriptor = nullptr;
        const HRESULT hr = Source().CreatePresentationDescriptor(&pDescriptor);
        m_pDescriptor.reset(pDescriptor);
        return hr;
    };
    const auto check = [this](HRESULT hr) {
        EXPECT_TRUE(hr == S_OK || hr == HRESULT{E_OUTOFMEMORY}) << hr;
        ASSERT_EQ(m_pDescriptor != nullptr, hr == S_OK);
        UINT64 ullDuration = 0;
        if (!m_pDescriptor) return;
        EXPECT_EQ(m_pDescriptor->GetUINT64(MF_PD_DURATION, &ullDuration), S_OK);
        EXPECT_EQ(ullDuration, UINT64{5} * 400000);
    };
    const auto makeAgain = [this] {
        m_pDescriptor.reset();
        if (m_pSource) m_pSource->Shutdown();
        MakeConfigured(5);
    };
    const HRESULT hr = RefuseEach(makeAgain, create, check);
    EXPECT_EQ(hr, S_OK);
    check(hr);
}

TEST_F(SourceMemory, AStartFailsAndTheSourceStaysStopped)
{
    PROPVARIANT varNothing;
    PropVariantInit(&varNothing);
    EXPECT_EQ(FailEach([this] { MakeFresh(); },
                       [&] { return Source().Start(m_pDescriptor.get(), nullptr, &varNothing); },
                       [this] { EXPECT_EQ(Source().Pause(), HRESULT{MF_E_INVALID_STATE_TRANSITION}); }),
              S_OK);
}

TEST_F(SourceMemory, ARequestFailsAndTheHostGoesOn)
{
    Make();
    ASSERT_EQ(Start(), S_OK);
    TakeEvents(Stream());
    CCountedItem token;
    std::uint8_t uiNumber = 0;
    EXPECT_EQ(FailEach([&] { m_owner.HandOver(++uiNumber); }, [&] { return Stream().RequestSample(&token); },
                       [&] {
                           EXPECT_FALSE(m_owner.IsReady());
                           EXPECT_TRUE(m_owner.TakeTaken());
                           EXPECT_EQ(token.m_nCount, 0U);
                           EXPECT_TRUE(TakeEvents(Stream()).empty());
                       }),
              S_OK);
    EXPECT_TRUE(m_owner.TakeTaken());
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(uiNumber));
}

TEST_F(SourceMemory, ARequestDuringAPauseFailsAndNothingIsQueued)
{
    Make();
    ASSERT_EQ(Start(), S_OK);
    ASSERT_EQ(Source().Pause(), S_OK);
    CCountedItem token;
    EXPECT_EQ(FailEach([&] { m_owner.HandOver(1); }, [&] { return Stream().RequestSample(&token); },
                       [&] {
                           EXPECT_TRUE(m_owner.TakeTaken());
                           EXPECT_EQ(token.m_nCount, 0U);
                       }),
              S_OK);
    EXPECT_EQ(token.m_nCount, 1U);
    EXPECT_EQ(Source().Shutdown(), S_OK);
    EXPECT_EQ(token.m_nCount, 0U);
}

TEST_F(SourceMemory, ALargePictureThatFindsNoMemoryIsLost)
{
    Make();
    constexpr std::uint32_t uiWidth = 640;
    constexpr std::uint32_t uiHeight = 480;
    const Bytes vPicture(uiWidth * uiHeight * 2, 3);
    ASSERT_EQ(Source().Configure(uiWidth, uiHeight, &m_owner.m_hFrameReady, &m_owner.m_hFrameTaken,
                                 &m_owner.m_csPicture, vPicture.data(), &m_owner.m_nEndOfInput, UNKNOWN_FRAME_COUNT,
                                 &m_owner.m_dDuration),
              0);
    ASSERT_EQ(Start(), S_OK);
    TakeEvents(Stream());
    {
        const CShortMemory shortMemory(vPicture.size(), vPicture.size());
        EXPECT_EQ(Request(1), HRESULT{E_OUTOFMEMORY});
        EXPECT_EQ(shortMemory.GetRefused(), 1U);
    }
    EXPECT_TRUE(m_owner.TakeTaken());
    EXPECT_EQ(Request(2), S_OK);
    const SSampleView sample = TakeSample();
    EXPECT_EQ(sample.m_hnsTime, 0);
    EXPECT_EQ(sample.m_vBytes, vPicture);
}

}  // namespace
