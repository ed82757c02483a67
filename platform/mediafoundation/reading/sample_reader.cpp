#include "platform/mediafoundation/reading/sample_reader.h"

#include <algorithm>

#include "mferror.h"

namespace mediafoundation
{
namespace
{

constexpr int PACKETS_PER_STEP = 64;

}  // namespace

SampleReader::SampleReader(std::shared_ptr<ContainerFile> file, unsigned int uiStream) : m_file(std::move(file))
{
    m_file->Select(uiStream);
}

HRESULT SampleReader::Prepare()
{
    HRESULT hr = S_OK;
    switch (m_preparation)
    {
    case Preparation::NotBegun:
        hr = Begin();
        break;
    case Preparation::Scanning:
        hr = Scan();
        break;
    case Preparation::Done:
        return S_OK;
    }
    if (FAILED(hr)) m_preparation = Preparation::NotBegun;
    if (hr != S_OK) return hr;
    hr = FindFirstPresentation();
    if (SUCCEEDED(hr)) m_preparation = Preparation::Done;
    return hr;
}

HRESULT SampleReader::Begin()
{
    if (!m_packet) return E_OUTOFMEMORY;
    m_table = m_file->TableFromIndex();
    if (m_table) return S_OK;
    m_table = std::make_unique<SampleTable>();
    m_preparation = Preparation::Scanning;
    const HRESULT hr = m_file->Rewind();
    return FAILED(hr) ? hr : S_FALSE;
}

// Reads the whole stream once, to know its samples.
HRESULT SampleReader::Scan()
{
    for (int i = 0; i < PACKETS_PER_STEP; ++i)
    {
        const HRESULT hr = m_file->Read(m_packet.get());
        if (FAILED(hr)) return hr;
        if (hr == S_FALSE)
        {
            m_table->Finish(m_file->Selected().time_base, m_nLastDuration);
            return S_OK;
        }
        m_table->Append(m_file->Describe(*m_packet));
        m_nLastDuration = m_packet->duration;
        av_packet_unref(m_packet.get());
    }
    return S_FALSE;
}

// The first picture's time is the least of the first few samples': no other one can be presented before all of them.
HRESULT SampleReader::FindFirstPresentation()
{
    const std::uint64_t uiCount = std::min(m_table->Count(), MAX_REORDER + 1);
    const bool bScanned = m_preparation == Preparation::Scanning;
    HRESULT hr = bScanned ? S_FALSE : m_file->Rewind();
    for (std::uint64_t i = 0; hr == S_OK && i < uiCount; ++i)
    {
        hr = m_file->Read(m_packet.get());
        if (hr == S_OK) m_table->At(i).m_nPresentationTime = m_packet->pts;
    }
    av_packet_unref(m_packet.get());
    for (std::uint64_t i = 0; i < uiCount; ++i)
    {
        const std::int64_t nTime = m_table->At(i).m_nPresentationTime;
        if (nTime == AV_NOPTS_VALUE) continue;
        const bool bFirst = m_nFirstPresentation == AV_NOPTS_VALUE;
        m_nFirstPresentation = bFirst ? nTime : std::min(m_nFirstPresentation, nTime);
    }
    return FAILED(hr) ? hr : S_OK;
}

std::int64_t SampleReader::PresentationTime(std::uint64_t uiSample, std::uint64_t uiNumber) const
{
    const bool bHasSample = uiSample < m_table->Count();
    const std::int64_t nTime = bHasSample ? m_table->At(uiSample).m_nPresentationTime : AV_NOPTS_VALUE;
    if (nTime == AV_NOPTS_VALUE || m_nFirstPresentation == AV_NOPTS_VALUE) return m_table->TimeOf(uiNumber);
    std::int64_t nDifference = 0;
    if (__builtin_sub_overflow(nTime, m_nFirstPresentation, &nDifference)) return m_table->TimeOf(uiNumber);
    return m_table->ToHundredNanoseconds(nDifference);
}

void SampleReader::MarkDelivered()
{
    m_bHasCurrent = false;
    ++m_uiNext;
}

SampleReader::Progress SampleReader::Fail(HRESULT hr)
{
    m_hrStatus = hr;
    return Progress::Failed;
}

}  // namespace mediafoundation
