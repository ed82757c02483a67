// A sample grabber that is fed by hand.
#pragma once

#include <vector>

#include <gtest/gtest.h>

#include "mp4filesimpl/samplegrabber.h"
#include "numbered_picture.h"

class Grabber : public testing::Test
{
protected:
    static constexpr std::uint32_t WIDTH = 4;
    static constexpr std::uint32_t HEIGHT = 2;

    Grabber() { EXPECT_EQ(SampleGrabberCB::Create(&m_pGrabber), S_OK); }
    ~Grabber() override { m_pGrabber->Release(); }

    // A play from uiStart on; uiLast as the highest index.
    void Play(std::uint64_t uiStart, std::uint64_t uiLast = 1000)
    {
        m_pGrabber->SetWindow(uiStart, uiStart, uiStart, uiLast, WIDTH, HEIGHT);
        m_uiNumber = static_cast<std::uint32_t>(uiStart);
    }

    void Request(std::uint64_t uiIndex, std::uint64_t uiBefore)
    {
        m_pGrabber->m_uiRequested = uiIndex;
        m_pGrabber->m_uiPrevRequested = uiBefore;
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

    std::vector<std::uint64_t> Stored() const
    {
        std::vector<std::uint64_t> vIndexes;
        for (const SQmGrabbedFrame* pFrame : m_pGrabber->m_lstFrames)
            vIndexes.push_back(pFrame->m_uiFrameIndex);
        return vIndexes;
    }

    // Takes the signal, if it is set.
    static bool IsSet(HANDLE hEvent) { return WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0; }

    SampleGrabberCB* m_pGrabber = nullptr;
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
