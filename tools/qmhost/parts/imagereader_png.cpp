// PNG files through libpng.
#include "parts/imagereader_libs.h"

#include <csetjmp>
#include <cstdio>
#include <fstream>

#include <png.h>

namespace qmhost
{
namespace
{

// libpng's two records of a file being read.
struct PngRecords
{
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;

    PngRecords() = default;
    ~PngRecords() { png_destroy_read_struct(&m_pPng, &m_pInfo, nullptr); }
    PngRecords(const PngRecords&) = delete;
    PngRecords& operator=(const PngRecords&) = delete;
};

// libpng leaves a call that fails by a jump to the place that the call's own function marked. Such a function holds
// nothing that has to be destroyed, since the jump would pass it by.
class PngReader : public ImageReader
{
public:
    explicit PngReader(const std::filesystem::path& path) : m_path(path), m_file(path, std::ios::binary)
    {
        m_records.m_pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
        if (m_records.m_pPng) m_records.m_pInfo = png_create_info_struct(m_records.m_pPng);
        if (!m_records.m_pInfo || !ReadHeader(m_records.m_pPng, m_records.m_pInfo)) Refuse();
        m_page.m_size = CheckedSize(m_path, 0, png_get_image_width(m_records.m_pPng, m_records.m_pInfo),
                                    png_get_image_height(m_records.m_pPng, m_records.m_pInfo));
        m_page.m_uiConversions = Conversions(m_records.m_pPng, m_records.m_pInfo);
    }

    const ImagePage& Page() const override { return m_page; }
    void Read(unsigned char* pPixels, std::size_t uiWidthBytes) override
    {
        if (!ReadRows(m_records.m_pPng, m_records.m_pInfo, pPixels, uiWidthBytes)) Refuse();
    }
    bool NextPage() override { return false; }

private:
    static PngReader& Of(png_voidp pReader) { return *static_cast<PngReader*>(pReader); }

    [[noreturn]] static void OnError(png_structp pPng, png_const_charp pszText)
    {
        PngReader& reader = Of(png_get_error_ptr(pPng));
        std::snprintf(reader.m_acError, sizeof reader.m_acError, "%s", pszText);
        png_longjmp(pPng, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}  // what still gives a picture isn't worth a line
    static void OnRead(png_structp pPng, png_bytep pBuffer, std::size_t uiBytes)
    {
        std::ifstream& file = Of(png_get_io_ptr(pPng)).m_file;
        if (!file.read(reinterpret_cast<char*>(pBuffer), static_cast<std::streamsize>(uiBytes)))
            png_error(pPng, "the file ends early");
    }

    bool ReadHeader(png_structp pPng, png_infop pInfo)
    {
        if (setjmp(png_jmpbuf(pPng))) return false;
        png_set_read_fn(pPng, this, OnRead);
        png_read_info(pPng, pInfo);
        return true;
    }

    static unsigned Conversions(png_structp pPng, png_infop pInfo)
    {
        const int nColour = png_get_color_type(pPng, pInfo);
        unsigned uiConversions = CONVERT_NOTHING;
        if (png_get_bit_depth(pPng, pInfo) == 16) uiConversions |= CONVERT_DEPTH;
        if (!(nColour & PNG_COLOR_MASK_COLOR)) uiConversions |= CONVERT_GREY;
        if (nColour & PNG_COLOR_MASK_ALPHA || png_get_valid(pPng, pInfo, PNG_INFO_tRNS)) uiConversions |= CONVERT_ALPHA;
        if (nColour & PNG_COLOR_MASK_PALETTE) uiConversions |= CONVERT_PALETTE;
        return uiConversions;
    }

    bool ReadRows(png_structp pPng, png_infop pInfo, unsigned char* pPixels, std::size_t uiWidthBytes)
    {
        if (setjmp(png_jmpbuf(pPng))) return false;
        png_set_scale_16(pPng);
        png_set_palette_to_rgb(pPng);
        png_set_expand_gray_1_2_4_to_8(pPng);
        png_set_gray_to_rgb(pPng);
        png_set_strip_alpha(pPng);
        png_set_bgr(pPng);
        const int nPasses = png_set_interlace_handling(pPng);
        png_read_update_info(pPng, pInfo);
        if (png_get_rowbytes(pPng, pInfo) != std::size_t{3} * m_page.m_size.m_uiWidth)
            png_error(pPng, "not turned into 24-bit colour");
        for (int nPass = 0; nPass < nPasses; ++nPass)
        {
            for (std::uint32_t uiRow = 0; uiRow < m_page.m_size.m_uiHeight; ++uiRow)
                png_read_row(pPng, pPixels + uiRow * uiWidthBytes, nullptr);
        }
        png_read_end(pPng, nullptr);
        return true;
    }

    [[noreturn]] void Refuse() const { RefuseImage(m_path, 0, m_acError); }

    std::filesystem::path m_path;
    std::ifstream m_file;
    PngRecords m_records;
    ImagePage m_page{};
    char m_acError[160] = "no memory for a picture";
};

}  // namespace

std::unique_ptr<ImageReader> OpenPng(const std::filesystem::path& path)
{
    return std::make_unique<PngReader>(path);
}

}  // namespace qmhost
