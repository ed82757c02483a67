#include "parts/imagefile.h"

#include <string>

namespace qmhost
{

std::string_view FileExtension(EImageFormat eFormat)
{
    return eFormat == EImageFormat::Png ? "png" : "tif";
}

std::optional<EImageFormat> ImageFormatOf(std::string_view fileName)
{
    std::string strLower(fileName);
    for (char& c : strLower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (strLower.ends_with(".png")) return EImageFormat::Png;
    if (strLower.ends_with(".tif") || strLower.ends_with(".tiff")) return EImageFormat::Tiff;
    return std::nullopt;
}

}  // namespace qmhost
