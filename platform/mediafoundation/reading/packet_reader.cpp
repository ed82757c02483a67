#include "platform/mediafoundation/reading/packet_reader.h"

#include "mferror.h"

namespace mediafoundation
{

void PacketReader::StartAt(std::uint64_t uiNumber)
{
    if (m_bHasCurrent && uiNumber == m_uiNext) return;
    m_bHasCurrent = false;
    m_bSeek = true;
    m_uiNext = uiNumber;
}

SampleReader::Progress PacketReader::Step()
{
    if (m_bHasCurrent) return Progress::HasSample;
    if (m_uiNext >= Table().Count()) return Progress::Ended;

    HRESULT hr = m_bSeek ? File().SeekTo(Table(), m_uiNext) : S_OK;
    if (SUCCEEDED(hr)) hr = File().Read(m_packet.get());
    m_bSeek = hr != S_OK;
    if (hr != S_OK) return Fail(FAILED(hr) ? hr : MF_E_INVALID_STREAM_DATA);

    MutableTable().At(m_uiNext).m_nPresentationTime = m_packet->pts;
    m_current.m_pData = m_packet->data;
    m_current.m_uiSize = static_cast<std::size_t>(m_packet->size);
    m_current.m_nTime = PresentationTime(m_uiNext, m_uiNext);
    m_current.m_nDuration = Table().DurationOf(m_uiNext);
    m_bHasCurrent = true;
    return Progress::HasSample;
}

}  // namespace mediafoundation
