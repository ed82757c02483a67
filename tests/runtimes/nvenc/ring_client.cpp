#include "ring_client.h"

RingClient::RingClient(const SessionSetup& setup, std::size_t uiSlots, NV_ENC_BUFFER_FORMAT eFormat)
    : m_params(setup.params), m_eFormat(eFormat)
{
    SessionSetup copy(setup);
    EXPECT_EQ(m_session.Initialize(copy), NV_ENC_SUCCESS);
    for (std::size_t i = 0; i < uiSlots; ++i)
    {
        auto pSlot = std::make_unique<Slot>();
        pSlot->pSurface =
            std::make_unique<FakeSurface>(m_params.encodeWidth, m_params.encodeHeight,
                                          eFormat == NV_ENC_BUFFER_FORMAT_ARGB ? D3DFMT_A8R8G8B8 : FakeSurface::Nv12());
        pSlot->pRegistered = m_session.Register(*pSlot->pSurface, eFormat);
        pSlot->pBuffer = m_session.CreateBuffer();
        pSlot->hEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        RegisterEvent(pSlot->hEvent);
        m_slots.push_back(std::move(pSlot));
    }
    m_hEndEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    RegisterEvent(m_hEndEvent);
}

void RingClient::RegisterEvent(HANDLE hEvent) const
{
    auto record = MakeRecord<NV_ENC_EVENT_PARAMS>(NV_ENC_EVENT_PARAMS_VER);
    record.completionEvent = hEvent;
    EXPECT_EQ(Runtime::Get().api.nvEncRegisterAsyncEvent(m_session.Handle(), &record), NV_ENC_SUCCESS);
}

RingClient::~RingClient()
{
    m_session.End();
    for (const auto& pSlot : m_slots)
    {
        CloseHandle(pSlot->hEvent);
    }
    CloseHandle(m_hEndEvent);
}

NVENCSTATUS RingClient::Send(std::uint32_t uiFlags, NV_ENC_PIC_TYPE eType)
{
    Slot& slot = *m_slots[m_uiSent % m_slots.size()];
    slot.pMapped = m_session.Map(slot.pRegistered);
    NV_ENC_PIC_PARAMS picture =
        m_session.Picture(slot.pMapped, slot.pBuffer, m_params.encodeWidth, m_params.encodeHeight);
    picture.bufferFmt = m_eFormat;
    picture.encodePicFlags = uiFlags;
    picture.pictureType = eType;
    picture.completionEvent = slot.hEvent;
    picture.inputTimeStamp = 1000 + m_uiSent;
    picture.inputDuration = 7 * m_uiSent;
    const NVENCSTATUS eStatus = m_session.Encode(picture);
    EXPECT_TRUE(eStatus == NV_ENC_SUCCESS || eStatus == NV_ENC_ERR_NEED_MORE_INPUT) << eStatus;
    ++m_uiSent;
    if (m_uiSent - m_uiRead == m_slots.size())
    {
        Read();
    }
    return eStatus;
}

void RingClient::Finish()
{
    EXPECT_EQ(m_session.EndStream(m_hEndEvent), NV_ENC_SUCCESS);
    while (m_uiRead < m_uiSent)
    {
        Read();
    }
    if (m_params.enableEncodeAsync)
    {
        EXPECT_EQ(WaitForSingleObject(m_hEndEvent, 20000), WAIT_OBJECT_0);
    }
}

void RingClient::Read()
{
    Slot& slot = *m_slots[m_uiRead % m_slots.size()];
    if (m_params.enableEncodeAsync)
    {
        EXPECT_EQ(WaitForSingleObject(slot.hEvent, 20000), WAIT_OBJECT_0);
    }
    ReadPacket packet{};
    ASSERT_EQ(m_session.Lock(slot.pBuffer, &packet.record), NV_ENC_SUCCESS);
    const auto* pBytes = static_cast<const std::uint8_t*>(packet.record.bitstreamBufferPtr);
    packet.bytes.assign(pBytes, pBytes + packet.record.bitstreamSizeInBytes);
    EXPECT_EQ(m_session.Unlock(slot.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(Runtime::Get().api.nvEncUnmapInputResource(m_session.Handle(), slot.pMapped), NV_ENC_SUCCESS);
    m_packets.push_back(std::move(packet));
    ++m_uiRead;
}

std::vector<std::uint8_t> RingClient::Stream() const
{
    return Join(m_packets);
}

std::vector<ReadPacket> EncodeNatural(const SessionSetup& setup, int nFrames)
{
    const std::size_t uiSlots =
        static_cast<std::size_t>(setup.config.frameIntervalP) + setup.config.rcParams.lookaheadDepth + 4;
    RingClient client(setup, uiSlots);
    for (int i = 0; i < nFrames; ++i)
    {
        Paint(client.NextSurface(), NaturalPicture(setup.params.encodeWidth, setup.params.encodeHeight, i));
        client.Send();
    }
    client.Finish();
    return client.Packets();
}

std::vector<std::uint8_t> Join(const std::vector<ReadPacket>& packets)
{
    std::vector<std::uint8_t> stream;
    for (const ReadPacket& packet : packets)
    {
        stream.insert(stream.end(), packet.bytes.begin(), packet.bytes.end());
    }
    return stream;
}
