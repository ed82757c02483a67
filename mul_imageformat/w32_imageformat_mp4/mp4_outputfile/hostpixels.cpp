#include "mp4_outputfile/hostpixels.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "colour/colourconversion.h"
#include "hostapi/hostpicbase.h"

void WidenHostPicture(void* pTarget, std::ptrdiff_t nTargetPitch, const SHostPicture& picture, std::uint32_t uiWidth,
                      std::uint32_t uiHeight)
{
    const std::uint32_t uiPitch = SQmPicBufAPI_Base::CalcWidthBytes(uiWidth, 8, 3, 4);
    const std::uint64_t uiRowBytes = std::uint64_t{uiWidth} * 3;
    const std::uint64_t uiDescribed =
        std::uint64_t{picture.m_attrSource.m_uiWidthBytes} * picture.m_attrSource.m_uiHeight;

    // Nearly always all rows.
    std::uint32_t uiWhole = 0;
    if (uiPitch != 0 && uiDescribed >= uiRowBytes)
    {
        const std::uint64_t uiRows = (uiDescribed - uiRowBytes) / uiPitch + 1;
        uiWhole = static_cast<std::uint32_t>(std::min<std::uint64_t>(uiHeight, uiRows));
    }
    CopyBgrToBgra(pTarget, nTargetPitch, picture.m_pPixels, uiPitch, uiWidth, uiWhole);
    if (uiWhole == uiHeight) return;

    const auto* const pPixels = static_cast<const std::uint8_t*>(picture.m_pPixels);
    std::vector<std::uint8_t> vRow(static_cast<std::size_t>(uiRowBytes));  // always the row above the next one
    if (uiWhole != 0) std::memcpy(vRow.data(), pPixels + std::uint64_t{uiWhole - 1} * uiPitch, vRow.size());
    for (std::uint32_t uiRow = uiWhole; uiRow < uiHeight; ++uiRow)
    {
        const std::uint64_t uiOffset = std::uint64_t{uiRow} * uiPitch;
        if (uiOffset < uiDescribed)
        {
            std::memcpy(vRow.data(), pPixels + uiOffset,
                        static_cast<std::size_t>(std::min(uiRowBytes, uiDescribed - uiOffset)));
        }
        CopyBgrToBgra(static_cast<std::uint8_t*>(pTarget) + std::ptrdiff_t{uiRow} * nTargetPitch, nTargetPitch,
                      vRow.data(), uiPitch, uiWidth, 1);
    }
}

bool FillSurface(IDirect3DSurface9& surface, const SHostPicture& picture, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    D3DLOCKED_RECT locked{};
    surface.LockRect(&locked, nullptr, 0);
    if (locked.pBits == nullptr) return false;  // a lock that failed gives no place to write to
    try
    {
        WidenHostPicture(locked.pBits, locked.Pitch, picture, uiWidth, uiHeight);
    }
    catch (const std::bad_alloc&)
    {
        surface.UnlockRect();  // a surface that stays locked is never released
        throw;
    }
    surface.UnlockRect();
    return true;
}
