// Image files through libpng and libtiff.
#include "parts/imagefile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include <png.h>
#include <tiffio.h>

namespace qmhost
{
namespace
{

std::vector<unsigned char> EncodePng(const PictureView& picture)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.m_uiWidth;
    image.height = picture.m_uiHeight;
    image.format = PNG_FORMAT_BGR;
    image.flags = PNG_IMAGE_FLAG_FAST;  // half the time, for a tenth more bytes

    png_alloc_size_t uiSize = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<unsigned char> bytes(uiSize);
    if (!png_image_write_to_memory(&image, bytes.data(), &uiSize, 0, picture.m_pPixels,
                                   static_cast<png_int_32>(picture.m_uiWidthBytes), nullptr))
        throw std::runtime_error(std::string("libpng: ") + image.message);
    bytes.resize(uiSize);
    return bytes;
}

// A file in memory, as libtiff sees it.
struct MemoryFile
{
    std::vector<unsigned char> m_vBytes;
    std::size_t m_uiPosition = 0;

    static MemoryFile& From(thandle_t hFile) { return *static_cast<MemoryFile*>(hFile); }

    static tmsize_t Read(thandle_t hFile, void* pBuffer, tmsize_t nBytes)
    {
        MemoryFile& file = From(hFile);
        const std::size_t uiThere =
            file.m_uiPosition < file.m_vBytes.size() ? file.m_vBytes.size() - file.m_uiPosition : 0;
        const std::size_t uiBytes = std::min(static_cast<std::size_t>(nBytes), uiThere);
        if (uiBytes > 0) std::memcpy(pBuffer, file.m_vBytes.data() + file.m_uiPosition, uiBytes);
        file.m_uiPosition += uiBytes;
        return static_cast<tmsize_t>(uiBytes);
    }

    // libtiff calls this from C: no exception may leave.
    static tmsize_t Write(thandle_t hFile, void* pBuffer, tmsize_t nBytes) noexcept
    try
    {
        MemoryFile& file = From(hFile);
        const std::size_t uiEnd = file.m_uiPosition + static_cast<std::size_t>(nBytes);
        if (uiEnd > file.m_vBytes.size()) file.m_vBytes.resize(uiEnd);
        if (nBytes > 0)
            std::memcpy(file.m_vBytes.data() + file.m_uiPosition, pBuffer, static_cast<std::size_t>(nBytes));
        file.m_uiPosition = uiEnd;
        return nBytes;
    }
    catch (const std::bad_alloc&)
    {
        return -1;
    }

    static toff_t Seek(thandle_t hFile, toff_t uiOffset, int nOrigin)
    {
        MemoryFile& file = From(hFile);
        if (nOrigin == SEEK_CUR) uiOffset += file.m_uiPosition;
        if (nOrigin == SEEK_END) uiOffset += file.m_vBytes.size();
        file.m_uiPosition = static_cast<std::size_t>(uiOffset);
        return uiOffset;
    }

    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t hFile) { return From(hFile).m_vBytes.size(); }
};

std::vector<unsigned char> EncodeTiff(const PictureView& picture)
{
    MemoryFile file;
    TIFFSetErrorHandler(nullptr);  // the exception reports the error
    std::unique_ptr<TIFF, void (*)(TIFF*)> pTiff(TIFFClientOpen("picture", "w", &file, MemoryFile::Read,
                                                                MemoryFile::Write, MemoryFile::Seek, MemoryFile::Close,
                                                                MemoryFile::Size, nullptr, nullptr),
                                                 TIFFClose);
    if (!pTiff) throw std::runtime_error("libtiff: no memory for a picture");

    TIFF* const p = pTiff.get();
    TIFFSetField(p, TIFFTAG_IMAGEWIDTH, picture.m_uiWidth);
    TIFFSetField(p, TIFFTAG_IMAGELENGTH, picture.m_uiHeight);
    TIFFSetField(p, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(p, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(p, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(p, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(p, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(p, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(p, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(p, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(p, 0));

    std::vector<unsigned char> vRow(std::size_t{3} * picture.m_uiWidth);
    bool bWritten = true;
    for (std::uint32_t uiRow = 0; uiRow < picture.m_uiHeight && bWritten; ++uiRow)
    {
        const unsigned char* pBgr = picture.Row(uiRow);
        for (std::size_t i = 0; i < vRow.size(); i += 3)
        {
            vRow[i] = pBgr[i + 2];
            vRow[i + 1] = pBgr[i + 1];
            vRow[i + 2] = pBgr[i];
        }
        bWritten = TIFFWriteScanline(p, vRow.data(), uiRow, 0) == 1;
    }
    if (!bWritten || TIFFWriteDirectory(p) != 1) throw std::runtime_error("libtiff: no memory for a picture");
    pTiff.reset();  // before the bytes go: it may still write
    return std::move(file.m_vBytes);
}

}  // namespace

std::vector<unsigned char> EncodeImage(const PictureView& picture, EImageFormat eFormat)
{
    return eFormat == EImageFormat::Png ? EncodePng(picture) : EncodeTiff(picture);
}

}  // namespace qmhost
