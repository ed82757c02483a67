// Image files through the Windows Imaging Component.
#include "parts/imagefile.h"

#include <cstdio>
#include <stdexcept>
#include <string>

#include <windows.h>

#include <objbase.h>
#include <wincodec.h>

namespace qmhost
{
namespace
{

// One reference on a COM object.
template <class TInterface>
class ComReference
{
public:
    ComReference() = default;
    ~ComReference()
    {
        if (m_p) m_p->Release();
    }
    ComReference(const ComReference&) = delete;
    ComReference& operator=(const ComReference&) = delete;

    TInterface* operator->() const { return m_p; }
    TInterface* Get() const { return m_p; }
    TInterface** Out() { return &m_p; }

private:
    TInterface* m_p = nullptr;
};

void Check(HRESULT hr, const char* pszCall)
{
    if (SUCCEEDED(hr)) return;
    char acCode[16];
    std::snprintf(acCode, sizeof acCode, "0x%08lX", static_cast<unsigned long>(hr));
    throw std::runtime_error(std::string(pszCall) + " gave " + acCode);
}

// COM on this thread for as long as the thread lives; where somebody else chose another apartment, theirs serves too.
void NeedCom()
{
    struct Apartment
    {
        HRESULT m_hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        ~Apartment()
        {
            if (SUCCEEDED(m_hr)) CoUninitialize();
        }
    };
    thread_local const Apartment apartment;
    if (apartment.m_hr != RPC_E_CHANGED_MODE) Check(apartment.m_hr, "CoInitializeEx");
}

std::vector<unsigned char> Contents(IStream* pStream)
{
    STATSTG stat{};
    Check(pStream->Stat(&stat, STATFLAG_NONAME), "IStream::Stat");
    std::vector<unsigned char> bytes(static_cast<std::size_t>(stat.cbSize.QuadPart));
    Check(pStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), "IStream::Seek");
    ULONG uiRead = 0;
    Check(pStream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &uiRead), "IStream::Read");
    bytes.resize(uiRead);
    return bytes;
}

}  // namespace

std::vector<unsigned char> EncodeImage(const PictureView& picture, EImageFormat eFormat)
{
    NeedCom();
    ComReference<IWICImagingFactory> factory;
    Check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                           reinterpret_cast<void**>(factory.Out())),
          "CoCreateInstance(WICImagingFactory)");
    ComReference<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.Out()), "CreateStreamOnHGlobal");
    ComReference<IWICBitmapEncoder> encoder;
    const GUID guidContainer = eFormat == EImageFormat::Png ? GUID_ContainerFormatPng : GUID_ContainerFormatTiff;
    Check(factory->CreateEncoder(guidContainer, nullptr, encoder.Out()), "IWICImagingFactory::CreateEncoder");
    Check(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), "IWICBitmapEncoder::Initialize");
    ComReference<IWICBitmapFrameEncode> frame;
    Check(encoder->CreateNewFrame(frame.Out(), nullptr), "IWICBitmapEncoder::CreateNewFrame");
    Check(frame->Initialize(nullptr), "IWICBitmapFrameEncode::Initialize");
    Check(frame->SetSize(picture.m_uiWidth, picture.m_uiHeight), "IWICBitmapFrameEncode::SetSize");
    WICPixelFormatGUID guidPixels = GUID_WICPixelFormat24bppBGR;
    Check(frame->SetPixelFormat(&guidPixels), "IWICBitmapFrameEncode::SetPixelFormat");
    if (!IsEqualGUID(guidPixels, GUID_WICPixelFormat24bppBGR))
        throw std::runtime_error("IWICBitmapFrameEncode::SetPixelFormat refused 24-bit colour");

    // The interface takes the rows as if it might write to them, but only reads.
    auto* const pPixels = const_cast<BYTE*>(picture.m_pPixels);
    Check(frame->WritePixels(picture.m_uiHeight, picture.m_uiWidthBytes, picture.m_uiWidthBytes * picture.m_uiHeight,
                             pPixels),
          "IWICBitmapFrameEncode::WritePixels");
    Check(frame->Commit(), "IWICBitmapFrameEncode::Commit");
    Check(encoder->Commit(), "IWICBitmapEncoder::Commit");
    return Contents(stream.Get());
}

}  // namespace qmhost
