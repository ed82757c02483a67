// IMFSourceResolver: from a path to a source.
#include <string>

#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/file_path.h"
#include "platform/mediafoundation/file_source.h"
#include "platform/mediafoundation/startup.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

HRESULT CreateSource(LPCWSTR pwszPath, IUnknown** ppObject)
{
    std::string path;
    if (!Utf8Path(pwszPath, &path)) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    std::unique_ptr<ContainerFile> file;
    HRESULT hr = ContainerFile::Open(path, &file);
    if (FAILED(hr)) return hr;
    ComPtr<IMFMediaSource> source;
    hr = MakeFileSource(std::move(file), source.Put());
    if (SUCCEEDED(hr)) *ppObject = source.Detach();
    return hr;
}

class SourceResolver final : public platform::ComObject<platform::Implements<IMFSourceResolver>>
{
public:
    HRESULT STDMETHODCALLTYPE CreateObjectFromURL(LPCWSTR pwszURL, DWORD dwFlags, IPropertyStore*,
                                                  MF_OBJECT_TYPE* pObjectType, IUnknown** ppObject) override
    {
        if (pwszURL == nullptr || pObjectType == nullptr || ppObject == nullptr) return E_POINTER;
        *pObjectType = MF_OBJECT_INVALID;
        *ppObject = nullptr;
        if ((dwFlags & MF_RESOLUTION_MEDIASOURCE) == 0) return E_INVALIDARG;
        const HRESULT hr = WithoutExceptions([&] { return CreateSource(pwszURL, ppObject); });
        if (SUCCEEDED(hr)) *pObjectType = MF_OBJECT_MEDIASOURCE;
        return hr;
    }

    // Sources are made of paths, and while the caller waits.
    HRESULT STDMETHODCALLTYPE CreateObjectFromByteStream(IMFByteStream*, LPCWSTR, DWORD, IPropertyStore*,
                                                         MF_OBJECT_TYPE*, IUnknown**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE BeginCreateObjectFromURL(LPCWSTR, DWORD, IPropertyStore*, IUnknown**, IMFAsyncCallback*,
                                                       IUnknown*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EndCreateObjectFromURL(IMFAsyncResult*, MF_OBJECT_TYPE*, IUnknown**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE BeginCreateObjectFromByteStream(IMFByteStream*, LPCWSTR, DWORD, IPropertyStore*,
                                                              IUnknown**, IMFAsyncCallback*, IUnknown*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EndCreateObjectFromByteStream(IMFAsyncResult*, MF_OBJECT_TYPE*, IUnknown**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CancelObjectCreation(IUnknown*) override { return E_NOTIMPL; }
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateSourceResolver(IMFSourceResolver** ppISourceResolver)
{
    if (ppISourceResolver == nullptr) return E_POINTER;
    const HRESULT hr = mediafoundation::RequireStartup();
    if (FAILED(hr)) return hr;
    return mediafoundation::WithoutExceptions([&] {
        *ppISourceResolver = new mediafoundation::SourceResolver();
        return S_OK;
    });
}
