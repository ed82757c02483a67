#include "decode_image.h"

#include <stdexcept>

#include <windows.h>

#include <objbase.h>
#include <wincodec.h>

namespace
{

void Check(HRESULT hr)
{
    if (FAILED(hr)) throw std::runtime_error("the Windows Imaging Component doesn't read the picture");
}

}  // namespace

// References are left to the process's end, which is near.
DecodedImage DecodeImage(const std::vector<unsigned char>& bytes)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    IWICImagingFactory* pFactory = nullptr;
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                           reinterpret_cast<void**>(&pFactory)));
    IWICStream* pStream = nullptr;
    Check(pFactory->CreateStream(&pStream));
    Check(pStream->InitializeFromMemory(const_cast<BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size())));
    IWICBitmapDecoder* pDecoder = nullptr;
    Check(pFactory->CreateDecoderFromStream(pStream, nullptr, WICDecodeMetadataCacheOnDemand, &pDecoder));
    UINT uiFrames = 0;
    Check(pDecoder->GetFrameCount(&uiFrames));
    if (uiFrames != 1) throw std::runtime_error("the file has more than one picture");
    IWICBitmapFrameDecode* pFrame = nullptr;
    Check(pDecoder->GetFrame(0, &pFrame));
    IWICBitmapSource* pBgr = nullptr;
    Check(WICConvertBitmapSource(GUID_WICPixelFormat24bppBGR, pFrame, &pBgr));
    DecodedImage decoded;
    UINT uiWidth = 0;
    UINT uiHeight = 0;
    Check(pBgr->GetSize(&uiWidth, &uiHeight));
    decoded = {uiWidth, uiHeight, std::vector<unsigned char>(std::size_t{3} * uiWidth * uiHeight)};
    Check(pBgr->CopyPixels(nullptr, 3 * uiWidth, static_cast<UINT>(decoded.m_vBgr.size()), decoded.m_vBgr.data()));
    return decoded;
}
