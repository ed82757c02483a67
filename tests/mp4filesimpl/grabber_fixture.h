// A sample grabber that is fed by hand, with its store.
#pragma once

#include <atomic>
#include <vector>

#include <gtest/gtest.h>

#include "mp4filesimpl/samplegrabber.h"
#include "numbered_picture.h"

class Grabber : public testing::Test
{
protected:
    static constexpr std::uint32_t WIDTH = 4;
    static constexpr std::uint32_t HEIGHT = 2;

    Grabber()
    {
        EXPECT_EQ(SampleGrabberCB::Create(&m_pGrabber), S_OK);
        m_pStore = &m_pGrabber->GetStore();
    }
    ~Grabber() override { m_pGrabber->Release(); }

    // A play from uiStart on that keeps what is stored; uiLast as the highest index.
    void Play(std::uint64_t uiStart, std::uint64_t uiLast = 1000)
    {
        const SPlayDecision play = {SPlayDecision::EKind::Play, {true, EPlayStart::Position, uiStart, uiStart}};
        SPlayDecision made = {};
        EXPECT_TRUE(m_pStore->BeginPlay([&](const SRestingStore&) { return play; }, uiLast, WIDTH, HEIGHT, &made));
        m_uiNumber = static_cast<std::uint32_t>(uiStart);
    }

    void Request(std::uint64_t uiIndex, std::uint64_t uiBefore)
    {
        unsigned char abPixels[WIDTH * HEIGHT * 3];
        QmStatus nStatus = QM_OK;
        m_pStore->AskForFrame(uiBefore, abPixels, &nStatus);
        m_pStore->AskForFrame(uiIndex, abPixels, &nStatus);
    }

    HRESULT Feed(const std::vector<unsigned char>& vSample)
    {
        return m_pGrabber->OnProcessSample(GUID_NULL, 0, 0, 0, vSample.data(), static_cast<DWORD>(vSample.size()));
    }

    // uiCount samples that carry their frame's index.
    void Deliver(std::uint32_t uiCount)
    {
        for (; uiCount > 0; --uiCount)
            EXPECT_EQ(Feed(MakeNumberedSample(WIDTH, HEIGHT, m_uiNumber++)), S_OK);
    }

    // The stored frames with indexes up to 300, in rising order.
    std::vector<std::uint64_t> Stored() const
    {
        std::vector<std::uint64_t> vIndexes;
        for (std::uint64_t i = 0; i <= 300; ++i)
        {
            if (m_pStore->FindFrame(i) != nullptr) vIndexes.push_back(i);
        }
        EXPECT_EQ(vIndexes.size(), m_pStore->CountFrames());
        return vIndexes;
    }

    // True once for a play that wants to be paused.
    bool WantsPause() { return m_pStore->TakePauseRequest(); }

    SampleGrabberCB* m_pGrabber = nullptr;
    CFrameStore* m_pStore = nullptr;
    std::uint32_t m_uiNumber = 0;
};

// From uiFirst to uiLast, both included.
inline std::vector<std::uint64_t> Range(std::uint64_t uiFirst, std::uint64_t uiLast)
{
    std::vector<std::uint64_t> vIndexes;
    for (; uiFirst <= uiLast; ++uiFirst)
        vIndexes.push_back(uiFirst);
    return vIndexes;
}
