// Image files through the Windows Imaging Component.
#include <algorithm>
#include <stdexcept>
#include <vector>

#include "parts/imagereader_kinds.h"
#include "parts/wic.h"

namespace qmhost
{
namespace
{

struct PixelForm
{
    const WICPixelFormatGUID& m_guid;
    unsigned m_uiConversions;
};

// The forms in which the component's decoders of PNG and TIFF hand out what isn't special.
const PixelForm PIXEL_FORMS[] = {
    {GUID_WICPixelFormat24bppBGR, CONVERT_NOTHING},
    {GUID_WICPixelFormat24bppRGB, CONVERT_NOTHING},
    {GUID_WICPixelFormat32bppBGR, CONVERT_NOTHING},
    {GUID_WICPixelFormat32bppBGRA, CONVERT_ALPHA},
    {GUID_WICPixelFormat32bppPBGRA, CONVERT_ALPHA},
    {GUID_WICPixelFormat32bppRGBA, CONVERT_ALPHA},
    {GUID_WICPixelFormat32bppPRGBA, CONVERT_ALPHA},
    {GUID_WICPixelFormat48bppRGB, CONVERT_DEPTH},
    {GUID_WICPixelFormat64bppRGBA, CONVERT_DEPTH | CONVERT_ALPHA},
    {GUID_WICPixelFormat64bppPRGBA, CONVERT_DEPTH | CONVERT_ALPHA},
    {GUID_WICPixelFormat16bppGray, CONVERT_DEPTH | CONVERT_GREY},
    {GUID_WICPixelFormatBlackWhite, CONVERT_GREY},
    {GUID_WICPixelFormat2bppGray, CONVERT_GREY},
    {GUID_WICPixelFormat4bppGray, CONVERT_GREY},
    {GUID_WICPixelFormat8bppGray, CONVERT_GREY},
    {GUID_WICPixelFormat1bppIndexed, CONVERT_PALETTE},
    {GUID_WICPixelFormat2bppIndexed, CONVERT_PALETTE},
    {GUID_WICPixelFormat4bppIndexed, CONVERT_PALETTE},
    {GUID_WICPixelFormat8bppIndexed, CONVERT_PALETTE},
};

unsigned Conversions(const WICPixelFormatGUID& guid)
{
    for (const PixelForm& form : PIXEL_FORMS)
        if (IsEqualGUID(form.m_guid, guid)) return form.m_uiConversions;
    return CONVERT_COLOURS;
}

// How rows of a pixel form become B, G, R. 16-bit samples are reduced by this program, as on every system: the
// component's own way isn't laid down. Its conversions to 24 bits are few, those to 32 bits many.
enum class ERowForm
{
    Bgr,        // as they are
    BgrAndOne,  // the fourth of 8-bit samples is left out
    Deep,       // 16-bit samples, RowToBgr
    Other       // to be converted to BgrAndOne
};

ERowForm RowForm(const WICPixelFormatGUID& guid)
{
    if (IsEqualGUID(guid, GUID_WICPixelFormat24bppBGR)) return ERowForm::Bgr;
    for (const GUID& guidFour :
         {GUID_WICPixelFormat32bppBGR, GUID_WICPixelFormat32bppBGRA, GUID_WICPixelFormat32bppPBGRA})
        if (IsEqualGUID(guid, guidFour)) return ERowForm::BgrAndOne;
    for (const GUID& guidDeep : {GUID_WICPixelFormat16bppGray, GUID_WICPixelFormat48bppRGB,
                                 GUID_WICPixelFormat64bppRGBA, GUID_WICPixelFormat64bppPRGBA})
        if (IsEqualGUID(guid, guidDeep)) return ERowForm::Deep;
    return ERowForm::Other;
}

unsigned DeepSamples(const WICPixelFormatGUID& guid)
{
    if (IsEqualGUID(guid, GUID_WICPixelFormat16bppGray)) return 1;
    return IsEqualGUID(guid, GUID_WICPixelFormat48bppRGB) ? 3 : 4;
}

class WicReader : public ImageReader
{
public:
    WicReader(const std::filesystem::path& path, EImageFormat eFormat) : m_path(path)
    {
        Guarded([&] {
            MakeWicFactory(m_factory);
            const GUID guidContainer =
                eFormat == EImageFormat::Png ? GUID_ContainerFormatPng : GUID_ContainerFormatTiff;
            ComReference<IWICStream> stream;
            CheckWic(m_factory->CreateStream(stream.Out()), "IWICImagingFactory::CreateStream");
            CheckWic(stream->InitializeFromFilename(path.c_str(), GENERIC_READ), "IWICStream::InitializeFromFilename");
            CheckWic(m_factory->CreateDecoder(guidContainer, nullptr, m_decoder.Out()),
                     "IWICImagingFactory::CreateDecoder");
            CheckWic(m_decoder->Initialize(stream.Get(), WICDecodeMetadataCacheOnDemand),
                     "IWICBitmapDecoder::Initialize");
            CheckWic(m_decoder->GetFrameCount(&m_uiPages), "IWICBitmapDecoder::GetFrameCount");
        });
        if (m_uiPages == 0) RefuseImage(m_path, 0, "no picture in it");
        LookAtPage();
    }

    const ImagePage& Page() const override { return m_page; }

    void Read(unsigned char* pPixels, std::size_t uiWidthBytes) override
    {
        Guarded([&] {
            WICPixelFormatGUID guid{};
            CheckWic(m_frame->GetPixelFormat(&guid), "IWICBitmapFrameDecode::GetPixelFormat");
            switch (RowForm(guid))
            {
            case ERowForm::Bgr:
                return ReadBgr(pPixels, uiWidthBytes);
            case ERowForm::BgrAndOne:
                return ReadBgrAndOne(m_frame.Get(), pPixels, uiWidthBytes);
            case ERowForm::Deep:
                return ReadDeep(DeepSamples(guid), pPixels, uiWidthBytes);
            case ERowForm::Other:
                ComReference<IWICBitmapSource> converted;
                CheckWic(WICConvertBitmapSource(GUID_WICPixelFormat32bppBGRA, m_frame.Get(), converted.Out()),
                         "WICConvertBitmapSource");
                return ReadBgrAndOne(converted.Get(), pPixels, uiWidthBytes);
            }
        });
    }

    bool NextPage() override
    {
        if (m_uiPage + 1 >= m_uiPages) return false;
        ++m_uiPage;
        LookAtPage();
        return true;
    }

private:
    void LookAtPage()
    {
        UINT uiWidth = 0;
        UINT uiHeight = 0;
        WICPixelFormatGUID guid{};
        Guarded([&] {
            CheckWic(m_decoder->GetFrame(m_uiPage, m_frame.Out()), "IWICBitmapDecoder::GetFrame");
            CheckWic(m_frame->GetSize(&uiWidth, &uiHeight), "IWICBitmapFrameDecode::GetSize");
            CheckWic(m_frame->GetPixelFormat(&guid), "IWICBitmapFrameDecode::GetPixelFormat");
        });
        m_page.m_size = CheckedSize(m_path, m_uiPage, uiWidth, uiHeight);
        m_page.m_uiConversions = Conversions(guid);
    }

    void ReadBgr(unsigned char* pPixels, std::size_t uiWidthBytes) const
    {
        ForEachRow(m_frame.Get(), 3, [&](std::uint32_t uiRow, const std::vector<unsigned char>& vRow) {
            std::copy(vRow.begin(), vRow.end(), pPixels + uiRow * uiWidthBytes);
        });
    }

    void ReadBgrAndOne(IWICBitmapSource* pSource, unsigned char* pPixels, std::size_t uiWidthBytes) const
    {
        ForEachRow(pSource, 4, [&](std::uint32_t uiRow, const std::vector<unsigned char>& vRow) {
            unsigned char* pBgr = pPixels + uiRow * uiWidthBytes;
            for (std::size_t i = 0; i < vRow.size(); i += 4, pBgr += 3)
                std::copy_n(vRow.data() + i, 3, pBgr);
        });
    }

    void ReadDeep(unsigned uiSamples, unsigned char* pPixels, std::size_t uiWidthBytes) const
    {
        ForEachRow(m_frame.Get(), 2 * uiSamples, [&](std::uint32_t uiRow, const std::vector<unsigned char>& vRow) {
            RowToBgr({16, uiSamples}, vRow.data(), m_page.m_size.m_uiWidth, pPixels + uiRow * uiWidthBytes);
        });
    }

    template <class TTake>
    void ForEachRow(IWICBitmapSource* pSource, unsigned uiPixelBytes, TTake take) const
    {
        const auto [uiWidth, uiHeight] = m_page.m_size;
        std::vector<unsigned char> vRow(std::size_t{uiPixelBytes} * uiWidth);
        for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        {
            const WICRect row{0, static_cast<INT>(uiRow), static_cast<INT>(uiWidth), 1};
            const auto uiBytes = static_cast<UINT>(vRow.size());
            CheckWic(pSource->CopyPixels(&row, uiBytes, uiBytes, vRow.data()), "IWICBitmapSource::CopyPixels");
            take(uiRow, vRow);
        }
    }

    // Runs the calls, and says of which file a failure is.
    template <class TCalls>
    void Guarded(TCalls calls) const
    {
        try
        {
            calls();
        }
        catch (const std::runtime_error& e)
        {
            RefuseImage(m_path, m_uiPage, e.what());
        }
    }

    std::filesystem::path m_path;
    ComReference<IWICImagingFactory> m_factory;
    ComReference<IWICBitmapDecoder> m_decoder;
    ComReference<IWICBitmapFrameDecode> m_frame;
    UINT m_uiPages = 0;
    std::uint32_t m_uiPage = 0;
    ImagePage m_page{};
};

}  // namespace

std::unique_ptr<ImageReader> OpenImageOfKind(const std::filesystem::path& path, EImageFormat eFormat)
{
    return std::make_unique<WicReader>(path, eFormat);
}

}  // namespace qmhost
