// An input file that is open from the start, over a scripted session instead of a file.
#pragma once

#include <chrono>

#include <gtest/gtest.h>

#include "mp4filesimpl/imageformatmp4.h"
#include "mp4filesimpl/mp4inputfile.h"
#include "numbered_picture.h"
#include "scripted_session.h"

// What a file object needs and gives back by itself: the format object that it belongs to, with a reference of the
// caller's.
class CFormatReference
{
public:
    CFormatReference()
    {
        m_pFormat = dynamic_cast<CQmImageFormatMP4*>(ConstructImageFormatMP4(__FILE__, __LINE__));
        m_pFormat->AddRef();
    }
    ~CFormatReference() { m_pFormat->Release(); }
    CFormatReference(const CFormatReference&) = delete;
    CFormatReference& operator=(const CFormatReference&) = delete;

    CQmImageFormatMP4* Get() const { return m_pFormat; }

private:
    CQmImageFormatMP4* m_pFormat;
};

class CScriptedFile : public CQmMP4InputFile
{
public:
    CScriptedFile(CQmImageFormatMP4* pFormat, const SScript& script) : CScriptedFile(pFormat, script, script.m_vTimesMs)
    {}

    // vTimesMs: what the file object believes; the session plays by the script's own list.
    CScriptedFile(CQmImageFormatMP4* pFormat, const SScript& script, std::vector<std::uint64_t> vTimesMs)
        : CQmMP4InputFile(pFormat, CQmStringW(), false, nullptr)
    {
        SampleGrabberCB::Create(&m_pGrabber);
        m_pGrabber->m_pStopFlag = &m_bStop;
        m_pScripted = new CScriptedSession(script, m_pGrabber);
        m_pSession = m_pScripted;
        m_pGrabber->m_pSession = m_pSession;
        m_vFrameTimesMs = std::move(vTimesMs);
        m_Attributes.m_uiWidth = script.m_uiWidth;
        m_Attributes.m_uiHeight = script.m_uiHeight;
        m_Attributes.m_uiWidthBytes = (script.m_uiWidth * 3 + 3) / 4 * 4;
        m_Attributes.m_uiBitsInMemory = 8;
        m_Attributes.m_uiBitsSignificant = 8;
        m_Attributes.m_uiComponents = 3;
        m_Attributes.m_uiSequenceCount = static_cast<std::uint32_t>(m_vFrameTimesMs.size());
        m_bOpen = true;
    }

    // Reads frame uiIndex. Gives the number in its picture, or the status if that isn't 0.
    int ReadNumber(std::uint32_t uiIndex)
    {
        std::vector<unsigned char> vPixels(std::size_t{m_Attributes.m_uiWidthBytes} * m_Attributes.m_uiHeight);
        const QmStatus nStatus = ReadFrame(uiIndex, vPixels.data(), nullptr, nullptr);
        return nStatus != QM_OK ? nStatus : NumberInPicture(vPixels.data());
    }

    bool IsStored(std::uint64_t uiIndex) const
    {
        CGrabberLock lock(m_pGrabber);
        return m_pGrabber->FindFrame(uiIndex) != nullptr;
    }

    std::size_t StoredFrames() const
    {
        CGrabberLock lock(m_pGrabber);
        return m_pGrabber->m_lstFrames.size();
    }

    // Waits until the current play is over and the worker has seen, twice, that no other is called for. It looks at
    // the request whenever nothing plays, tells each time that the frame is there, and decides under the same lock.
    // For use behind a read that gave its frame.
    void WaitForRest() const
    {
        constexpr DWORD LIMIT_MS = 30'000;
        const auto begin = std::chrono::steady_clock::now();
        const auto IsLate = [&] {
            return std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(LIMIT_MS);
        };
        for (int nSeen = 0; nSeen < 2;)
        {
            const std::size_t uiCalls = m_pScripted->Calls().size();
            bool bRests = PrepareToSeeTheWorkerLook();
            if (bRests)
            {
                bRests = WaitForSingleObject(m_pGrabber->m_hFrameReady, LIMIT_MS) == WAIT_OBJECT_0;
                CGrabberLock lock(m_pGrabber);
                bRests = bRests && m_pGrabber->m_nRunning == 0 && m_pScripted->Calls().size() == uiCalls;
            }
            else
            {
                Sleep(1);
            }
            nSeen = bRests ? nSeen + 1 : 0;
            ASSERT_FALSE(IsLate()) << "the worker doesn't come to rest";
        }
    }

    CScriptedSession& Session() { return *m_pScripted; }
    SampleGrabberCB& Grabber() { return *m_pGrabber; }

    using CQmMP4InputFile::m_Attributes;
    using CQmMP4InputFile::m_bOpen;
    using CQmMP4InputFile::m_bWrittenFile;
    using CQmMP4InputFile::m_dJulianDay;
    using CQmMP4InputFile::m_hPumpThread;
    using CQmMP4InputFile::m_hWorkerThread;
    using CQmMP4InputFile::m_strPath;
    using CQmMP4InputFile::m_vFrameTimesMs;

private:
    // False while something plays.
    bool PrepareToSeeTheWorkerLook() const
    {
        CGrabberLock lock(m_pGrabber);
        if (m_pGrabber->m_nRunning != 0) return false;
        ResetEvent(m_pGrabber->m_hFrameReady);
        return true;
    }

    CScriptedSession* m_pScripted;
};

// count frames at a distance of step milliseconds.
inline std::vector<std::uint64_t> EvenTimes(std::size_t uiCount, std::uint64_t uiStep)
{
    std::vector<std::uint64_t> vTimes(uiCount);
    for (std::size_t i = 0; i < uiCount; ++i)
        vTimes[i] = i * uiStep;
    return vTimes;
}
