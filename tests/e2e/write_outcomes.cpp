#include "write_outcomes.h"

namespace test_support
{

namespace
{

bool IsReadAtClose(std::uint32_t uiPacket)
{
    return uiPacket + g_uiHeldBack > g_uiFrames;
}

// The session holds that much when it is destroyed.
void Leave(Outcome& outcome, std::uint32_t NvencRuntimeObjects::*pCount, std::uint32_t uiObjects)
{
    outcome.m_breaches.left.*pCount = uiObjects;
    if (uiObjects != 0) outcome.m_breaches.left.uiSessions = 1;
}

// Frames that were refused left so many mappings of one surface. Those that a later frame was written over differ from
// what they were mapped with.
void LeaveMapped(Outcome& outcome, std::uint32_t uiMappings, std::uint32_t uiWritten)
{
    Leave(outcome, &NvencRuntimeObjects::uiMappedResources, uiMappings);
    Leave(outcome, &NvencRuntimeObjects::uiRegisteredResources, uiMappings != 0 ? 1 : 0);
    outcome.m_breaches.uiSurfacesWritten = uiWritten;
}

}  // namespace

std::uint32_t CallsOf(NvencRuntimeEntry eEntry)
{
    switch (eEntry)
    {
    case NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION:
    case NVENC_ENTRY_CREATE_INSTANCE:
    case NVENC_ENTRY_OPEN_ENCODE_SESSION_EX:
    case NVENC_ENTRY_GET_ENCODE_CAPS:
    case NVENC_ENTRY_GET_ENCODE_PRESET_CONFIG:
    case NVENC_ENTRY_GET_ENCODE_PRESET_COUNT:
    case NVENC_ENTRY_GET_ENCODE_PRESET_GUIDS:
    case NVENC_ENTRY_INITIALIZE_ENCODER:
    case NVENC_ENTRY_DESTROY_ENCODER:
        return 1;

    case NVENC_ENTRY_REGISTER_ASYNC_EVENT:
    case NVENC_ENTRY_UNREGISTER_ASYNC_EVENT:
    case NVENC_ENTRY_CREATE_BITSTREAM_BUFFER:
    case NVENC_ENTRY_DESTROY_BITSTREAM_BUFFER:
    case NVENC_ENTRY_REGISTER_RESOURCE:
    case NVENC_ENTRY_UNREGISTER_RESOURCE:
        return g_uiHeldBack + 1;

    case NVENC_ENTRY_MAP_INPUT_RESOURCE:
    case NVENC_ENTRY_UNMAP_INPUT_RESOURCE:
    case NVENC_ENTRY_LOCK_BITSTREAM:
    case NVENC_ENTRY_UNLOCK_BITSTREAM:
        return g_uiFrames;

    case NVENC_ENTRY_ENCODE_PICTURE:
        return g_uiFrames + 2;  // and the end of the stream, once for the file and once for the session

    default:
        return 0;
    }
}

// Without a file only the attempt to make one is reported: no later frame tries again.
std::vector<int> LinesOf(const Outcome& outcome)
{
    std::vector<int> vLines;
    if (outcome.m_uiPackets || outcome.m_nLine == g_nCreateEncoder) vLines.push_back(g_nSettings);
    if (!outcome.m_uiPackets && outcome.m_nLine != 0) vLines.push_back(outcome.m_nLine);
    for (const QmStatus nStatus : outcome.m_vFrames)
    {
        if (nStatus == QM_OK) vLines.push_back(g_nFrameTime);
        if (nStatus != QM_OK && outcome.m_uiPackets && outcome.m_nLine != 0) vLines.push_back(g_nFrame);
    }
    if (outcome.m_bCloseFails) vLines.push_back(g_nClose);
    return vLines;
}

std::string TextOf(const NvencRuntimeBreaches& breaches)
{
    std::string strText;
    const auto add = [&](const char* pszName, std::uint32_t uiCount) {
        if (uiCount != 0) strText += pszName + (" " + std::to_string(uiCount)) + "; ";
    };
    add("sessions that left something", breaches.left.uiSessions);
    add("registered", breaches.left.uiRegisteredResources);
    add("mapped", breaches.left.uiMappedResources);
    add("buffers", breaches.left.uiBitstreamBuffers);
    add("events", breaches.left.uiRegisteredEvents);
    add("pending", breaches.left.uiPendingPackets);
    add("unread", breaches.left.uiUnreadPackets);
    add("locked", breaches.left.uiLockedBuffers);
    add("surfaces written", breaches.uiSurfacesWritten);
    add("locks out of order", breaches.uiLocksOutOfOrder);
    add("events unregistered in flight", breaches.uiEventsUnregisteredInFlight);
    return strText;
}

Outcome WithoutFile(int nLine, bool bCloseFails)
{
    Outcome outcome;
    outcome.RefuseFrom(1);
    outcome.m_uiPackets.reset();
    outcome.m_nLine = nLine;
    outcome.m_bCloseFails = bCloseFails;
    return outcome;
}

Outcome WithoutPacket(std::uint32_t uiPacket, std::uint32_t uiPackets)
{
    Outcome outcome;
    outcome.RefuseFrom(uiPacket + g_uiHeldBack);
    outcome.m_uiPackets = uiPackets;
    outcome.m_nLine = uiPacket + g_uiHeldBack <= g_uiFrames ? g_nFrame : g_nClose;
    // The close reads it, or fails too.
    outcome.m_bCloseFails = outcome.m_nLine == g_nClose || uiPackets < uiPacket;
    return outcome;
}

Outcome WithoutPicture(std::uint32_t uiCall, NVENCSTATUS eStatus)
{
    if (uiCall > g_uiFrames + 1) return {};
    if (uiCall == g_uiFrames + 1)
    {
        Outcome outcome;
        outcome.m_uiPackets = g_uiFrames - g_uiHeldBack;
        outcome.m_nLine = g_nClose;
        outcome.m_bCloseFails = true;
        return outcome;
    }
    // "More input" means that the picture was taken. That it wasn't shows when its packet is due.
    if (eStatus == NV_ENC_ERR_NEED_MORE_INPUT) return WithoutPacket(uiCall, uiCall - 1);
    // The frame is left out and nothing else is lost. Its surface stays mapped, and the next frame maps it again.
    Outcome outcome;
    outcome.m_vFrames[uiCall - 1] = QM_ERR_FAIL;
    outcome.m_uiPackets = g_uiFrames - 1;
    outcome.m_bFirstPackets = false;
    outcome.m_nLine = g_nFrame;
    if (uiCall < g_uiFrames) LeaveMapped(outcome, 1, 1);
    return outcome;
}

Outcome WithoutPicturesFrom(std::uint32_t uiCall)
{
    Outcome outcome;
    outcome.RefuseFrom(uiCall);
    outcome.m_uiPackets = 0;
    outcome.m_nLine = g_nFrame;
    outcome.m_bCloseFails = true;
    LeaveMapped(outcome, g_uiFrames - uiCall, g_uiFrames - uiCall);
    return outcome;
}

Outcome OfOneFailure(NvencRuntimeEntry eEntry, std::uint32_t uiCall, NVENCSTATUS eStatus, bool bEvents)
{
    switch (eEntry)
    {
    case NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION:
    case NVENC_ENTRY_CREATE_INSTANCE:
    case NVENC_ENTRY_OPEN_ENCODE_SESSION_EX:
        return WithoutFile(g_nOpenSession);

    case NVENC_ENTRY_GET_ENCODE_PRESET_CONFIG:  // its status isn't looked at; the empty settings are refused later
    case NVENC_ENTRY_INITIALIZE_ENCODER:
        return WithoutFile(g_nCreateEncoder, true);

    case NVENC_ENTRY_CREATE_BITSTREAM_BUFFER:
    case NVENC_ENTRY_REGISTER_RESOURCE:
        return WithoutFile(g_nCreateEncoder);

    case NVENC_ENTRY_MAP_INPUT_RESOURCE: {
        // The frame is left out and nothing else is lost. The frames after it are encoded without it.
        Outcome outcome;
        outcome.m_vFrames[uiCall - 1] = QM_ERR_FAIL;
        outcome.m_uiPackets = g_uiFrames - 1;
        outcome.m_bFirstPackets = false;
        outcome.m_nLine = g_nFrame;
        return outcome;
    }

    case NVENC_ENTRY_ENCODE_PICTURE:
        return WithoutPicture(uiCall, eStatus);

    case NVENC_ENTRY_LOCK_BITSTREAM:
        // Until the close the packet waits to be read; at the close there is no second attempt.
        return WithoutPacket(uiCall, IsReadAtClose(uiCall) ? uiCall - 1 : uiCall + g_uiHeldBack);

    case NVENC_ENTRY_UNLOCK_BITSTREAM:
    case NVENC_ENTRY_UNMAP_INPUT_RESOURCE: {
        // The packet was read. A frame that fails drops it, the close keeps it.
        Outcome outcome = WithoutPacket(uiCall, IsReadAtClose(uiCall) ? uiCall : uiCall - 1);
        if (eEntry == NVENC_ENTRY_UNLOCK_BITSTREAM)
        {
            // A locked buffer can't be destroyed.
            Leave(outcome, &NvencRuntimeObjects::uiLockedBuffers, 1);
            Leave(outcome, &NvencRuntimeObjects::uiBitstreamBuffers, 1);
        }
        return outcome;
    }

    case NVENC_ENTRY_REGISTER_ASYNC_EVENT:
        // No picture is taken with an event that isn't registered, nor is the end of the stream, which has the event of
        // the next frame's slot: the packets that were held back are lost.
        return bEvents ? WithoutPicturesFrom(uiCall) : Outcome{};

    case NVENC_ENTRY_UNREGISTER_ASYNC_EVENT: {
        Outcome outcome;
        Leave(outcome, &NvencRuntimeObjects::uiRegisteredEvents, 1);
        return outcome;
    }

    case NVENC_ENTRY_DESTROY_BITSTREAM_BUFFER: {
        Outcome outcome;
        Leave(outcome, &NvencRuntimeObjects::uiBitstreamBuffers, 1);
        return outcome;
    }

    case NVENC_ENTRY_UNREGISTER_RESOURCE: {
        Outcome outcome;
        Leave(outcome, &NvencRuntimeObjects::uiRegisteredResources, 1);
        return outcome;
    }

    default:
        return {};
    }
}

Outcome OfLastingFailure(NvencRuntimeEntry eEntry, NVENCSTATUS eStatus, bool bEvents)
{
    constexpr std::uint32_t uiRing = g_uiHeldBack + 1;
    Outcome outcome = OfOneFailure(eEntry, 1, eStatus, bEvents);
    if (outcome.m_nLine == g_nFrame)
    {
        outcome.m_uiPackets = 0;
        outcome.m_bCloseFails = eEntry != NVENC_ENTRY_MAP_INPUT_RESOURCE;  // without a picture there is nothing to read
    }
    switch (eEntry)
    {
    case NVENC_ENTRY_MAP_INPUT_RESOURCE:
        outcome.RefuseFrom(1);
        break;
    case NVENC_ENTRY_ENCODE_PICTURE:
        if (eStatus != NV_ENC_ERR_NEED_MORE_INPUT) outcome = WithoutPicturesFrom(1);
        break;
    case NVENC_ENTRY_UNMAP_INPUT_RESOURCE:
        Leave(outcome, &NvencRuntimeObjects::uiMappedResources, uiRing);
        Leave(outcome, &NvencRuntimeObjects::uiRegisteredResources, uiRing);
        break;
    case NVENC_ENTRY_UNREGISTER_ASYNC_EVENT:
        Leave(outcome, &NvencRuntimeObjects::uiRegisteredEvents, uiRing);
        break;
    case NVENC_ENTRY_DESTROY_BITSTREAM_BUFFER:
        Leave(outcome, &NvencRuntimeObjects::uiBitstreamBuffers, uiRing);
        break;
    case NVENC_ENTRY_UNREGISTER_RESOURCE:
        Leave(outcome, &NvencRuntimeObjects::uiRegisteredResources, uiRing);
        break;
    default:
        break;
    }
    return outcome;
}

}  // namespace test_support
