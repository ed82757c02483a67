// MFTEnumEx, and the object that makes what it finds.
#include <mutex>

#include "mfapi.h"
#include "mferror.h"
#include "objbase.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/startup.h"
#include "platform/mediafoundation/with_attributes.h"
#include "platform/mediafoundation/writing/encoder_transform.h"
#include "platform/mediafoundation/writing/h264_encoder.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

class EncoderActivate final
    : public WithAttributes<platform::ComObject<platform::Implements<IMFActivate>, platform::Answers<IMFAttributes>>>
{
public:
    HRESULT STDMETHODCALLTYPE ActivateObject(REFIID riid, void** ppv) override
    {
        if (ppv == nullptr) return E_POINTER;
        *ppv = nullptr;
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::ActivateEncoder);
        if (FAILED(hrScript)) return hrScript;
        const std::lock_guard lock(m_lock);
        const HRESULT hr = m_transform ? S_OK : MakeEncoderTransform(m_transform.Put());
        return FAILED(hr) ? hr : m_transform->QueryInterface(riid, ppv);
    }
    HRESULT STDMETHODCALLTYPE ShutdownObject() override { return DetachObject(); }
    HRESULT STDMETHODCALLTYPE DetachObject() override
    {
        const std::lock_guard lock(m_lock);
        m_transform = nullptr;
        return S_OK;
    }

private:
    std::mutex m_lock;
    ComPtr<IMFTransform> m_transform;
};

bool Matches(const MFT_REGISTER_TYPE_INFO* pWanted, REFGUID subtype)
{
    return pWanted == nullptr || (pWanted->guidMajorType == MFMediaType_Video && pWanted->guidSubtype == subtype);
}

HRESULT MakeList(IMFActivate*** pppList)
{
    auto activate = ComPtr<EncoderActivate>::Attach(new EncoderActivate());
    auto** ppList = static_cast<IMFActivate**>(CoTaskMemAlloc(sizeof(IMFActivate*)));
    if (ppList == nullptr) return E_OUTOFMEMORY;
    ppList[0] = activate.Detach();
    *pppList = ppList;
    return S_OK;
}

}  // namespace
}  // namespace mediafoundation

STDAPI MFTEnumEx(GUID guidCategory, UINT32 Flags, const MFT_REGISTER_TYPE_INFO* pInputType,
                 const MFT_REGISTER_TYPE_INFO* pOutputType, IMFActivate*** pppMFTActivate, UINT32* pnumMFTActivate)
{
    if (pppMFTActivate == nullptr || pnumMFTActivate == nullptr) return E_POINTER;
    *pppMFTActivate = nullptr;
    *pnumMFTActivate = 0;
    HRESULT hr = mediafoundation::RequireStartup();
    if (SUCCEEDED(hr)) hr = mediafoundation::ScriptedResult(MediaWriteCall::FindEncoder);
    if (hr != S_OK) return FAILED(hr) ? hr : S_OK;

    // No flags at all mean the default, synchronous transforms.
    const bool bFound = guidCategory == MFT_CATEGORY_VIDEO_ENCODER && (Flags == 0 || (Flags & MFT_ENUM_FLAG_SYNCMFT)) &&
                        mediafoundation::Matches(pInputType, MFVideoFormat_YUY2) &&
                        mediafoundation::Matches(pOutputType, MFVideoFormat_H264) &&
                        mediafoundation::H264Encoder::IsAvailable();
    if (!bFound) return S_OK;
    hr = mediafoundation::WithoutExceptions([&] { return mediafoundation::MakeList(pppMFTActivate); });
    if (SUCCEEDED(hr)) *pnumMFTActivate = 1;
    return hr;
}
