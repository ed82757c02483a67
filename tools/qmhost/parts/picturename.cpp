#include "parts/picturename.h"

#include <algorithm>

namespace qmhost
{

std::string PictureName(std::uint32_t uiFrame, std::uint32_t uiCount, std::string_view extension)
{
    const std::string strNumber = std::to_string(uiFrame);
    const std::size_t uiDigits = std::max<std::size_t>(6, std::to_string(uiCount > 0 ? uiCount - 1 : 0).size());
    const std::size_t uiZeros = uiDigits - std::min(uiDigits, strNumber.size());
    return "frame_" + std::string(uiZeros, '0') + strNumber + "." + std::string(extension);
}

}  // namespace qmhost
