#include "decode_image.h"

#include <cstdio>
#include <stdexcept>

#include <png.h>
#include <tiffio.h>
#include <unistd.h>

namespace
{

DecodedImage DecodePng(const std::vector<unsigned char>& bytes)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) throw std::runtime_error(image.message);
    if (image.format != PNG_FORMAT_RGB) throw std::runtime_error("the PNG isn't 24-bit colour");
    image.format = PNG_FORMAT_BGR;
    DecodedImage decoded{image.width, image.height, std::vector<unsigned char>(PNG_IMAGE_SIZE(image))};
    if (!png_image_finish_read(&image, nullptr, decoded.m_vBgr.data(), 0, nullptr))
        throw std::runtime_error(image.message);
    return decoded;
}

// libtiff's own display form: one word a pixel, rows from the bottom unless asked otherwise.
DecodedImage DecodeTiff(const std::vector<unsigned char>& bytes)
{
    std::FILE* const pFile = std::tmpfile();
    std::fwrite(bytes.data(), 1, bytes.size(), pFile);
    std::rewind(pFile);
    TIFF* const pTiff = TIFFFdOpen(dup(fileno(pFile)), "test", "r");
    std::fclose(pFile);
    if (!pTiff) throw std::runtime_error("no TIFF");
    DecodedImage decoded;
    std::uint16_t uiBits = 0;
    std::uint16_t uiSamples = 0;
    TIFFGetField(pTiff, TIFFTAG_IMAGEWIDTH, &decoded.m_uiWidth);
    TIFFGetField(pTiff, TIFFTAG_IMAGELENGTH, &decoded.m_uiHeight);
    TIFFGetField(pTiff, TIFFTAG_BITSPERSAMPLE, &uiBits);
    TIFFGetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, &uiSamples);
    std::vector<std::uint32_t> vWords(std::size_t{decoded.m_uiWidth} * decoded.m_uiHeight);
    const int nRead =
        TIFFReadRGBAImageOriented(pTiff, decoded.m_uiWidth, decoded.m_uiHeight, vWords.data(), ORIENTATION_TOPLEFT, 1);
    const bool bMorePages = TIFFReadDirectory(pTiff) == 1;
    TIFFClose(pTiff);
    if (nRead != 1 || uiBits != 8 || uiSamples != 3 || bMorePages) throw std::runtime_error("the TIFF is another kind");
    for (const std::uint32_t uiWord : vWords)
    {
        for (const std::uint32_t uiByte : {TIFFGetB(uiWord), TIFFGetG(uiWord), TIFFGetR(uiWord)})
            decoded.m_vBgr.push_back(static_cast<unsigned char>(uiByte));
    }
    return decoded;
}

}  // namespace

DecodedImage DecodeImage(const std::vector<unsigned char>& bytes)
{
    return bytes.size() > 1 && bytes[1] == 'P' ? DecodePng(bytes) : DecodeTiff(bytes);
}
