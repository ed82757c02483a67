#include "write_outcomes.h"

namespace test_support
{

namespace
{

bool IsReadAtClose(std::uint32_t uiPacket)
{
    return uiPacket + g_uiHeldBack > g_uiFrames;
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
        return g_uiFrames + 2;  // and the end of the stream, once for the file and once when the session goes

    default:
        return 0;
    }
}

Outcome WithoutFile(int nLine)
{
    Outcome outcome;
    outcome.RefuseFrom(1);
    outcome.m_uiPackets.reset();
    outcome.m_nLine = nLine;
    return outcome;
}

Outcome WithoutPacket(std::uint32_t uiPacket, std::uint32_t uiPackets)
{
    Outcome outcome;
    outcome.RefuseFrom(uiPacket + g_uiHeldBack);
    outcome.m_uiPackets = uiPackets;
    outcome.m_nLine = uiPacket + g_uiHeldBack <= g_uiFrames ? g_nFrame : g_nClose;
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
        return outcome;
    }
    // "More input" means that the picture was taken; that it wasn't shows when its packet is wanted.
    if (eStatus == NV_ENC_ERR_NEED_MORE_INPUT) return WithoutPacket(uiCall, uiCall - 1);
    Outcome outcome;
    outcome.RefuseFrom(uiCall);
    outcome.m_uiPackets = uiCall - 1;
    outcome.m_nLine = g_nFrame;
    return outcome;
}

Outcome OfOneFailure(NvencRuntimeEntry eEntry, std::uint32_t uiCall, NVENCSTATUS eStatus)
{
    switch (eEntry)
    {
    case NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION:
    case NVENC_ENTRY_CREATE_INSTANCE:
    case NVENC_ENTRY_OPEN_ENCODE_SESSION_EX:
        return WithoutFile(g_nOpenSession);

    case NVENC_ENTRY_GET_ENCODE_PRESET_CONFIG:  // whose answer nobody looks at; what it left empty is then refused
    case NVENC_ENTRY_INITIALIZE_ENCODER:
    case NVENC_ENTRY_CREATE_BITSTREAM_BUFFER:
    case NVENC_ENTRY_REGISTER_RESOURCE:
        return WithoutFile(g_nCreateEncoder);

    case NVENC_ENTRY_MAP_INPUT_RESOURCE: {
        // The frame is left out and nothing else is lost. The frames behind it are encoded without it.
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
        // Until the close the packet waits to be read; at the close nobody asks a second time.
        return WithoutPacket(uiCall, IsReadAtClose(uiCall) ? uiCall - 1 : uiCall + g_uiHeldBack);

    case NVENC_ENTRY_UNLOCK_BITSTREAM:
    case NVENC_ENTRY_UNMAP_INPUT_RESOURCE:
        // The packet was read. A frame that fails drops it, the close keeps it.
        return WithoutPacket(uiCall, IsReadAtClose(uiCall) ? uiCall : uiCall - 1);

    default:
        return {};
    }
}

Outcome OfLastingFailure(NvencRuntimeEntry eEntry, NVENCSTATUS eStatus)
{
    Outcome outcome = OfOneFailure(eEntry, 1, eStatus);
    if (eEntry == NVENC_ENTRY_MAP_INPUT_RESOURCE) outcome.RefuseFrom(1);
    if (outcome.m_nLine == g_nFrame) outcome.m_uiPackets = 0;
    return outcome;
}

}  // namespace test_support
