#include "platform/mediafoundation/descriptors.h"

#include <mutex>

#include "mfapi.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/with_attributes.h"

namespace mediafoundation
{
namespace
{

using platform::Answers;
using platform::ComObject;
using platform::ComPtr;
using platform::Implements;

class MediaTypeHandler final : public ComObject<Implements<IMFMediaTypeHandler>>
{
public:
    // types has at least one entry. current may be null.
    MediaTypeHandler(std::vector<ComPtr<IMFMediaType>> types, ComPtr<IMFMediaType> current)
        : m_types(std::move(types)), m_current(std::move(current))
    {}

    HRESULT STDMETHODCALLTYPE IsMediaTypeSupported(IMFMediaType* pMediaType, IMFMediaType** ppMediaType) override
    {
        if (ppMediaType != nullptr) *ppMediaType = nullptr;
        if (pMediaType == nullptr) return E_POINTER;
        for (const ComPtr<IMFMediaType>& type : m_types)
        {
            DWORD dwFlags = 0;
            (void)type->IsEqual(pMediaType, &dwFlags);
            constexpr DWORD SAME = MF_MEDIATYPE_EQUAL_MAJOR_TYPES | MF_MEDIATYPE_EQUAL_FORMAT_TYPES;
            if ((dwFlags & SAME) == SAME) return S_OK;
        }
        return MF_E_INVALIDMEDIATYPE;
    }

    HRESULT STDMETHODCALLTYPE GetMediaTypeCount(DWORD* pdwTypeCount) override
    {
        if (pdwTypeCount == nullptr) return E_POINTER;
        *pdwTypeCount = static_cast<DWORD>(m_types.size());
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType** ppType) override
    {
        if (ppType == nullptr) return E_POINTER;
        return dwIndex < m_types.size() ? m_types[dwIndex].CopyTo(ppType) : MF_E_NO_MORE_TYPES;
    }

    HRESULT STDMETHODCALLTYPE SetCurrentMediaType(IMFMediaType* pMediaType) override
    {
        const HRESULT hr = IsMediaTypeSupported(pMediaType, nullptr);
        if (FAILED(hr)) return hr;
        const std::lock_guard lock(m_lock);
        m_current = ComPtr<IMFMediaType>(pMediaType);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetCurrentMediaType(IMFMediaType** ppType) override
    {
        if (ppType == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        return m_current ? m_current.CopyTo(ppType) : MF_E_NOT_INITIALIZED;
    }

    HRESULT STDMETHODCALLTYPE GetMajorType(GUID* pguidMajorType) override
    {
        return m_types.front()->GetMajorType(pguidMajorType);
    }

private:
    const std::vector<ComPtr<IMFMediaType>> m_types;
    std::mutex m_lock;
    ComPtr<IMFMediaType> m_current;
};

class StreamDescriptor final : public WithAttributes<ComObject<Implements<IMFStreamDescriptor>, Answers<IMFAttributes>>>
{
public:
    StreamDescriptor(DWORD dwIdentifier, ComPtr<IMFMediaTypeHandler> handler)
        : m_dwIdentifier(dwIdentifier), m_handler(std::move(handler))
    {}

    HRESULT STDMETHODCALLTYPE GetStreamIdentifier(DWORD* pdwStreamIdentifier) override
    {
        if (pdwStreamIdentifier == nullptr) return E_POINTER;
        *pdwStreamIdentifier = m_dwIdentifier;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetMediaTypeHandler(IMFMediaTypeHandler** ppMediaTypeHandler) override
    {
        if (ppMediaTypeHandler == nullptr) return E_POINTER;
        return m_handler.CopyTo(ppMediaTypeHandler);
    }

private:
    const DWORD m_dwIdentifier;
    const ComPtr<IMFMediaTypeHandler> m_handler;
};

class PresentationDescriptor final
    : public WithAttributes<ComObject<Implements<IMFPresentationDescriptor>, Answers<IMFAttributes>>>
{
public:
    struct Stream
    {
        ComPtr<IMFStreamDescriptor> m_descriptor;
        bool m_bSelected = true;
    };

    explicit PresentationDescriptor(std::vector<Stream> streams) : m_streams(std::move(streams)) {}

    HRESULT STDMETHODCALLTYPE GetStreamDescriptorCount(DWORD* pdwDescriptorCount) override
    {
        if (pdwDescriptorCount == nullptr) return E_POINTER;
        *pdwDescriptorCount = static_cast<DWORD>(m_streams.size());
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetStreamDescriptorByIndex(DWORD dwIndex, BOOL* pfSelected,
                                                         IMFStreamDescriptor** ppDescriptor) override
    {
        if (pfSelected == nullptr || ppDescriptor == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        if (dwIndex >= m_streams.size()) return MF_E_INVALIDINDEX;
        *pfSelected = m_streams[dwIndex].m_bSelected ? TRUE : FALSE;
        return m_streams[dwIndex].m_descriptor.CopyTo(ppDescriptor);
    }

    HRESULT STDMETHODCALLTYPE SelectStream(DWORD dwDescriptorIndex) override { return Select(dwDescriptorIndex, true); }
    HRESULT STDMETHODCALLTYPE DeselectStream(DWORD dwDescriptorIndex) override
    {
        return Select(dwDescriptorIndex, false);
    }

    HRESULT STDMETHODCALLTYPE Clone(IMFPresentationDescriptor** ppPresentationDescriptor) override
    {
        if (ppPresentationDescriptor == nullptr) return E_POINTER;
        return WithoutExceptions([&] {
            std::unique_lock lock(m_lock);
            auto clone = ComPtr<PresentationDescriptor>::Attach(new PresentationDescriptor(m_streams));
            lock.unlock();
            const HRESULT hr = CopyAllItems(clone.Get());
            if (SUCCEEDED(hr)) *ppPresentationDescriptor = clone.Detach();
            return hr;
        });
    }

private:
    HRESULT Select(DWORD dwIndex, bool bSelected)
    {
        const std::lock_guard lock(m_lock);
        if (dwIndex >= m_streams.size()) return MF_E_INVALIDINDEX;
        m_streams[dwIndex].m_bSelected = bSelected;
        return S_OK;
    }

    std::mutex m_lock;
    std::vector<Stream> m_streams;
};

ComPtr<IMFStreamDescriptor> MakeStreamDescriptor(DWORD dwIdentifier, std::vector<ComPtr<IMFMediaType>> types,
                                                 ComPtr<IMFMediaType> current)
{
    auto handler = ComPtr<IMFMediaTypeHandler>::Attach(new MediaTypeHandler(std::move(types), std::move(current)));
    return ComPtr<IMFStreamDescriptor>::Attach(new StreamDescriptor(dwIdentifier, std::move(handler)));
}

// References of its own on count objects; E_INVALIDARG for a null one among them.
template <typename Interface>
HRESULT TakeAll(DWORD count, Interface** ppObjects, std::vector<ComPtr<Interface>>* pTaken)
{
    if (count > 0 && ppObjects == nullptr) return E_INVALIDARG;
    for (DWORD i = 0; i < count; ++i)
    {
        if (ppObjects[i] == nullptr) return E_INVALIDARG;
        pTaken->emplace_back(ppObjects[i]);
    }
    return S_OK;
}

HRESULT SetVideoAttributes(const StreamFormat& format, IMFMediaType* pType)
{
    HRESULT hr = MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, format.m_uiWidth, format.m_uiHeight);
    if (SUCCEEDED(hr) && format.m_frameRate.num > 0)
    {
        hr = MFSetAttributeRatio(pType, MF_MT_FRAME_RATE, static_cast<UINT32>(format.m_frameRate.num),
                                 static_cast<UINT32>(format.m_frameRate.den));
    }
    if (SUCCEEDED(hr))
    {
        hr = MFSetAttributeRatio(pType, MF_MT_PIXEL_ASPECT_RATIO, static_cast<UINT32>(format.m_pixelAspect.num),
                                 static_cast<UINT32>(format.m_pixelAspect.den));
    }
    if (SUCCEEDED(hr)) hr = pType->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_MixedInterlaceOrProgressive);
    if (SUCCEEDED(hr) && format.m_uiProfile > 0) hr = pType->SetUINT32(MF_MT_MPEG2_PROFILE, format.m_uiProfile);
    if (SUCCEEDED(hr) && format.m_uiLevel > 0) hr = pType->SetUINT32(MF_MT_MPEG2_LEVEL, format.m_uiLevel);
    if (SUCCEEDED(hr) && !format.m_configuration.empty())
    {
        hr = pType->SetBlob(MF_MT_MPEG_SEQUENCE_HEADER, format.m_configuration.data(),
                            static_cast<UINT32>(format.m_configuration.size()));
    }
    return hr;
}

HRESULT SetAudioAttributes(const StreamFormat& format, IMFMediaType* pType)
{
    const HRESULT hr = pType->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, format.m_uiChannels);
    return FAILED(hr) ? hr : pType->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, format.m_uiSampleRate);
}

}  // namespace

HRESULT MakeMediaType(const StreamFormat& format, ComPtr<IMFMediaType>* ppType)
{
    HRESULT hr = MFCreateMediaType(ppType->Put());
    if (FAILED(hr)) return hr;
    IMFMediaType* pType = ppType->Get();
    hr = pType->SetGUID(MF_MT_MAJOR_TYPE, format.m_majorType);
    if (SUCCEEDED(hr)) hr = pType->SetGUID(MF_MT_SUBTYPE, format.m_subtype);
    if (SUCCEEDED(hr) && format.m_majorType == MFMediaType_Video) hr = SetVideoAttributes(format, pType);
    if (SUCCEEDED(hr) && format.m_majorType == MFMediaType_Audio) hr = SetAudioAttributes(format, pType);
    return hr;
}

HRESULT MakeStreamDescriptor(DWORD dwIdentifier, const StreamFormat& format, ComPtr<IMFStreamDescriptor>* ppDescriptor)
{
    ComPtr<IMFMediaType> type;
    const HRESULT hr = MakeMediaType(format, &type);
    if (FAILED(hr)) return hr;
    return WithoutExceptions([&] {
        *ppDescriptor = MakeStreamDescriptor(dwIdentifier, {type}, type);
        return S_OK;
    });
}

HRESULT MakePresentationDescriptor(const std::vector<ComPtr<IMFStreamDescriptor>>& streams, LONGLONG nDuration,
                                   IMFPresentationDescriptor** ppDescriptor)
{
    return WithoutExceptions([&] {
        std::vector<PresentationDescriptor::Stream> entries;
        for (const ComPtr<IMFStreamDescriptor>& stream : streams)
        {
            entries.push_back({stream, true});
        }
        auto descriptor = ComPtr<PresentationDescriptor>::Attach(new PresentationDescriptor(std::move(entries)));
        const HRESULT hr = descriptor->SetUINT64(MF_PD_DURATION, static_cast<UINT64>(nDuration));
        if (SUCCEEDED(hr)) *ppDescriptor = descriptor.Detach();
        return hr;
    });
}

}  // namespace mediafoundation

STDAPI MFCreateStreamDescriptor(DWORD dwStreamIdentifier, DWORD cMediaTypes, IMFMediaType** apMediaTypes,
                                IMFStreamDescriptor** ppDescriptor)
{
    using namespace mediafoundation;
    if (ppDescriptor == nullptr) return E_POINTER;
    if (cMediaTypes == 0) return E_INVALIDARG;
    return WithoutExceptions([&] {
        std::vector<ComPtr<IMFMediaType>> types;
        const HRESULT hr = TakeAll(cMediaTypes, apMediaTypes, &types);
        if (SUCCEEDED(hr)) *ppDescriptor = MakeStreamDescriptor(dwStreamIdentifier, std::move(types), {}).Detach();
        return hr;
    });
}

STDAPI MFCreatePresentationDescriptor(DWORD cStreamDescriptors, IMFStreamDescriptor** apStreamDescriptors,
                                      IMFPresentationDescriptor** ppPresentationDescriptor)
{
    using namespace mediafoundation;
    if (ppPresentationDescriptor == nullptr) return E_POINTER;
    return WithoutExceptions([&] {
        std::vector<ComPtr<IMFStreamDescriptor>> streams;
        const HRESULT hr = TakeAll(cStreamDescriptors, apStreamDescriptors, &streams);
        if (FAILED(hr)) return hr;
        std::vector<PresentationDescriptor::Stream> entries;
        for (ComPtr<IMFStreamDescriptor>& stream : streams)
        {
            entries.push_back({std::move(stream), false});
        }
        *ppPresentationDescriptor = new PresentationDescriptor(std::move(entries));
        return S_OK;
    });
}
