#include "mp4filesimpl/preview.h"

#include <cstring>

#include "hostapi/hostpicbase.h"
#include "hostapi/hostpicture.h"

namespace
{

constexpr unsigned int STRETCH_MODE = 3;
constexpr double DARKEST_LEFT_OUT = 0.0;
constexpr double BRIGHTEST_LEFT_OUT = 0.001;

// A picture for intermediate results.
class CWorkPicture
{
public:
    CWorkPicture() { SQmPicBufAPI_Base::Init(&m_pic); }
    ~CWorkPicture() { SQmPicBufAPI_Base::Free(&m_pic); }
    CWorkPicture(const CWorkPicture&) = delete;
    CWorkPicture& operator=(const CWorkPicture&) = delete;

    // Black pixels: a frame that can't be read leaves them, and nothing of other pictures shows through.
    QmStatus Allocate(std::uint32_t uiWidth, std::uint32_t uiHeight, const SQmImageAttributes& attributes)
    {
        const QmStatus nStatus = SQmPicBufAPI_Base::Reinit(&m_pic, uiWidth, uiHeight, 0, attributes.m_uiBitsSignificant,
                                                           attributes.m_uiComponents, true);
        if (nStatus != QM_OK || m_pic.m_pData == nullptr) return QM_ERR_FAIL;
        std::memset(m_pic.m_pData, 0, m_pic.m_uiSize);
        return QM_OK;
    }

    SQmPicBuf m_pic = {};
};

// Draws pic as 24-bit colour into pBuffer, whose rows follow each other at (3 * (width + 1)) & ~3 bytes.
QmStatus DrawThroughLut(CWorkPicture& picture, std::uint32_t uiBits, bool bAutoContrast, void* pBuffer)
{
    SQmPicBuf& pic = picture.m_pic;
    SQmLut display;
    SQmLut source;
    source.m_uiHead = 0;
    if (bAutoContrast)
    {
        SQmPicBufAPI_Base::GetAutoContrast(nullptr, &source, &pic, DARKEST_LEFT_OUT, BRIGHTEST_LEFT_OUT, true, false);
    }
    SQmPicBufAPI_Base::CreateLutsRGB(&display, nullptr, uiBits, &source, nullptr, true);
    SQmLut::Free(source);

    const std::uint32_t uiPitch = (3 * (pic.m_uiWidth + 1)) & ~3U;
    const std::uint64_t uiPixels = std::uint64_t{pic.m_uiHeight} * pic.m_uiWidth;
    const QmStatus nStatus =
        CQmPicMemAPI_Base::ConvertToTrueColor(pBuffer, uiPitch, pic.m_pData, pic.m_uiComponents, pic.m_uiBits,
                                              pic.m_uiWidthBytes, pic.m_uiWidth, uiPixels, &display);
    SQmLut::Free(display);
    return nStatus;
}

}  // namespace

// The statuses of the reads into work pictures are not examined: a preview of a frame that can't be read is black, and
// the status is the drawing's.
QmStatus MakePreview(const SQmImageAttributes& attributes, std::uint32_t uiWidth, std::uint32_t uiHeight,
                     bool bAutoContrast, void* pBuffer, const std::function<QmStatus(void*)>& fnReadFirstFrame)
{
    const bool bNativeSize = uiWidth == attributes.m_uiWidth && uiHeight == attributes.m_uiHeight;
    if (!bAutoContrast && bNativeSize) return fnReadFirstFrame(pBuffer);

    if (uiWidth == 0 || uiHeight == 0) return QM_ERR_FAIL;
    CWorkPicture wanted;
    if (wanted.Allocate(uiWidth, uiHeight, attributes) != QM_OK) return QM_ERR_FAIL;
    if (bNativeSize)
    {
        fnReadFirstFrame(wanted.m_pic.m_pData);
    }
    else
    {
        CWorkPicture native;
        if (native.Allocate(attributes.m_uiWidth, attributes.m_uiHeight, attributes) != QM_OK) return QM_ERR_FAIL;
        fnReadFirstFrame(native.m_pic.m_pData);
        CQmPicBufAPI::Stretch(&wanted.m_pic, &native.m_pic, STRETCH_MODE);
    }
    return DrawThroughLut(wanted, attributes.m_uiBitsSignificant, bAutoContrast, pBuffer);
}
