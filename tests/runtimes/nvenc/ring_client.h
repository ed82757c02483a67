// A caller as they are usually written, with a ring of surfaces, buffers and events. A packet is read when its slot
// comes round again.
#pragma once

#include <memory>
#include <vector>

#include "annexb.h"
#include "pictures.h"
#include "runtime.h"

struct ReadPacket
{
    std::vector<std::uint8_t> bytes;
    NV_ENC_LOCK_BITSTREAM record;  // as locked; its pointers have no meaning any more
};

class RingClient
{
public:
    // With enableEncodeAsync set in the setup it waits on events, for 20 s at the most.
    RingClient(const SessionSetup& setup, std::size_t uiSlots,
               NV_ENC_BUFFER_FORMAT eFormat = NV_ENC_BUFFER_FORMAT_ARGB);
    ~RingClient();
    RingClient(const RingClient&) = delete;
    RingClient& operator=(const RingClient&) = delete;

    FakeSurface& NextSurface() { return *m_slots[m_uiSent % m_slots.size()]->pSurface; }

    // Sends what was painted on the next surface, then reads a packet once the ring is full. The picture's record can
    // be changed before.
    NVENCSTATUS Send(std::uint32_t uiFlags = 0, NV_ENC_PIC_TYPE eType = NV_ENC_PIC_TYPE_P);
    // Ends the stream and reads what is left.
    void Finish();

    const std::vector<ReadPacket>& Packets() const { return m_packets; }
    std::vector<std::uint8_t> Stream() const;
    const OpenSession& Session() const { return m_session; }

private:
    struct Slot
    {
        std::unique_ptr<FakeSurface> pSurface;
        void* pRegistered = nullptr;
        void* pMapped = nullptr;
        void* pBuffer = nullptr;
        HANDLE hEvent = nullptr;
    };

    void RegisterEvent(HANDLE hEvent) const;
    void Read();

    const NV_ENC_INITIALIZE_PARAMS m_params;
    const NV_ENC_BUFFER_FORMAT m_eFormat;
    OpenSession m_session;
    std::vector<std::unique_ptr<Slot>> m_slots;
    HANDLE m_hEndEvent = nullptr;  // of the end of the stream
    std::size_t m_uiSent = 0;
    std::size_t m_uiRead = 0;
    std::vector<ReadPacket> m_packets;
};

// All of a client's work: frames 0 to nFrames - 1 of the natural view, through a ring of four slots more than needed.
std::vector<ReadPacket> EncodeNatural(const SessionSetup& setup, int nFrames);

std::vector<std::uint8_t> Join(const std::vector<ReadPacket>& packets);
