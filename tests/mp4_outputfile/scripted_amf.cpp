#include "scripted_amf.h"

#include <cwchar>

namespace
{
std::string Narrow(const wchar_t* pwszText)
{
    return std::string(pwszText, pwszText + std::wcslen(pwszText));
}

std::string Sizes(amf_int32 nWidth, amf_int32 nHeight)
{
    return std::to_string(nWidth) + ", " + std::to_string(nHeight);
}

class CPlane : public IdlePlane
{
public:
    void* GetNative() override { return m_pNative; }
    amf_int32 GetHeight() override { return m_nHeight; }

    IDirect3DSurface9* m_pNative = nullptr;
    amf_int32 m_nHeight = 0;
};

class CSurface : public IdleAmfSurface
{
public:
    CSurface(ScriptedAmf& amf, AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
        : m_amf(amf), m_living(amf.m_nLiving), m_eFormat(eFormat)
    {
        const bool bNv12 = eFormat == AMF_SURFACE_NV12;
        m_aPlanes[0].m_nHeight = nHeight;
        m_aPlanes[1].m_nHeight = nHeight / 2;
        if (!(bNv12 ? amf.m_bNativeNv12 : amf.m_bNativeBgra)) return;
        const amf_int32 nRows = bNv12 ? nHeight + nHeight / 2 : nHeight;
        amf.m_d3d.CreateSurface(static_cast<UINT>(nWidth), static_cast<UINT>(nRows), &m_pNative);
        for (CPlane& plane : m_aPlanes)
            plane.m_pNative = m_pNative;
    }
    ~CSurface() override
    {
        if (m_pNative != nullptr) m_pNative->Release();
    }

    AMF_SURFACE_FORMAT GetFormat() override { return m_eFormat; }
    amf_size GetPlanesCount() override { return m_eFormat == AMF_SURFACE_NV12 ? 2 : 1; }
    AMFPlane* GetPlaneAt(amf_size index) override { return index < GetPlanesCount() ? &m_aPlanes[index] : nullptr; }
    AMF_RESULT SetProperty(const wchar_t* name, AMFVariantStruct value) override
    {
        if (value.type == AMF_VARIANT_INT64) m_amf.m_vStartTimes.push_back(value.int64Value);
        return m_amf.Note("surface.SetProperty", Narrow(name));
    }
    AMF_RESULT CopySurfaceRegion(AMFSurface* pDest, amf_int32 dstX, amf_int32 dstY, amf_int32 srcX, amf_int32 srcY,
                                 amf_int32 width, amf_int32 height) override
    {
        return m_amf.Note("surface.CopySurfaceRegion", std::to_string(pDest->GetFormat()) + ", " + Sizes(dstX, dstY) +
                                                           ", " + Sizes(srcX, srcY) + ", " + Sizes(width, height));
    }

private:
    ScriptedAmf& m_amf;
    CLiving m_living;
    AMF_SURFACE_FORMAT m_eFormat;
    CPlane m_aPlanes[2];
    IDirect3DSurface9* m_pNative = nullptr;
};

class CContext : public IdleContext
{
public:
    explicit CContext(ScriptedAmf& amf) : m_amf(amf), m_living(amf.m_nLiving) {}

    AMF_RESULT Terminate() override { return m_amf.Note("context.Terminate"); }
    AMF_RESULT InitDX9(void* pDX9Device) override
    {
        return m_amf.Note("context.InitDX9", pDX9Device == nullptr ? "null" : "set");
    }
    void* GetDX9Device(AMF_DX_VERSION required) override
    {
        m_amf.Note("context.GetDX9Device", std::to_string(required));
        return m_amf.m_bDevice ? static_cast<IDirect3DDevice9*>(&m_amf.m_d3d.m_device) : nullptr;
    }
    AMF_RESULT AllocSurface(AMF_MEMORY_TYPE type, AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                            AMFSurface** ppSurface) override
    {
        const AMF_RESULT eResult =
            m_amf.Note(format == AMF_SURFACE_NV12 ? "context.AllocSurface NV12" : "context.AllocSurface BGRA",
                       std::to_string(type) + ", " + std::to_string(format) + ", " + Sizes(width, height));
        const bool bGives = format == AMF_SURFACE_NV12 ? m_amf.m_bNv12Surface.load() : m_amf.m_bBgraSurface;
        if (eResult == AMF_OK && bGives) *ppSurface = new CSurface(m_amf, format, width, height);
        return eResult;
    }

private:
    ScriptedAmf& m_amf;
    CLiving m_living;
};

class CConverter : public IdleComponent
{
public:
    explicit CConverter(ScriptedAmf& amf) : m_amf(amf), m_living(amf.m_nLiving) {}
    ~CConverter() override
    {
        if (m_pHeld != nullptr) m_pHeld->Release();
    }

    AMF_RESULT SetProperty(const wchar_t* name, AMFVariantStruct value) override
    {
        return m_amf.Note("converter.SetProperty", Narrow(name) + ", " + TextOf(value));
    }
    AMF_RESULT Init(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height) override
    {
        return m_amf.Note("converter.Init", std::to_string(format) + ", " + Sizes(width, height));
    }
    AMF_RESULT Terminate() override { return m_amf.Note("converter.Terminate"); }
    AMF_RESULT Drain() override { return m_amf.Note("converter.Drain"); }
    AMF_RESULT SubmitInput(AMFData* pData) override
    {
        const AMF_RESULT eResult = m_amf.Note("converter.SubmitInput");
        if (eResult != AMF_OK) return eResult;
        pData->Acquire();
        if (m_pHeld != nullptr) m_pHeld->Release();
        m_pHeld = pData;
        return AMF_OK;
    }
    AMF_RESULT QueryOutput(AMFData** ppData) override
    {
        const AMF_RESULT eResult = m_amf.Note("converter.QueryOutput");
        if (m_pHeld == nullptr || !m_amf.m_bConverted || eResult != AMF_OK) return AMF_REPEAT;
        *ppData = std::exchange(m_pHeld, nullptr);
        return AMF_OK;
    }

private:
    ScriptedAmf& m_amf;
    CLiving m_living;
    AMFData* m_pHeld = nullptr;  // one reference
};

// The encoder as a component of the factory.
class CCountedEncoder : public ScriptedEncoder
{
public:
    explicit CCountedEncoder(ScriptedAmf& amf) : ScriptedEncoder(amf), m_living(amf.m_nLiving) {}

private:
    CLiving m_living;
};
}  // namespace

std::string TextOf(const AMFVariantStruct& value)
{
    switch (value.type)
    {
    case AMF_VARIANT_INT64:
        return "int64 " + std::to_string(value.int64Value);
    case AMF_VARIANT_SIZE:
        return "size " + std::to_string(value.sizeValue.width) + " x " + std::to_string(value.sizeValue.height);
    case AMF_VARIANT_RATE:
        return "rate " + std::to_string(value.rateValue.num) + "/" + std::to_string(value.rateValue.den);
    default:
        return "type " + std::to_string(value.type);
    }
}

// --- the factory

AMF_RESULT ScriptedAmf::CreateContext(AMFContext** ppContext)
{
    const AMF_RESULT eResult = Note("CreateContext");
    if (eResult == AMF_OK && m_bContext) *ppContext = new CContext(*this);
    return eResult;
}

AMF_RESULT ScriptedAmf::CreateComponent(AMFContext* pContext, const wchar_t* pwszId, AMFComponent** ppComponent)
{
    const std::string strId = Narrow(pwszId);
    const AMF_RESULT eResult = Note("CreateComponent " + strId, pContext == nullptr ? "null" : "context");
    if (eResult != AMF_OK) return eResult;
    if (strId == "AMFVideoConverter")
    {
        if (m_bConverter) *ppComponent = new CConverter(*this);
        return AMF_OK;
    }
    if (strId != "AMFVideoEncoderVCE_AVC") return AMF_NOT_FOUND;
    if (m_bEncoder) *ppComponent = new CCountedEncoder(*this);
    return AMF_OK;
}

// --- the calls

void ScriptedAmf::Fail(const std::string& strCall, int nCall, AMF_RESULT eResult)
{
    const std::lock_guard lock(m_mutexCalls);
    m_mapFailures[{strCall, nCall}] = eResult;
}

std::vector<std::string> ScriptedAmf::GetCalls() const
{
    const std::lock_guard lock(m_mutexCalls);
    return m_vCalls;
}

int ScriptedAmf::Count(const std::string& strCall) const
{
    const std::lock_guard lock(m_mutexCalls);
    const auto it = m_mapCounts.find(strCall);
    return it == m_mapCounts.end() ? 0 : it->second;
}

AMF_RESULT ScriptedAmf::Note(const std::string& strName, const std::string& strValues)
{
    if (m_funcCalled) m_funcCalled(strName);
    const std::lock_guard lock(m_mutexCalls);
    m_vCalls.push_back(strName + "(" + strValues + ")");
    const int nCall = ++m_mapCounts[strName];
    for (const int n : {0, nCall})
    {
        const auto it = m_mapFailures.find({strName, n});
        if (it != m_mapFailures.end()) return it->second;
    }
    return AMF_OK;
}

// --- the encoder

AMF_RESULT ScriptedEncoder::SetProperty(const wchar_t* name, AMFVariantStruct value)
{
    return m_amf.Note("encoder.SetProperty", Narrow(name) + ", " + TextOf(value));
}

AMF_RESULT ScriptedEncoder::Init(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height)
{
    return m_amf.Note("encoder.Init", std::to_string(format) + ", " + Sizes(width, height));
}

// What it still holds is gone then.
AMF_RESULT ScriptedEncoder::Terminate()
{
    const std::lock_guard lock(m_amf.m_mutex);
    for (ScriptedBuffer* pBuffer : m_amf.m_vHeld)
        pBuffer->Release();
    m_amf.m_vHeld.clear();
    m_amf.m_nPictures = 0;
    m_amf.m_bDrained = false;
    return m_amf.Note("encoder.Terminate");
}

AMF_RESULT ScriptedEncoder::Drain()
{
    const AMF_RESULT eResult = m_amf.Note("encoder.Drain");
    if (eResult == AMF_INPUT_FULL && m_amf.m_funcFull) m_amf.m_funcFull();
    const std::lock_guard lock(m_amf.m_mutex);
    if (eResult == AMF_OK) m_amf.m_bDrained = true;
    return eResult;
}

AMF_RESULT ScriptedEncoder::SubmitInput(AMFData* pData)
{
    const AMF_RESULT eResult = m_amf.Note("encoder.SubmitInput");
    if (eResult == AMF_INPUT_FULL && m_amf.m_funcFull) m_amf.m_funcFull();
    if (eResult != AMF_OK) return eResult;
    {
        const std::lock_guard lock(m_amf.m_mutex);
        if (m_amf.m_vHeld.size() < m_amf.m_uiPlaces)
        {
            const int nPicture = m_amf.m_nPictures++;
            auto* const pBuffer = new ScriptedBuffer(m_amf.m_nLiving, m_amf.m_funcPacket(nPicture));
            if (m_amf.m_funcBuffer) m_amf.m_funcBuffer(*pBuffer, nPicture);
            m_amf.m_vHeld.push_back(pBuffer);
            const auto* const pNative =
                static_cast<MemorySurface*>(static_cast<AMFSurface*>(pData)->GetPlaneAt(0)->GetNative());
            m_amf.m_vSubmitted.push_back(pNative == nullptr ? Bytes() : pNative->GetRow(0));
            return AMF_OK;
        }
    }
    if (m_amf.m_funcFull) m_amf.m_funcFull();
    return AMF_INPUT_FULL;
}

AMF_RESULT ScriptedEncoder::QueryOutput(AMFData** ppData)
{
    ++m_amf.m_nQueries;
    {
        const std::lock_guard lock(m_amf.m_mutex);
        if (!m_amf.m_vHeld.empty() && m_amf.m_bGives)
        {
            *ppData = m_amf.m_vHeld.front();
            m_amf.m_vHeld.pop_front();
            ++m_amf.m_nGiven;
            return AMF_OK;
        }
        if (m_amf.m_bDrained && m_amf.m_bEnds && m_amf.m_vHeld.empty()) return AMF_EOF;
    }
    if (m_amf.m_funcEmpty) m_amf.m_funcEmpty();
    return AMF_REPEAT;
}

// --- its output

AMF_RESULT ScriptedBuffer::QueryInterface(const AMFGuid& interfaceID, void** ppInterface)
{
    if (!m_bBuffer && interfaceID == AMFBuffer::IID()) return AMF_NO_INTERFACE;
    return IdleBuffer::QueryInterface(interfaceID, ppInterface);
}

AMF_RESULT ScriptedBuffer::GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const
{
    return m_funcGetProperty ? m_funcGetProperty(name, pValue) : AMF_NOT_FOUND;
}
