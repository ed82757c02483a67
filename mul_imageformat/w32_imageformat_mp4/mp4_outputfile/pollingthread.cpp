#include "mp4_outputfile/pollingthread.h"

#include <algorithm>
#include <span>

#include "amf/common/amfsystem.h"
#include "amf/common/amfvariant.h"
#include "common/saferelease.h"
#include "common/waits.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"

void PollingThread::Run()
{
    if (!m_file.IsOpen()) return;
    RequestStop();
    for (std::uint64_t uiBuffers = 0;;)
    {
        AMFData* pData = nullptr;
        const AMF_RESULT eResult = m_encoder.QueryOutput(&pData);
        if (eResult == AMF_EOF)
        {
            SafeRelease(&pData);
            break;
        }
        // Without data the result doesn't matter: an encoder that fails now may still give what it holds.
        if (pData == nullptr)
        {
            if (IsGivenUp()) break;
            amf_sleep(1);
            continue;
        }
        m_uiLastOutput = GetMilliseconds();
        m_bTooMuch = IsTooMuch(++uiBuffers);
        if (m_bTooMuch)
            m_file.Abandon();
        else
            LogOutput(*pData);
        SafeRelease(&pData);
        if (!m_bTooMuch) continue;
        if (IsEndExpected()) break;
        amf_sleep(1);
    }
    m_file.WriteNalLengths();
}

// Output that can't be logged ends the file: the pictures after it would get wrong times.
void PollingThread::LogOutput(AMFData& data)
try
{
    AMFVariantStruct startTime{};
    data.GetProperty(AMF_START_TIME_PROPERTY, &startTime);  // not used, so not converted either: the host's times count
    AMFVariantClear(&startTime);

    AMFBuffer* pBuffer = nullptr;
    data.QueryInterface(AMFBuffer::IID(), reinterpret_cast<void**>(&pBuffer));
    const COwned<AMFBuffer> pOwner(pBuffer);
    const auto* const pBytes = pBuffer == nullptr ? nullptr : static_cast<const std::uint8_t*>(pBuffer->GetNative());
    const std::size_t uiBytes = pBuffer == nullptr ? 0 : pBuffer->GetSize();
    const bool bReadable = pBuffer != nullptr && (pBytes != nullptr || uiBytes == 0);
    if (bReadable)
        m_file.LogPacket({pBytes, uiBytes});
    else
        m_file.Abandon();
}
catch (...)  // a thread has no caller that could handle it
{
    m_file.Abandon();
}

bool PollingThread::IsQuietFor(std::uint32_t uiLimit, std::uint64_t uiBegin) const
{
    const std::uint64_t uiFrom = std::max<std::uint64_t>(m_uiLastOutput, uiBegin);
    return GetMilliseconds() - uiFrom >= uiLimit;
}

void PollingThread::ExpectEnd(std::uint32_t uiLimit, std::uint64_t uiBegin)
{
    m_uiEndBegin = uiBegin;
    m_uiEndLimit = uiLimit;  // last: with it the thread looks at both
}

bool PollingThread::IsGivenUp() const
{
    return IsEndExpected() && IsQuietFor(m_uiEndLimit, m_uiEndBegin);
}

bool PollingThread::IsTooMuch(std::uint64_t uiBuffers) const
{
    return uiBuffers > m_uiPictures * MOST_BUFFERS_OF_A_PICTURE + MOST_OTHER_BUFFERS;
}
