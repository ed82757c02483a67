// IMFMediaType and plain IMFAttributes.
#include "mfapi.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/representation.h"
#include "platform/mediafoundation/with_attributes.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

class Attributes final : public WithAttributes<platform::ComObject<platform::Implements<IMFAttributes>>>
{
};

bool IsRaw(REFGUID subtype)
{
    const GUID aRaw[] = {MFVideoFormat_RGB24, MFVideoFormat_RGB32, MFVideoFormat_ARGB32, MFVideoFormat_YUY2,
                         MFVideoFormat_YVYU,  MFVideoFormat_UYVY,  MFVideoFormat_NV12,   MFVideoFormat_YV12,
                         MFVideoFormat_I420,  MFVideoFormat_IYUV,  MFVideoFormat_AYUV,   MFAudioFormat_PCM};
    for (const GUID& raw : aRaw)
    {
        if (subtype == raw) return true;
    }
    return false;
}

class MediaType final
    : public WithAttributes<platform::ComObject<platform::Implements<IMFMediaType>, platform::Answers<IMFAttributes>>>
{
public:
    HRESULT STDMETHODCALLTYPE GetMajorType(GUID* pguidMajorType) override
    {
        return GetGUID(MF_MT_MAJOR_TYPE, pguidMajorType);
    }

    HRESULT STDMETHODCALLTYPE IsCompressedFormat(BOOL* pfCompressed) override
    {
        if (pfCompressed == nullptr) return E_POINTER;
        GUID subtype = GUID_NULL;
        (void)GetGUID(MF_MT_SUBTYPE, &subtype);
        *pfCompressed = IsRaw(subtype) ? FALSE : TRUE;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE IsEqual(IMFMediaType* pIMediaType, DWORD* pdwFlags) override
    {
        if (pIMediaType == nullptr || pdwFlags == nullptr) return E_INVALIDARG;
        const auto isSame = [&](REFGUID key) {
            GUID ours = GUID_NULL;
            GUID theirs = GUID_NULL;
            return SUCCEEDED(GetGUID(key, &ours)) && SUCCEEDED(pIMediaType->GetGUID(key, &theirs)) && ours == theirs;
        };
        BOOL bSameData = FALSE;
        (void)Compare(pIMediaType, MF_ATTRIBUTES_MATCH_INTERSECTION, &bSameData);
        constexpr DWORD ALL = MF_MEDIATYPE_EQUAL_MAJOR_TYPES | MF_MEDIATYPE_EQUAL_FORMAT_TYPES |
                              MF_MEDIATYPE_EQUAL_FORMAT_DATA | MF_MEDIATYPE_EQUAL_FORMAT_USER_DATA;
        *pdwFlags = (isSame(MF_MT_MAJOR_TYPE) ? MF_MEDIATYPE_EQUAL_MAJOR_TYPES : 0U) |
                    (isSame(MF_MT_SUBTYPE) ? MF_MEDIATYPE_EQUAL_FORMAT_TYPES : 0U) |
                    (bSameData ? MF_MEDIATYPE_EQUAL_FORMAT_DATA | MF_MEDIATYPE_EQUAL_FORMAT_USER_DATA : 0U);
        return *pdwFlags == ALL ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE GetRepresentation(GUID guidRepresentation, LPVOID* ppvRepresentation) override
    {
        if (ppvRepresentation == nullptr) return E_POINTER;
        *ppvRepresentation = nullptr;
        if (guidRepresentation != AM_MEDIA_TYPE_REPRESENTATION) return MF_E_UNSUPPORTED_REPRESENTATION;
        return WithoutExceptions(
            [&] { return MakeRepresentation(this, reinterpret_cast<AM_MEDIA_TYPE**>(ppvRepresentation)); });
    }

    HRESULT STDMETHODCALLTYPE FreeRepresentation(GUID guidRepresentation, LPVOID pvRepresentation) override
    {
        if (guidRepresentation != AM_MEDIA_TYPE_REPRESENTATION) return MF_E_UNSUPPORTED_REPRESENTATION;
        mediafoundation::FreeRepresentation(static_cast<AM_MEDIA_TYPE*>(pvRepresentation));
        return S_OK;
    }
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateMediaType(IMFMediaType** ppMFType)
{
    if (ppMFType == nullptr) return E_POINTER;
    const HRESULT hrScript = mediafoundation::ScriptedResult(MediaWriteCall::CreateMediaType);
    if (FAILED(hrScript)) return hrScript;
    return mediafoundation::WithoutExceptions([&] {
        *ppMFType = new mediafoundation::MediaType();
        return S_OK;
    });
}

STDAPI MFCreateAttributes(IMFAttributes** ppMFAttributes, UINT32)
{
    if (ppMFAttributes == nullptr) return E_POINTER;
    return mediafoundation::WithoutExceptions([&] {
        *ppMFAttributes = new mediafoundation::Attributes();
        return S_OK;
    });
}
