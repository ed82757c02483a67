#include "mp4filesimpl/framestore.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "colour/colourconversion.h"
#include "common/waits.h"
#include "common/withoutexceptions.h"

namespace
{

constexpr std::uint32_t COUNTING_MODE = 0xFFFFFFFF;
constexpr std::uint64_t NO_FRAME = ~std::uint64_t{0};

constexpr std::uint32_t SEQUENTIAL_WINDOW = 48;
constexpr std::uint32_t RANDOM_WINDOW = 8;
constexpr std::uint64_t LEAST_FRAMES = 2;
constexpr std::uint32_t LEAST_STEPS_OF_A_WALK = 2;  // a single step back says nothing about the next request

constexpr std::uint32_t BITS = 8;
constexpr std::uint32_t COMPONENTS = 3;
constexpr std::uint32_t ROW_ALIGNMENT = 4;

// How long a session may be silent. A slow machine that decodes a long group of pictures up to the one that is wanted
// delivers nothing in between.
constexpr std::uint64_t SILENCE_LIMIT_MS = 20'000;
constexpr std::uint64_t DECODING_LIMIT_MS = 100;  // for each frame
constexpr DWORD LIMIT_CHECK_MS = 1'000;

// YUY2 samples: 2 bytes per pixel, rows rounded up to 32 bytes.
std::uint32_t GetSamplePitch(std::uint32_t uiWidth)
{
    return ((2 * uiWidth - 1) & ~31U) + 32;
}

// Bytes up to the last pair of pixels; nothing is read of what pads the last row.
std::uint64_t GetSampleSize(const SQmPicBuf& sample)
{
    if (sample.m_uiHeight == 0) return 0;
    return std::uint64_t{sample.m_uiWidthBytes} * (sample.m_uiHeight - 1) +
           (std::uint64_t{sample.m_uiWidth} + 1) / 2 * 4;
}

// A frame without pixels is refused.
QmStatus CopyFrame(const SQmGrabbedFrame& frame, void* pBuffer)
{
    if (frame.m_Picture.m_pData == nullptr) return QM_ERR_FAIL;
    std::memcpy(pBuffer, frame.m_Picture.m_pData, frame.m_Picture.m_uiSize);
    return QM_OK;
}

}  // namespace

CFrameStore::CFrameStore(std::uint64_t uiMostPixelBytes)
    : m_uiMostPixelBytes(uiMostPixelBytes),
      m_hFrameReady(nullptr),
      m_hPauseRequest(nullptr),
      m_hHostWaits(nullptr),
      m_uiWidth(0),
      m_uiHeight(0),
      m_uiWindowStart(0),
      m_uiWindowEnd(0),
      m_uiLastFrame(0),
      m_uiNextFrame(0),
      m_uiKeepFrom(0),
      m_uiDelivered(0),
      m_uiRequested(0),
      m_uiPrevRequested(0),
      m_uiStepsBack(0),
      m_pSession(nullptr),
      m_pStopFlag(nullptr),
      m_bNV12(false),
      m_bRunning(false),
      m_bPlayDelivered(false),
      m_ePause(EPauseState::NotWanted),
      m_uiRequestNumber(0),
      m_bRequestFailed(false),
      m_bPlaysEnded(false),
      m_uiLastActivity(GetMilliseconds())
{}

CFrameStore::~CFrameStore()
{
    ClearFrames(0);
    if (m_hFrameReady != nullptr) CloseHandle(m_hFrameReady);
    if (m_hPauseRequest != nullptr) CloseHandle(m_hPauseRequest);
    if (m_hHostWaits != nullptr) CloseHandle(m_hHostWaits);
}

HRESULT CFrameStore::MakeEvents()
{
    m_hFrameReady = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_hPauseRequest = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_hHostWaits = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return m_hFrameReady != nullptr && m_hPauseRequest != nullptr && m_hHostWaits != nullptr ? S_OK : E_FAIL;
}

// --- samples ---

void CFrameStore::Connect(IMFMediaSession* pSession, std::atomic<bool>* pStopFlag, bool bNV12)
{
    const CSectionLock lock(m_Lock.Get());
    m_pSession = pSession;
    m_pStopFlag = pStopFlag;
    m_bNV12 = bNV12;
}

void CFrameStore::Disconnect()
{
    const CSectionLock lock(m_Lock.Get());
    m_pSession = nullptr;
    m_pStopFlag = nullptr;
}

HRESULT CFrameStore::TakeSample(LONGLONG llSampleDuration, const BYTE* pSampleBuffer, DWORD dwSampleSize)
{
    {
        const CSectionLock lock(m_Lock.Get());
        m_uiLastActivity = GetMilliseconds();
        if (m_uiWidth == COUNTING_MODE) return CountSample(llSampleDuration);

        // The worker may be waiting for an event of the session. The sample is stored all the same: no caller looks
        // at it any more.
        if (IsClosing() && m_pSession != nullptr) m_pSession->Stop();

        m_bPlayDelivered = true;
        if (m_uiNextFrame < m_uiKeepFrom)
        {
            m_uiDelivered = m_uiNextFrame++;
            return S_OK;
        }

        bool bMemory = true;
        if (MakePlaceFor(m_uiNextFrame)) bMemory = StoreSample(pSampleBuffer, dwSampleSize);
        m_uiDelivered = m_uiNextFrame;
        if (m_uiDelivered == m_uiRequested) AnswerRequest();

        const bool bMore = bMemory && WantsMoreSamples();
        ++m_uiNextFrame;
        if (bMore) return S_OK;
        if (m_ePause == EPauseState::NotWanted) m_ePause = EPauseState::Wanted;
    }
    SetEvent(m_hPauseRequest);
    return S_OK;
}

// Wakes the host, which looks whether the frame is there.
void CFrameStore::AnswerRequest()
{
    if (!IsClosing()) ResetEvent(m_hHostWaits);
    SetEvent(m_hFrameReady);
}

// For a request that came while the session plays, or just before. The play that serves it begins sooner then.
void CFrameStore::PauseUnlessRequestIsServed()
{
    if (m_bRunning && !LeadsToRequest()) WantPause();
}

// Whether the current play delivers the requested frame before it fills the store. The very next one always comes.
bool CFrameStore::LeadsToRequest() const
{
    const std::uint64_t uiNextStored = std::max(m_uiNextFrame, m_uiKeepFrom);
    if (uiNextStored > m_uiRequested || m_uiRequested > m_uiLastFrame) return false;
    const std::uint64_t uiBefore = m_uiRequested - uiNextStored;
    return uiBefore == 0 || m_lstFrames.size() + uiBefore <= GetWindowSize();
}

void CFrameStore::CountSamples()
{
    SetWindow(0, 0, NO_FRAME, NO_FRAME, COUNTING_MODE, COUNTING_MODE);
}

// The start of each sample, and the end of the last.
HRESULT CFrameStore::CountSample(LONGLONG llSampleDuration)
{
    return WithoutExceptions<HRESULT>(E_OUTOFMEMORY, [&]() -> HRESULT {
        if (m_lstSampleTimes.empty()) m_lstSampleTimes.push_back(0);
        const ULONGLONG ullEnd =
            static_cast<ULONGLONG>(m_lstSampleTimes.back()) + static_cast<ULONGLONG>(llSampleDuration);
        m_lstSampleTimes.push_back(static_cast<LONGLONG>(ullEnd));
        return S_OK;
    });
}

std::list<LONGLONG> CFrameStore::TakeSampleTimes()
{
    const CSectionLock lock(m_Lock.Get());
    return std::move(m_lstSampleTimes);
}

// Whether the frame may be stored. The requested one takes the place of the oldest.
bool CFrameStore::MakePlaceFor(std::uint64_t uiIndex)
{
    if (m_lstFrames.size() < GetMostFrames() || Find(uiIndex) != nullptr) return true;
    if (uiIndex != m_uiRequested) return false;
    ClearFrames(static_cast<std::size_t>(GetMostFrames()) - 1);
    return true;
}

std::uint64_t CFrameStore::GetMostFrames() const
{
    const std::uint64_t uiBytes =
        std::uint64_t{SQmPicBufAPI_Base::CalcWidthBytes(m_uiWidth, BITS, COMPONENTS, ROW_ALIGNMENT)} * m_uiHeight;
    return uiBytes == 0 ? NO_FRAME : std::max<std::uint64_t>(m_uiMostPixelBytes / uiBytes, LEAST_FRAMES);
}

// False when there is no memory for the pixels. The record goes then: it would be taken for a picture that can't be
// delivered.
bool CFrameStore::StoreSample(const BYTE* pSampleBuffer, DWORD dwSampleSize)
{
    SQmGrabbedFrame* pFrame = FindOrAppendFrame(m_uiNextFrame);
    if (pFrame == nullptr) return true;
    if (pFrame->m_Picture.m_pData == nullptr && !TakePixels(&pFrame->m_Picture))
    {
        m_lstFrames.remove(pFrame);
        delete pFrame;
        return false;
    }
    // NV12 samples don't become pictures: the frame counts, and its pixels stay as they were made.
    if (m_bNV12) return true;

    SQmPicBuf sample = pFrame->m_Picture;
    sample.m_pData = const_cast<BYTE*>(pSampleBuffer);
    sample.m_uiWidthBytes = GetSamplePitch(sample.m_uiWidth);
    if (GetSampleSize(sample) > dwSampleSize)
    {
        // Not a picture of the announced size. A request for this frame fails.
        SQmPicBufAPI_Base::Free(&pFrame->m_Picture);
        return true;
    }
    ConvertYuy2ToBgr(pFrame->m_Picture, sample);
    return true;
}

// Pixels of a trimmed frame, or fresh ones, which are cleared first. A sample overwrites what the one before it wrote.
// The loop of a sequential read thus clears no pixels.
bool CFrameStore::TakePixels(SQmPicBuf* pPicture)
{
    if (m_vTrimmedPixels.empty() || m_vTrimmedPixels.back().m_uiWidth != m_uiWidth ||
        m_vTrimmedPixels.back().m_uiHeight != m_uiHeight)
    {
        return SQmPicBufAPI_Base::Reinit(pPicture, m_uiWidth, m_uiHeight, 0, BITS, COMPONENTS, false) == QM_OK;
    }
    *pPicture = m_vTrimmedPixels.back();
    m_vTrimmedPixels.pop_back();
    return true;
}

// NV12 samples overwrite nothing: the next frame would show this one's pixels.
void CFrameStore::KeepPixels(SQmPicBuf* pPicture)
{
    const bool bKept = !m_bNV12 && pPicture->m_pData != nullptr && WithoutExceptions(false, [&] {
        m_vTrimmedPixels.push_back(*pPicture);
        return true;
    });
    if (bKept) SQmPicBufAPI_Base::Init(pPicture);
    SQmPicBufAPI_Base::Free(pPicture);
}

void CFrameStore::FreeTrimmedPixels()
{
    for (SQmPicBuf& picture : m_vTrimmedPixels)
        SQmPicBufAPI_Base::Free(&picture);
    m_vTrimmedPixels.clear();
}

// A frame that is stored already comes again when a play starts before the store's tail. Its record is used again.
//
// Null when there is no memory for it. The numbering of the samples continues.
SQmGrabbedFrame* CFrameStore::FindOrAppendFrame(std::uint64_t uiIndex)
{
    return WithoutExceptions<SQmGrabbedFrame*>(nullptr, [&]() -> SQmGrabbedFrame* {
        SQmGrabbedFrame* pFrame = Find(uiIndex);
        if (pFrame == nullptr)
        {
            m_lstFrames.push_back(nullptr);
            pFrame = AllocateFrameRecord();
            m_lstFrames.back() = pFrame;
            if (pFrame == nullptr) return nullptr;
            pFrame->m_uiFrameIndex = uiIndex;
            SQmPicBufAPI_Base::Init(&pFrame->m_Picture);
        }
        return pFrame;
    });
}

SQmGrabbedFrame* CFrameStore::AllocateFrameRecord()
{
    return new (std::nothrow) SQmGrabbedFrame{};
}

bool CFrameStore::IsWalkingBack() const
{
    return m_uiStepsBack >= LEAST_STEPS_OF_A_WALK;
}

// Whether the play continues after the sample that was just taken. In a walk back the host has had what follows its
// request, and wants the stored frames before it next.
bool CFrameStore::WantsMoreSamples()
{
    if (IsWalkingBack() && Find(m_uiRequested) != nullptr) return false;
    const std::uint32_t uiWindow = GetWindowSize();
    if (m_lstFrames.size() <= uiWindow) return true;
    TrimFrames();
    return IsNearTail(static_cast<std::uint32_t>(m_uiRequested), uiWindow, static_cast<std::uint32_t>(m_uiLastFrame));
}

// --- frames ---

bool CFrameStore::SetWindow(std::uint64_t uiFrame, std::uint64_t uiStart, std::uint64_t uiEnd, std::uint64_t uiLast,
                            std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const CSectionLock lock(m_Lock.Get());
    m_uiWidth = uiWidth;
    m_uiHeight = uiHeight;
    m_uiLastFrame = uiLast;
    m_uiWindowStart = uiStart;
    m_uiNextFrame = uiStart;
    m_bPlayDelivered = false;
    m_uiWindowEnd = uiEnd;

    bool bStored = Find(uiFrame) != nullptr;
    for (std::uint64_t i = uiStart; bStored && i < uiEnd; ++i)
        bStored = Find(i) != nullptr;
    return bStored;
}

SFrameWindow CFrameStore::GetWindow() const
{
    const CSectionLock lock(m_Lock.Get());
    return {m_uiWindowStart, m_uiWindowEnd, m_uiLastFrame, m_uiWidth, m_uiHeight};
}

const SQmGrabbedFrame* CFrameStore::FindFrame(std::uint64_t uiIndex) const
{
    const CSectionLock lock(m_Lock.Get());
    return Find(uiIndex);
}

SQmGrabbedFrame* CFrameStore::Find(std::uint64_t uiIndex) const
{
    for (SQmGrabbedFrame* pFrame : m_lstFrames)
    {
        if (pFrame != nullptr && pFrame->m_uiFrameIndex == uiIndex) return pFrame;
    }
    return nullptr;
}

bool CFrameStore::IsNearTail(std::uint32_t uiIndex, std::uint32_t uiWindow, std::uint32_t uiLast) const
{
    const CSectionLock lock(m_Lock.Get());
    if (m_lstFrames.empty() || m_lstFrames.back() == nullptr) return false;
    if (m_lstFrames.back()->m_uiFrameIndex >= uiLast) return false;
    for (auto it = m_lstFrames.rbegin(); it != m_lstFrames.rend() && uiWindow > 0; ++it, --uiWindow)
    {
        if (*it != nullptr && (*it)->m_uiFrameIndex == uiIndex) return true;
    }
    return false;
}

void CFrameStore::ClearFrames(std::size_t uiKeep)
{
    const CSectionLock lock(m_Lock.Get());
    FreeTrimmedPixels();
    while (m_lstFrames.size() > uiKeep)
    {
        SQmGrabbedFrame* pFrame = m_lstFrames.front();
        m_lstFrames.pop_front();
        if (pFrame == nullptr) continue;
        SQmPicBufAPI_Base::Free(&pFrame->m_Picture);
        delete pFrame;
    }
}

// Unlike ClearFrames it leaves the records allocated. That is part of the design.
void CFrameStore::TrimFrames()
{
    const CSectionLock lock(m_Lock.Get());
    if (Find(m_uiRequested) == nullptr) return;
    while (m_lstFrames.front() != nullptr && m_lstFrames.front()->m_uiFrameIndex < m_uiRequested)
    {
        KeepPixels(&m_lstFrames.front()->m_Picture);
        m_lstFrames.pop_front();
    }
    m_uiWindowStart = m_uiRequested;
}

std::uint32_t CFrameStore::GetWindowSize() const
{
    const CSectionLock lock(m_Lock.Get());
    const bool bSequential =
        m_uiRequested == m_uiPrevRequested || m_uiRequested == m_uiPrevRequested + 1 || IsWalkingBack();
    const std::uint32_t uiWindow = bSequential ? SEQUENTIAL_WINDOW : RANDOM_WINDOW;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(uiWindow, GetMostFrames() - 1));
}

std::size_t CFrameStore::CountFrames() const
{
    const CSectionLock lock(m_Lock.Get());
    return m_lstFrames.size();
}

// --- the host's requests ---

bool CFrameStore::AskForFrame(std::uint64_t uiIndex, void* pBuffer, QmStatus* pnStatus)
{
    const CSectionLock lock(m_Lock.Get());
    const SQmGrabbedFrame* pFrame = Find(uiIndex);
    m_uiPrevRequested = m_uiRequested;
    m_uiRequested = uiIndex;
    if (uiIndex + 1 == m_uiPrevRequested)
        ++m_uiStepsBack;
    else if (uiIndex != m_uiPrevRequested)
        m_uiStepsBack = 0;
    ++m_uiRequestNumber;
    m_bRequestFailed = false;
    if (pFrame != nullptr)
    {
        *pnStatus = CopyFrame(*pFrame, pBuffer);
        return true;
    }
    m_uiLastActivity = GetMilliseconds();
    // Before any other thread can see the request, so that no signal for it is lost.
    ResetEvent(m_hFrameReady);
    PauseUnlessRequestIsServed();
    SetEvent(m_hHostWaits);
    *pnStatus = QM_ERR_FAIL;
    return m_bPlaysEnded;
}

QmStatus CFrameStore::WaitForFrame(void* pBuffer)
{
    for (;;)
    {
        // The limit falls while the session comes nearer to the frame, so it is looked at again.
        AwaitAny(&m_hFrameReady, 1, std::min(GetSilenceLeft(), LIMIT_CHECK_MS));
        const CSectionLock lock(m_Lock.Get());
        const SQmGrabbedFrame* pFrame = Find(m_uiRequested);
        if (pFrame != nullptr) return CopyFrame(*pFrame, pBuffer);
        if (GetSilenceLeft() == 0) EndPlays();
        if (m_bRequestFailed || m_bPlaysEnded) return QM_ERR_FAIL;
        // The signal came without the frame: it was dropped again, or there was no memory for it. QM_OK would leave
        // the host with another picture under its index, so the worker tries again.
    }
}

DWORD CFrameStore::GetSilenceLeft() const
{
    const CSectionLock lock(m_Lock.Get());
    const std::uint64_t uiLimit = SILENCE_LIMIT_MS + DECODING_LIMIT_MS * CountFramesToDecode();
    const std::uint64_t uiSilent = GetMilliseconds() - m_uiLastActivity;
    if (uiSilent >= uiLimit) return 0;
    return static_cast<DWORD>(std::min<std::uint64_t>(uiLimit - uiSilent, INFINITE - 1));
}

// Frames before the requested one that the session may have to decode. A play that delivers has decoded what comes
// before its next frame. Any other play may begin far before the requested one.
std::uint64_t CFrameStore::CountFramesToDecode() const
{
    const bool bDelivers = m_bRunning && m_bPlayDelivered && m_ePause == EPauseState::NotWanted;
    return bDelivers && LeadsToRequest() ? m_uiRequested - m_uiNextFrame : m_uiRequested;
}

void CFrameStore::NoteEvent()
{
    const CSectionLock lock(m_Lock.Get());
    m_uiLastActivity = GetMilliseconds();
}

// --- plays ---

void CFrameStore::BeginFirstPlay(std::uint64_t uiEnd, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const CSectionLock lock(m_Lock.Get());
    SetWindow(0, 0, uiEnd, uiEnd, uiWidth, uiHeight);
    m_bRunning = true;
    PauseUnlessRequestIsServed();
}

bool CFrameStore::BeginPlay(const std::function<SPlayDecision(const SRestingStore&)>& fnDecide,
                            std::uint64_t uiLastFrame, std::uint32_t uiWidth, std::uint32_t uiHeight,
                            SPlayDecision* pDecision)
{
    const CSectionLock lock(m_Lock.Get());
    if (IsClosing() || m_bPlaysEnded) return false;

    SRestingStore store = {};
    store.m_uiRequested = m_uiRequested;
    store.m_uiRequestNumber = m_uiRequestNumber;
    store.m_bStored = Find(m_uiRequested) != nullptr;
    store.m_bNearTail =
        IsNearTail(static_cast<std::uint32_t>(m_uiRequested), GetWindowSize(), static_cast<std::uint32_t>(uiLastFrame));
    if (store.m_bNearTail) store.m_uiNewest = m_lstFrames.back()->m_uiFrameIndex;
    store.m_uiNextFrame = m_uiNextFrame;
    store.m_bWalksBack = IsWalkingBack();
    store.m_uiWindow = GetWindowSize();
    if (store.m_bStored) AnswerRequest();

    *pDecision = fnDecide(store);
    switch (pDecision->m_eKind)
    {
    case SPlayDecision::EKind::Rest:
        break;

    case SPlayDecision::EKind::Refuse:
        m_bRequestFailed = true;
        AnswerRequest();
        break;

    case SPlayDecision::EKind::Play:
        SetUpPlay(pDecision->m_Play, uiLastFrame, uiWidth, uiHeight);
        break;
    }
    return true;
}

void CFrameStore::SetUpPlay(const SPlay& play, std::uint64_t uiLastFrame, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    std::uint64_t uiEnd = std::min(uiLastFrame, play.m_uiStart + GetWindowSize());
    if (m_uiWindowStart > m_uiRequested) uiEnd = play.m_uiStart;

    if (!play.m_bKeepStored) ClearFrames(0);
    SetWindow(m_uiRequested, play.m_uiStart, uiEnd, uiLastFrame, uiWidth, uiHeight);
    if (play.m_bKeepStored) TrimFrames();
    m_uiKeepFrom = play.m_uiKeepFrom;

    m_bRunning = true;
    m_ePause = EPauseState::NotWanted;
    ResetEvent(m_hPauseRequest);
}

void CFrameStore::RestUnlessHostWaits(DWORD dwMilliseconds)
{
    WaitForSingleObject(m_hHostWaits, dwMilliseconds);
}

bool CFrameStore::IsPlaying() const
{
    const CSectionLock lock(m_Lock.Get());
    return m_bRunning;
}

void CFrameStore::EndPlay()
{
    const CSectionLock lock(m_Lock.Get());
    m_bRunning = false;
}

void CFrameStore::EndPlays()
{
    const CSectionLock lock(m_Lock.Get());
    m_bRunning = false;
    m_bPlaysEnded = true;
    AnswerRequest();
}

bool CFrameStore::HavePlaysEnded() const
{
    const CSectionLock lock(m_Lock.Get());
    return m_bPlaysEnded;
}

// --- pauses ---

void CFrameStore::WantPause()
{
    const CSectionLock lock(m_Lock.Get());
    if (m_ePause == EPauseState::NotWanted) m_ePause = EPauseState::Wanted;
    SetEvent(m_hPauseRequest);
}

void CFrameStore::WaitForPauseRequest()
{
    WaitForSingleObject(m_hPauseRequest, INFINITE);
    ResetEvent(m_hPauseRequest);
}

bool CFrameStore::TakePauseRequest()
{
    const CSectionLock lock(m_Lock.Get());
    if (!m_bRunning || m_ePause != EPauseState::Wanted) return false;
    m_ePause = EPauseState::Asked;
    return true;
}

void CFrameStore::WithdrawPause()
{
    const CSectionLock lock(m_Lock.Get());
    m_ePause = EPauseState::NotWanted;
}

// Under the lock, since BeginPlay clears the event under it unless the flag is set.
void CFrameStore::Close()
{
    const CSectionLock lock(m_Lock.Get());
    if (m_pStopFlag != nullptr) *m_pStopFlag = true;
    SetEvent(m_hPauseRequest);
    SetEvent(m_hHostWaits);
}

bool CFrameStore::IsClosing() const
{
    const CSectionLock lock(m_Lock.Get());
    return m_pStopFlag != nullptr && *m_pStopFlag;
}
