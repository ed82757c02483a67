// An input file that is open from the start, over a scripted session instead of a file.
#pragma once

#include <chrono>

#include <gtest/gtest.h>

#include "mp4filesimpl/imageformatmp4.h"
#include "mp4filesimpl/mp4inputfile.h"
#include "numbered_picture.h"
#include "scripted_session.h"

// The format object that a file object belongs to, with a reference of the caller's.
class CFormatReference
{
public:
    CFormatReference()
    {
        m_pFormat = dynamic_cast<CQmImageFormatMP4*>(QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__));
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
        : CScriptedFile(pFormat, script, std::move(vTimesMs), CFrameStore::MOST_PIXEL_BYTES)
    {}

    CScriptedFile(CQmImageFormatMP4* pFormat, const SScript& script, std::vector<std::uint64_t> vTimesMs,
                  std::uint64_t uiMostPixelBytes)
        : CQmMP4InputFile(pFormat, CQmStringW(), false, nullptr)
    {
        SampleGrabberCB* pGrabber = nullptr;
        EXPECT_EQ(SampleGrabberCB::Create(&pGrabber, uiMostPixelBytes), S_OK);
        m_pScripted = new CScriptedSession(script, pGrabber);
        m_Graph.Adopt(m_pScripted, pGrabber, &m_bStop, false);
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

    // Reads frame uiIndex. Returns the number in its picture, or the status if that isn't 0.
    int ReadNumber(std::uint32_t uiIndex)
    {
        constexpr unsigned char NO_NUMBER = 0xFF;  // brighter than every digit
        std::vector<unsigned char> vPixels(std::size_t{m_Attributes.m_uiWidthBytes} * m_Attributes.m_uiHeight,
                                           NO_NUMBER);
        const QmStatus nStatus = ReadFrame(uiIndex, vPixels.data(), nullptr, nullptr);
        return nStatus != QM_OK ? nStatus : NumberInPicture(vPixels.data());
    }

    bool IsStored(std::uint64_t uiIndex) const { return Store().FindFrame(uiIndex) != nullptr; }

    // Waits until the current play is over and the worker has seen, twice, that no other is needed. It looks at the
    // request whenever nothing plays, and signals each time that the frame is stored. The first signal may be one left
    // from before. For use after a read that returned its frame.
    void WaitForRest()
    {
        constexpr std::chrono::seconds LIMIT{30};
        const auto begin = std::chrono::steady_clock::now();
        std::vector<unsigned char> vPixels(std::size_t{m_Attributes.m_uiWidthBytes} * m_Attributes.m_uiHeight);
        for (int nSeen = 0; nSeen < 3;)
        {
            const std::size_t uiCalls = m_pScripted->Calls().size();
            bool bRests = !Store().IsPlaying();
            if (bRests)
            {
                ASSERT_EQ(Store().WaitForFrame(vPixels.data()), QM_OK);
                bRests = !Store().IsPlaying() && m_pScripted->Calls().size() == uiCalls;
            }
            else
            {
                Sleep(1);
            }
            nSeen = bRests ? nSeen + 1 : 0;
            ASSERT_LT(std::chrono::steady_clock::now() - begin, LIMIT) << "the worker doesn't come to rest";
        }
    }

    CScriptedSession& Session() { return *m_pScripted; }
    CFrameStore& Store() const { return *m_Graph.GetStore(); }
    bool HasThreads() const { return m_Reader.IsRunning(); }

    using CQmMP4InputFile::m_Attributes;
    using CQmMP4InputFile::m_bOpen;
    using CQmMP4InputFile::m_bWrittenFile;
    using CQmMP4InputFile::m_dJulianDay;
    using CQmMP4InputFile::m_strPath;
    using CQmMP4InputFile::m_vFrameTimesMs;

private:
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
