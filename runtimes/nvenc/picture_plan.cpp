#include "runtimes/nvenc/picture_plan.h"

namespace nvencruntime
{

PicturePlan::PicturePlan(const EncodeSettings& settings)
    : m_uiGopLength(settings.config.gopLength),
      m_uiIdrPeriod(settings.H264().idrPeriod ? settings.H264().idrPeriod : settings.config.gopLength),
      m_bIntraOnly(settings.config.frameIntervalP == 0),
      m_bCallerDecides(settings.params.enablePTD == 0)
{}

void PicturePlan::Restart()
{
    m_bAtStart = true;
}

runtimes::PictureKind PicturePlan::Next(std::uint32_t uiFlags, NV_ENC_PIC_TYPE eWanted)
{
    const runtimes::PictureKind eKind = Decide(uiFlags, eWanted);
    if (eKind == runtimes::PictureKind::Idr)
    {
        m_uiSinceIdr = 0;
    }
    if (eKind == runtimes::PictureKind::Idr || eKind == runtimes::PictureKind::I)
    {
        m_uiSinceIntra = 0;
    }
    m_bAtStart = false;
    ++m_uiSinceIdr;
    ++m_uiSinceIntra;
    return eKind;
}

runtimes::PictureKind PicturePlan::Decide(std::uint32_t uiFlags, NV_ENC_PIC_TYPE eWanted) const
{
    if (m_bAtStart || (uiFlags & NV_ENC_PIC_FLAG_FORCEIDR))
    {
        return runtimes::PictureKind::Idr;
    }
    if (m_bCallerDecides)
    {
        if (eWanted == NV_ENC_PIC_TYPE_IDR)
        {
            return runtimes::PictureKind::Idr;
        }
        return eWanted == NV_ENC_PIC_TYPE_I || (uiFlags & NV_ENC_PIC_FLAG_FORCEINTRA) ? runtimes::PictureKind::I
                                                                                      : runtimes::PictureKind::P;
    }
    if (m_uiIdrPeriod != NVENC_INFINITE_GOPLENGTH && m_uiSinceIdr >= m_uiIdrPeriod)
    {
        return runtimes::PictureKind::Idr;
    }
    const bool bGopEnds = m_uiGopLength != NVENC_INFINITE_GOPLENGTH && m_uiSinceIntra >= m_uiGopLength;
    return bGopEnds || m_bIntraOnly || (uiFlags & NV_ENC_PIC_FLAG_FORCEINTRA) ? runtimes::PictureKind::I
                                                                              : runtimes::PictureKind::Auto;
}

}  // namespace nvencruntime
