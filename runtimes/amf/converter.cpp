#include "runtimes/amf/converter.h"

#include "runtimes/amf/surface.h"
#include "runtimes/common/colour.h"

namespace amfruntime
{
namespace
{

constexpr ComponentCalls c_calls = {
    AMF_CALL_CONVERTER_SET_PROPERTY, AMF_CALL_CONVERTER_GET_PROPERTY, AMF_CALL_CONVERTER_INIT,
    AMF_CALL_CONVERTER_REINIT,       AMF_CALL_CONVERTER_TERMINATE,    AMF_CALL_CONVERTER_DRAIN,
    AMF_CALL_CONVERTER_FLUSH,        AMF_CALL_CONVERTER_SUBMIT_INPUT, AMF_CALL_CONVERTER_QUERY_OUTPUT};

std::span<const KnownProperty> KnownProperties()
{
    using namespace AmfConverterProperty;
    const auto number = [](std::int64_t n) { return PropertyValue::Of(n); };
    static const KnownProperty s_known[] = {
        {OutputFormat, number(AMF_SURFACE_NV12), AMF_VARIANT_INT64, AMF_SURFACE_UNKNOWN, AMF_SURFACE_UYVY},
        {MemoryType, number(AMF_MEMORY_UNKNOWN), AMF_VARIANT_INT64, AMF_MEMORY_UNKNOWN, AMF_MEMORY_VULKAN},
        {ComputeDevice, number(AMF_MEMORY_UNKNOWN), AMF_VARIANT_INT64, AMF_MEMORY_UNKNOWN, AMF_MEMORY_VULKAN},
        {OutputSize, PropertyValue::Of(AMFSize{0, 0}), AMF_VARIANT_SIZE},
        {ColorProfile, number(AMF_VIDEO_CONVERTER_COLOR_PROFILE_UNKNOWN), AMF_VARIANT_INT64,
         AMF_VIDEO_CONVERTER_COLOR_PROFILE_UNKNOWN, AMF_VIDEO_CONVERTER_COLOR_PROFILE_JPEG},
    };
    return s_known;
}

// Everything that isn't here is refused by Init.
void CheckSettings(const PropertyMap& properties, AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
{
    using namespace AmfConverterProperty;
    if (eFormat != AMF_SURFACE_BGRA && eFormat != AMF_SURFACE_NV12)
    {
        throw InitError(AMF_SURFACE_FORMAT_NOT_SUPPORTED);
    }
    if (nWidth <= 0 || nHeight <= 0 || ((nWidth | nHeight) & 1) != 0)
    {
        throw InitError(AMF_INVALID_RESOLUTION);
    }
    if (FindNumber(properties, OutputFormat) != AMF_SURFACE_NV12)
    {
        throw InitError(AMF_SURFACE_FORMAT_NOT_SUPPORTED);
    }
    const std::int64_t nMemory = FindNumber(properties, MemoryType).value_or(AMF_MEMORY_UNKNOWN);
    const std::int64_t nColour = FindNumber(properties, ColorProfile).value_or(-1);
    const bool bColour =
        nColour == AMF_VIDEO_CONVERTER_COLOR_PROFILE_UNKNOWN || nColour == AMF_VIDEO_CONVERTER_COLOR_PROFILE_601;
    if ((nMemory != AMF_MEMORY_UNKNOWN && nMemory != AMF_MEMORY_DX9) || !bColour)
    {
        throw InitError(AMF_NOT_SUPPORTED);
    }
    const AMFSize size = properties.at(OutputSize).Get().sizeValue;
    const bool bScales = (size.width != 0 || size.height != 0) && (size.width != nWidth || size.height != nHeight);
    if (bScales)
    {
        throw InitError(AMF_NOT_SUPPORTED);
    }
}

AMF_RESULT ConvertPicture(const NativePicture& source, AMF_SURFACE_FORMAT eFormat, const NativePicture& target)
{
    const runtimes::SurfaceLock from(source.pSurface, D3DLOCK_READONLY);
    const runtimes::SurfaceLock to(target.pSurface, 0);
    if (!from || !to)
    {
        return AMF_DIRECTX_FAILED;
    }
    const auto uiPitch = static_cast<std::size_t>(to.Pitch());
    const runtimes::Nv12View view{to.Bits(), to.Row(target.uiRowsToChroma), uiPitch, uiPitch};
    if (eFormat == AMF_SURFACE_BGRA)
    {
        runtimes::ConvertBgraToNv12(from.Bits(), from.Pitch(), source.uiWidth, source.uiHeight, view);
    }
    else
    {
        runtimes::CopyNv12(from.Bits(), from.Row(source.uiRowsToChroma), from.Pitch(), source.uiWidth, source.uiHeight,
                           view);
    }
    return AMF_OK;
}

class ConverterStream final : public ComponentStream
{
public:
    ConverterStream(Reference<Context> pContext, AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
        : m_pContext(std::move(pContext)), m_eFormat(eFormat), m_nWidth(nWidth), m_nHeight(nHeight)
    {}

    AMF_RESULT Drain() override
    {
        const std::lock_guard lock(m_mutex);
        m_bDraining = true;
        return AMF_OK;
    }

    AMF_RESULT SubmitInput(AMFSurface* pSurface) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_bClosed)
        {
            return OutOfOrder(AMF_NOT_INITIALIZED);
        }
        if (m_bDraining)
        {
            return OutOfOrder(AMF_EOF);
        }
        if (m_pHeld)
        {
            return AMF_INPUT_FULL;
        }
        if (pSurface->GetFormat() != m_eFormat)
        {
            return AMF_INVALID_FORMAT;
        }
        NativePicture source;
        AMF_RESULT eResult = FindNative(pSurface, source);
        if (eResult != AMF_OK)
        {
            return eResult;
        }
        if (source.uiWidth != static_cast<std::uint32_t>(m_nWidth) ||
            source.uiHeight != static_cast<std::uint32_t>(m_nHeight))
        {
            return AMF_INVALID_RESOLUTION;
        }
        AMFSurface* pMade = nullptr;
        eResult = m_pContext->MakeSurface(AMF_SURFACE_NV12, m_nWidth, m_nHeight, &pMade);
        if (eResult != AMF_OK)
        {
            return eResult;
        }
        Reference<AMFSurface> pOutput = Reference<AMFSurface>::Attach(pMade);
        NativePicture target;
        eResult = FindNative(pMade, target);
        eResult = eResult == AMF_OK ? ConvertPicture(source, m_eFormat, target) : eResult;
        if (eResult != AMF_OK)
        {
            return eResult;
        }
        pSurface->AddTo(pMade, true, false);
        pMade->SetPts(pSurface->GetPts());
        pMade->SetDuration(pSurface->GetDuration());
        m_pHeld = std::move(pOutput);
        Script::Get().CountIn(&AmfRuntimeObjects::uiPendingPictures);
        return AMF_OK;
    }

    AMF_RESULT QueryOutput(AMFData** ppData) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_bClosed)
        {
            return OutOfOrder(AMF_NOT_INITIALIZED);
        }
        if (!m_pHeld)
        {
            return m_bDraining ? AMF_EOF : AMF_REPEAT;
        }
        *ppData = m_pHeld.Detach();
        Script::Get().CountOut(&AmfRuntimeObjects::uiPendingPictures);
        return AMF_OK;
    }

    void Close() override
    {
        const std::lock_guard lock(m_mutex);
        m_bClosed = true;
        if (m_pHeld)
        {
            m_pHeld = {};
            Script::Get().CountOut(&AmfRuntimeObjects::uiPendingPictures);
            Script::Get().OnBreach(&AmfRuntimeBreaches::uiPicturesLost);
        }
    }

private:
    const Reference<Context> m_pContext;
    const AMF_SURFACE_FORMAT m_eFormat;
    const amf_int32 m_nWidth;
    const amf_int32 m_nHeight;
    std::mutex m_mutex;
    Reference<AMFSurface> m_pHeld;
    bool m_bDraining = false;
    bool m_bClosed = false;
};

}  // namespace

Converter::Converter(Context* pContext) : Component(pContext, KnownProperties(), c_calls) {}

std::shared_ptr<ComponentStream> Converter::MakeStream(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
{
    CheckSettings(Values(), eFormat, nWidth, nHeight);
    return std::make_shared<ConverterStream>(Reference<Context>(&OwnContext()), eFormat, nWidth, nHeight);
}

}  // namespace amfruntime
