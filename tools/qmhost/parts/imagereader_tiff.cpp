// TIFF files through libtiff.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include <tiffio.h>

#include "parts/imagereader_libs.h"

namespace qmhost
{
namespace
{

// libtiff reports errors to one function of the process.
thread_local char t_acError[200];

void KeepError(const char*, const char* pszFormat, va_list arguments)
{
    std::vsnprintf(t_acError, sizeof t_acError, pszFormat, arguments);
}

// The tags that decide how a page is read, as the page has them or as they are when absent.
struct PageTags
{
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;
    std::uint16_t m_uiBits = 1;
    std::uint16_t m_uiSamples = 1;
    std::uint16_t m_uiFormat = SAMPLEFORMAT_UINT;
    std::uint16_t m_uiPhotometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t m_uiPlanes = PLANARCONFIG_CONTIG;
    std::uint16_t m_uiOrientation = ORIENTATION_TOPLEFT;

    explicit PageTags(TIFF* pTiff)
    {
        TIFFGetField(pTiff, TIFFTAG_IMAGEWIDTH, &m_uiWidth);
        TIFFGetField(pTiff, TIFFTAG_IMAGELENGTH, &m_uiHeight);
        TIFFGetFieldDefaulted(pTiff, TIFFTAG_BITSPERSAMPLE, &m_uiBits);
        TIFFGetFieldDefaulted(pTiff, TIFFTAG_SAMPLESPERPIXEL, &m_uiSamples);
        TIFFGetFieldDefaulted(pTiff, TIFFTAG_SAMPLEFORMAT, &m_uiFormat);
        TIFFGetField(pTiff, TIFFTAG_PHOTOMETRIC, &m_uiPhotometric);
        TIFFGetFieldDefaulted(pTiff, TIFFTAG_PLANARCONFIG, &m_uiPlanes);
        TIFFGetFieldDefaulted(pTiff, TIFFTAG_ORIENTATION, &m_uiOrientation);
    }

    bool IsGrey() const
    {
        return m_uiPhotometric == PHOTOMETRIC_MINISBLACK || m_uiPhotometric == PHOTOMETRIC_MINISWHITE;
    }
    std::uint16_t ColourSamples() const
    {
        if (IsGrey() || m_uiPhotometric == PHOTOMETRIC_PALETTE) return 1;
        return m_uiPhotometric == PHOTOMETRIC_SEPARATED ? 4 : 3;
    }
    // Rows that need no more than RowToBgr.
    bool ArePlainSamples() const
    {
        const bool bColour = m_uiPhotometric == PHOTOMETRIC_RGB && m_uiSamples >= 3;
        const bool bGrey = m_uiPhotometric == PHOTOMETRIC_MINISBLACK;
        const bool bInterleaved = m_uiPlanes == PLANARCONFIG_CONTIG || m_uiSamples == 1;
        return (bColour || bGrey) && (m_uiBits == 8 || m_uiBits == 16) && m_uiFormat == SAMPLEFORMAT_UINT &&
               bInterleaved && m_uiOrientation == ORIENTATION_TOPLEFT;
    }
    // A grey row has only one meaningful sample, whatever follows it.
    SampleLayout Layout() const { return {m_uiBits, m_uiSamples}; }
};

unsigned Conversions(const PageTags& tags)
{
    unsigned uiConversions = CONVERT_NOTHING;
    if (tags.m_uiBits > 8) uiConversions |= CONVERT_DEPTH;
    if (tags.IsGrey()) uiConversions |= CONVERT_GREY;
    if (tags.m_uiSamples > tags.ColourSamples()) uiConversions |= CONVERT_ALPHA;
    if (tags.m_uiPhotometric == PHOTOMETRIC_PALETTE) uiConversions |= CONVERT_PALETTE;
    if (!tags.IsGrey() && tags.m_uiPhotometric != PHOTOMETRIC_PALETTE && tags.m_uiPhotometric != PHOTOMETRIC_RGB)
        uiConversions |= CONVERT_COLOURS;
    return uiConversions;
}

class TiffReader : public ImageReader
{
public:
    explicit TiffReader(const std::filesystem::path& path) : m_path(path)
    {
        TIFFSetErrorHandler(KeepError);
        TIFFSetWarningHandler(nullptr);  // what still gives a picture isn't worth a line
        t_acError[0] = '\0';
        m_pTiff.reset(TIFFOpen(path.c_str(), "rm"));  // m: read, not mapped, or a file cut short meanwhile is a crash
        if (!m_pTiff) Refuse();
        LookAtPage();
    }

    const ImagePage& Page() const override { return m_page; }

    void Read(unsigned char* pPixels, std::size_t uiWidthBytes) override
    {
        t_acError[0] = '\0';
        const PageTags tags(m_pTiff.get());
        if (!tags.ArePlainSamples())
        {
            ReadByLibrary(pPixels, uiWidthBytes);
        }
        else if (TIFFIsTiled(m_pTiff.get()))
        {
            ReadTiles(tags, pPixels, uiWidthBytes);
        }
        else
        {
            ReadRows(tags, pPixels, uiWidthBytes);
        }
    }

    bool NextPage() override
    {
        t_acError[0] = '\0';
        if (TIFFLastDirectory(m_pTiff.get())) return false;
        ++m_uiPage;
        if (TIFFReadDirectory(m_pTiff.get()) != 1) Refuse();
        LookAtPage();
        return true;
    }

private:
    void LookAtPage()
    {
        const PageTags tags(m_pTiff.get());
        m_page.m_size = CheckedSize(m_path, m_uiPage, tags.m_uiWidth, tags.m_uiHeight);
        m_page.m_uiConversions = Conversions(tags);
        char acReason[1024] = "";
        if (!tags.ArePlainSamples() && !TIFFRGBAImageOK(m_pTiff.get(), acReason))
            RefuseImage(m_path, m_uiPage, acReason);
    }

    void ReadRows(const PageTags& tags, unsigned char* pPixels, std::size_t uiWidthBytes)
    {
        std::vector<unsigned char> vRow(BufferSize(TIFFScanlineSize64(m_pTiff.get()), tags, tags.m_uiWidth));
        for (std::uint32_t uiRow = 0; uiRow < tags.m_uiHeight; ++uiRow)
        {
            if (TIFFReadScanline(m_pTiff.get(), vRow.data(), uiRow, 0) != 1) Refuse();
            RowToBgr(tags.Layout(), vRow.data(), tags.m_uiWidth, pPixels + uiRow * uiWidthBytes);
        }
    }

    void ReadTiles(const PageTags& tags, unsigned char* pPixels, std::size_t uiWidthBytes)
    {
        std::uint32_t uiTileWidth = 0;
        std::uint32_t uiTileHeight = 0;
        TIFFGetField(m_pTiff.get(), TIFFTAG_TILEWIDTH, &uiTileWidth);
        TIFFGetField(m_pTiff.get(), TIFFTAG_TILELENGTH, &uiTileHeight);
        CheckedSize(m_path, m_uiPage, uiTileWidth, uiTileHeight);
        const std::size_t uiTileRow = TIFFTileRowSize64(m_pTiff.get());
        std::vector<unsigned char> vTile(
            BufferSize(TIFFTileSize64(m_pTiff.get()), tags, std::size_t{uiTileWidth} * uiTileHeight));
        for (std::uint32_t uiTop = 0; uiTop < tags.m_uiHeight; uiTop += uiTileHeight)
        {
            for (std::uint32_t uiLeft = 0; uiLeft < tags.m_uiWidth; uiLeft += uiTileWidth)
            {
                if (TIFFReadTile(m_pTiff.get(), vTile.data(), uiLeft, uiTop, 0, 0) < 0) Refuse();
                const std::uint32_t uiWidth = std::min(uiTileWidth, tags.m_uiWidth - uiLeft);
                const std::uint32_t uiHeight = std::min(uiTileHeight, tags.m_uiHeight - uiTop);
                for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
                {
                    RowToBgr(tags.Layout(), vTile.data() + uiRow * uiTileRow, uiWidth,
                             pPixels + (uiTop + uiRow) * uiWidthBytes + std::size_t{3} * uiLeft);
                }
            }
        }
    }

    // Bytes that libtiff fills, held against what the tags say of so many pixels.
    std::size_t BufferSize(std::uint64_t uiSize, const PageTags& tags, std::size_t uiPixels) const
    {
        if (uiSize != std::uint64_t{uiPixels} * tags.m_uiSamples * (tags.m_uiBits / 8))
            RefuseImage(m_path, m_uiPage, "its rows have an unexpected size");
        return static_cast<std::size_t>(uiSize);
    }

    // What isn't plain, in libtiff's own display form: one word a pixel.
    void ReadByLibrary(unsigned char* pPixels, std::size_t uiWidthBytes)
    {
        const PictureSize size = m_page.m_size;
        DisclaimAlpha();
        std::vector<std::uint32_t> vWords(std::size_t{size.m_uiWidth} * size.m_uiHeight);
        if (TIFFReadRGBAImageOriented(m_pTiff.get(), size.m_uiWidth, size.m_uiHeight, vWords.data(),
                                      ORIENTATION_TOPLEFT, 1) != 1)
            Refuse();
        const std::uint32_t* pWord = vWords.data();
        for (std::uint32_t uiRow = 0; uiRow < size.m_uiHeight; ++uiRow)
        {
            unsigned char* pBgr = pPixels + uiRow * uiWidthBytes;
            for (std::uint32_t i = 0; i < size.m_uiWidth; ++i, ++pWord, pBgr += 3)
            {
                pBgr[0] = static_cast<unsigned char>(TIFFGetB(*pWord));
                pBgr[1] = static_cast<unsigned char>(TIFFGetG(*pWord));
                pBgr[2] = static_cast<unsigned char>(TIFFGetR(*pWord));
            }
        }
    }

    // libtiff would darken colours by an alpha that isn't multiplied in yet, so the page is read as if it were. This
    // changes nothing in the file.
    void DisclaimAlpha()
    {
        std::uint16_t uiCount = 0;
        std::uint16_t* puiKinds = nullptr;
        if (!TIFFGetField(m_pTiff.get(), TIFFTAG_EXTRASAMPLES, &uiCount, &puiKinds) || uiCount == 0) return;
        const std::vector<std::uint16_t> vKinds(uiCount, EXTRASAMPLE_ASSOCALPHA);
        TIFFSetField(m_pTiff.get(), TIFFTAG_EXTRASAMPLES, uiCount, vKinds.data());
    }

    [[noreturn]] void Refuse() const
    {
        RefuseImage(m_path, m_uiPage, t_acError[0] ? t_acError : "libtiff gives no reason");
    }

    std::filesystem::path m_path;
    std::unique_ptr<TIFF, void (*)(TIFF*)> m_pTiff{nullptr, TIFFClose};
    std::uint32_t m_uiPage = 0;
    ImagePage m_page{};
};

}  // namespace

std::unique_ptr<ImageReader> OpenTiff(const std::filesystem::path& path)
{
    return std::make_unique<TiffReader>(path);
}

}  // namespace qmhost
