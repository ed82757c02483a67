// Which pictures are key pictures, in the order they are shown.
#pragma once

#include <cstdint>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/common/packet.h"
#include "runtimes/nvenc/settings.h"

namespace nvencruntime
{

class PicturePlan
{
public:
    explicit PicturePlan(const EncodeSettings& settings);

    // The next picture's kind. uiFlags is a set of NV_ENC_PIC_FLAGS; eWanted counts when the caller decides, and is
    // then P, I or IDR. Forced key pictures begin the count again.
    runtimes::PictureKind Next(std::uint32_t uiFlags, NV_ENC_PIC_TYPE eWanted);

    // The next picture begins a stream.
    void Restart();

private:
    runtimes::PictureKind Decide(std::uint32_t uiFlags, NV_ENC_PIC_TYPE eWanted) const;

    std::uint32_t m_uiGopLength;
    std::uint32_t m_uiIdrPeriod;
    bool m_bIntraOnly;
    bool m_bCallerDecides;
    bool m_bAtStart = true;
    std::uint32_t m_uiSinceIntra = 0;
    std::uint32_t m_uiSinceIdr = 0;
};

}  // namespace nvencruntime
