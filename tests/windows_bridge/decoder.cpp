#include "windows_bridge/decoder.h"

#include <windows.h>

#include <mfapi.h>
#include <mftransform.h>
#include <wmcodecdsp.h>

#include "support/slot_of.h"
#include "windows_bridge/operation_table.h"

namespace windows_bridge
{

namespace
{

HRESULT(STDMETHODCALLTYPE* g_pfnSetInputType)(IMFTransform*, DWORD, IMFMediaType*, DWORD);

constexpr UINT32 MACROBLOCK = 16;  // width and height in pixels

bool IsOfWholeMacroblocks(IMFMediaType* pType)
{
    UINT32 uiWidth = 0;
    UINT32 uiHeight = 0;
    MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &uiWidth, &uiHeight);
    return uiWidth % MACROBLOCK == 0 && uiHeight % MACROBLOCK == 0;
}

// The attribute has to be there before the decoder begins.
HRESULT STDMETHODCALLTYPE SetInputType(IMFTransform* pDecoder, DWORD dwStream, IMFMediaType* pType, DWORD dwFlags)
{
    IMFAttributes* pAttributes = nullptr;
    if (pType != nullptr && !IsOfWholeMacroblocks(pType) && SUCCEEDED(pDecoder->GetAttributes(&pAttributes)))
    {
        pAttributes->SetUINT32(MF_LOW_LATENCY, TRUE);
        pAttributes->Release();
    }
    return g_pfnSetInputType(pDecoder, dwStream, pType, dwFlags);
}

}  // namespace

void FillDecoderGap()
{
    IMFTransform* pDecoder = nullptr;
    if (FAILED(CoCreateInstance(CLSID_CMSH264DecoderMFT, nullptr, CLSCTX_INPROC_SERVER, IID_IMFTransform,
                                reinterpret_cast<void**>(&pDecoder))))
    {
        return;
    }
    using test_support::SlotOf;
    ReplaceOperation(pDecoder, SlotOf(&IMFTransform::SetInputType), &SetInputType, &g_pfnSetInputType);
    pDecoder->Release();
}

}  // namespace windows_bridge
