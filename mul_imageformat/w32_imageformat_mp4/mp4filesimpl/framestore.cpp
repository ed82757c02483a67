// The store of decoded frames. Callers hold the grabber's lock.
#include <new>

#include "mp4filesimpl/samplegrabber.h"

namespace
{

constexpr std::uint32_t SEQUENTIAL_WINDOW = 48;
constexpr std::uint32_t RANDOM_WINDOW = 8;

}  // namespace

bool SampleGrabberCB::SetWindow(std::uint64_t uiFrame, std::uint64_t uiStart, std::uint64_t uiEnd, std::uint64_t uiLast,
                                std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    m_uiWidth = uiWidth;
    m_uiHeight = uiHeight;
    m_uiLastFrame = uiLast;
    m_uiWindowStart = uiStart;
    m_uiNextFrame = uiStart;
    m_uiWindowEnd = uiEnd;

    bool bStored = FindFrame(uiFrame) != nullptr;
    for (std::uint64_t i = uiStart; bStored && i < uiEnd; ++i)
        bStored = FindFrame(i) != nullptr;
    return bStored;
}

SQmGrabbedFrame* SampleGrabberCB::FindFrame(std::uint64_t uiIndex) const
{
    for (SQmGrabbedFrame* pFrame : m_lstFrames)
    {
        if (pFrame != nullptr && pFrame->m_uiFrameIndex == uiIndex) return pFrame;
    }
    return nullptr;
}

bool SampleGrabberCB::IsNearTail(std::uint32_t uiIndex, std::uint32_t uiWindow, std::uint32_t uiLast) const
{
    if (m_lstFrames.empty() || m_lstFrames.back() == nullptr) return false;
    if (m_lstFrames.back()->m_uiFrameIndex >= uiLast) return false;
    for (auto it = m_lstFrames.rbegin(); it != m_lstFrames.rend() && uiWindow > 0; ++it, --uiWindow)
    {
        if (*it != nullptr && (*it)->m_uiFrameIndex == uiIndex) return true;
    }
    return false;
}

void SampleGrabberCB::ClearFrames(std::size_t uiKeep)
{
    while (m_lstFrames.size() > uiKeep)
    {
        SQmGrabbedFrame* pFrame = m_lstFrames.front();
        m_lstFrames.pop_front();
        if (pFrame == nullptr) continue;
        SQmPicBufAPI_Base::Free(&pFrame->m_Picture);
        delete pFrame;
    }
}

// The pixels go and the records stay allocated, unlike in ClearFrames: a record that somebody has found stays valid
// across a trim, without its pixels.
void SampleGrabberCB::TrimFrames()
{
    if (FindFrame(m_uiRequested) == nullptr) return;
    while (m_lstFrames.front() != nullptr && m_lstFrames.front()->m_uiFrameIndex < m_uiRequested)
    {
        SQmPicBufAPI_Base::Free(&m_lstFrames.front()->m_Picture);
        m_lstFrames.pop_front();
    }
    m_uiWindowStart = m_uiRequested;
}

SQmGrabbedFrame* SampleGrabberCB::AllocateFrameRecord()
{
    return new (std::nothrow) SQmGrabbedFrame{};
}

std::uint32_t SampleGrabberCB::GetWindowSize() const
{
    const bool bSequential = m_uiRequested == m_uiPrevRequested || m_uiRequested == m_uiPrevRequested + 1;
    return bSequential ? SEQUENTIAL_WINDOW : RANDOM_WINDOW;
}
