// Image files through the Windows Imaging Component.
#include "parts/imagefile.h"

#include <stdexcept>

#include "parts/wic.h"

namespace qmhost
{
namespace
{

std::vector<unsigned char> Contents(IStream* pStream)
{
    STATSTG stat{};
    CheckWic(pStream->Stat(&stat, STATFLAG_NONAME), "IStream::Stat");
    std::vector<unsigned char> bytes(static_cast<std::size_t>(stat.cbSize.QuadPart));
    CheckWic(pStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), "IStream::Seek");
    ULONG uiRead = 0;
    CheckWic(pStream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &uiRead), "IStream::Read");
    bytes.resize(uiRead);
    return bytes;
}

}  // namespace

std::vector<unsigned char> EncodeImage(const PictureView& picture, EImageFormat eFormat)
{
    ComReference<IWICImagingFactory> factory;
    MakeWicFactory(factory);
    ComReference<IStream> stream;
    CheckWic(CreateStreamOnHGlobal(nullptr, TRUE, stream.Out()), "CreateStreamOnHGlobal");
    ComReference<IWICBitmapEncoder> encoder;
    const GUID guidContainer = eFormat == EImageFormat::Png ? GUID_ContainerFormatPng : GUID_ContainerFormatTiff;
    CheckWic(factory->CreateEncoder(guidContainer, nullptr, encoder.Out()), "IWICImagingFactory::CreateEncoder");
    CheckWic(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), "IWICBitmapEncoder::Initialize");
    ComReference<IWICBitmapFrameEncode> frame;
    CheckWic(encoder->CreateNewFrame(frame.Out(), nullptr), "IWICBitmapEncoder::CreateNewFrame");
    CheckWic(frame->Initialize(nullptr), "IWICBitmapFrameEncode::Initialize");
    CheckWic(frame->SetSize(picture.m_uiWidth, picture.m_uiHeight), "IWICBitmapFrameEncode::SetSize");
    WICPixelFormatGUID guidPixels = GUID_WICPixelFormat24bppBGR;
    CheckWic(frame->SetPixelFormat(&guidPixels), "IWICBitmapFrameEncode::SetPixelFormat");
    if (!IsEqualGUID(guidPixels, GUID_WICPixelFormat24bppBGR))
        throw std::runtime_error("IWICBitmapFrameEncode::SetPixelFormat refused 24-bit colour");

    // The interface takes the rows as if it might write to them, but only reads.
    auto* const pPixels = const_cast<BYTE*>(picture.m_pPixels);
    CheckWic(frame->WritePixels(picture.m_uiHeight, picture.m_uiWidthBytes, picture.m_uiWidthBytes * picture.m_uiHeight,
                                pPixels),
             "IWICBitmapFrameEncode::WritePixels");
    CheckWic(frame->Commit(), "IWICBitmapFrameEncode::Commit");
    CheckWic(encoder->Commit(), "IWICBitmapEncoder::Commit");
    return Contents(stream.Get());
}

}  // namespace qmhost
