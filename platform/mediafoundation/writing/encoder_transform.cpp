#include "platform/mediafoundation/writing/encoder_transform.h"

#include <cstring>
#include <deque>
#include <memory>
#include <mutex>

#include "mfapi.h"
#include "mferror.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/without_exceptions.h"
#include "platform/mediafoundation/writing/codec_properties.h"
#include "platform/mediafoundation/writing/h264_encoder.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

constexpr UINT32 LARGEST_SIDE = 16384;  // in pixels

bool IsVideoOf(IMFMediaType* pType, REFGUID subtype)
{
    GUID majorType = GUID_NULL;
    GUID ownSubtype = GUID_NULL;
    return SUCCEEDED(pType->GetMajorType(&majorType)) && majorType == MFMediaType_Video &&
           SUCCEEDED(pType->GetGUID(MF_MT_SUBTYPE, &ownSubtype)) && ownSubtype == subtype;
}

HRESULT ReadOutputType(IMFMediaType* pType, EncoderSettings* pSettings)
{
    if (!IsVideoOf(pType, MFVideoFormat_H264)) return MF_E_INVALIDMEDIATYPE;
    UINT32 unInterlace = 0;
    HRESULT hr = MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &pSettings->m_uiWidth, &pSettings->m_uiHeight);
    if (SUCCEEDED(hr))
    {
        hr = MFGetAttributeRatio(pType, MF_MT_FRAME_RATE, &pSettings->m_uiRateNumerator,
                                 &pSettings->m_uiRateDenominator);
    }
    if (SUCCEEDED(hr)) hr = pType->GetUINT32(MF_MT_AVG_BITRATE, &pSettings->m_uiBitRate);
    if (SUCCEEDED(hr)) hr = pType->GetUINT32(MF_MT_INTERLACE_MODE, &unInterlace);
    if (FAILED(hr)) return MF_E_INVALIDMEDIATYPE;

    pSettings->m_uiProfile = 66;
    (void)pType->GetUINT32(MF_MT_MPEG2_PROFILE, &pSettings->m_uiProfile);
    const auto isSide = [](UINT32 unSide) { return unSide > 0 && unSide <= LARGEST_SIDE && unSide % 2 == 0; };
    const auto isNumber = [](UINT32 unNumber) { return unNumber > 0 && unNumber <= 0x7fffffff; };
    const bool bProfile = pSettings->m_uiProfile == 66 || pSettings->m_uiProfile == 77 || pSettings->m_uiProfile == 100;
    const bool bGood = isSide(pSettings->m_uiWidth) && isSide(pSettings->m_uiHeight) &&
                       isNumber(pSettings->m_uiRateNumerator) && isNumber(pSettings->m_uiRateDenominator) &&
                       isNumber(pSettings->m_uiBitRate) && unInterlace == MFVideoInterlace_Progressive && bProfile;
    return bGood ? S_OK : MF_E_INVALIDMEDIATYPE;
}

// Rows lie without gaps from top to bottom, which is what a type without a distance of rows means.
HRESULT CheckInputType(IMFMediaType* pType, const EncoderSettings& settings)
{
    if (!IsVideoOf(pType, MFVideoFormat_YUY2)) return MF_E_INVALIDMEDIATYPE;
    UINT32 unWidth = 0;
    UINT32 unHeight = 0;
    if (FAILED(MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &unWidth, &unHeight))) return MF_E_INVALIDMEDIATYPE;
    UINT32 unStride = settings.m_uiWidth * 2;
    (void)pType->GetUINT32(MF_MT_DEFAULT_STRIDE, &unStride);
    const bool bSame =
        unWidth == settings.m_uiWidth && unHeight == settings.m_uiHeight && unStride == settings.m_uiWidth * 2;
    return bSame ? S_OK : MF_E_INVALIDMEDIATYPE;
}

HRESULT MakeSample(const EncodedPicture& picture, ComPtr<IMFSample>* pSample)
{
    const auto cbPicture = static_cast<DWORD>(picture.m_bytes.size());
    ComPtr<IMFMediaBuffer> buffer;
    HRESULT hr = MFCreateMemoryBuffer(cbPicture, buffer.Put());
    BYTE* pb = nullptr;
    if (SUCCEEDED(hr)) hr = buffer->Lock(&pb, nullptr, nullptr);
    if (FAILED(hr)) return hr;
    std::memcpy(pb, picture.m_bytes.data(), picture.m_bytes.size());
    (void)buffer->Unlock();
    hr = buffer->SetCurrentLength(cbPicture);
    if (SUCCEEDED(hr)) hr = MFCreateSample(pSample->Put());
    IMFSample* p = pSample->Get();
    if (SUCCEEDED(hr)) hr = p->AddBuffer(buffer.Get());
    if (SUCCEEDED(hr)) hr = p->SetSampleTime(picture.m_times.m_nTime);
    if (SUCCEEDED(hr)) hr = p->SetSampleDuration(picture.m_times.m_nDuration);
    if (SUCCEEDED(hr)) hr = p->SetUINT32(MFSampleExtension_CleanPoint, picture.m_bKey ? 1 : 0);
    return hr;
}

class EncoderTransform final : public platform::ComObject<platform::Implements<IMFTransform, ICodecAPI>>
{
public:
    // --- IMFTransform: one stream in, one stream out, both with the identifier 0 ---

    HRESULT STDMETHODCALLTYPE GetStreamLimits(DWORD* pdwInputMinimum, DWORD* pdwInputMaximum, DWORD* pdwOutputMinimum,
                                              DWORD* pdwOutputMaximum) override
    {
        if (pdwInputMinimum == nullptr || pdwInputMaximum == nullptr || pdwOutputMinimum == nullptr ||
            pdwOutputMaximum == nullptr)
        {
            return E_POINTER;
        }
        *pdwInputMinimum = *pdwInputMaximum = *pdwOutputMinimum = *pdwOutputMaximum = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetStreamCount(DWORD* pcInputStreams, DWORD* pcOutputStreams) override
    {
        if (pcInputStreams == nullptr || pcOutputStreams == nullptr) return E_POINTER;
        *pcInputStreams = *pcOutputStreams = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetStreamIDs(DWORD, DWORD*, DWORD, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetInputStreamInfo(DWORD dwInputStreamID, MFT_INPUT_STREAM_INFO* pStreamInfo) override
    {
        if (pStreamInfo == nullptr) return E_POINTER;
        if (dwInputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        const std::lock_guard lock(m_lock);
        *pStreamInfo = {};
        pStreamInfo->dwFlags = MFT_INPUT_STREAM_WHOLE_SAMPLES | MFT_INPUT_STREAM_SINGLE_SAMPLE_PER_BUFFER |
                               MFT_INPUT_STREAM_FIXED_SAMPLE_SIZE;
        pStreamInfo->cbSize = static_cast<DWORD>(InputBytes());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetOutputStreamInfo(DWORD dwOutputStreamID, MFT_OUTPUT_STREAM_INFO* pStreamInfo) override
    {
        if (pStreamInfo == nullptr) return E_POINTER;
        if (dwOutputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        *pStreamInfo = {};
        pStreamInfo->dwFlags = MFT_OUTPUT_STREAM_WHOLE_SAMPLES | MFT_OUTPUT_STREAM_SINGLE_SAMPLE_PER_BUFFER |
                               MFT_OUTPUT_STREAM_PROVIDES_SAMPLES;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetAttributes(IMFAttributes**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetInputStreamAttributes(DWORD, IMFAttributes**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetOutputStreamAttributes(DWORD, IMFAttributes**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteInputStream(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddInputStreams(DWORD, DWORD*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetInputAvailableType(DWORD dwInputStreamID, DWORD dwTypeIndex,
                                                    IMFMediaType** ppType) override
    {
        if (ppType == nullptr) return E_POINTER;
        if (dwInputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        const std::lock_guard lock(m_lock);
        if (!m_outputType) return MF_E_TRANSFORM_TYPE_NOT_SET;
        if (dwTypeIndex > 0) return MF_E_NO_MORE_TYPES;
        ComPtr<IMFMediaType> type;
        HRESULT hr = MakeType(MFVideoFormat_YUY2, &type);
        if (SUCCEEDED(hr))
        {
            hr = MFSetAttributeSize(type.Get(), MF_MT_FRAME_SIZE, m_settings.m_uiWidth, m_settings.m_uiHeight);
        }
        if (SUCCEEDED(hr))
        {
            hr = MFSetAttributeRatio(type.Get(), MF_MT_FRAME_RATE, m_settings.m_uiRateNumerator,
                                     m_settings.m_uiRateDenominator);
        }
        if (SUCCEEDED(hr)) hr = type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
        if (SUCCEEDED(hr)) *ppType = type.Detach();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE GetOutputAvailableType(DWORD dwOutputStreamID, DWORD dwTypeIndex,
                                                     IMFMediaType** ppType) override
    {
        if (ppType == nullptr) return E_POINTER;
        if (dwOutputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        if (dwTypeIndex > 0) return MF_E_NO_MORE_TYPES;
        ComPtr<IMFMediaType> type;
        const HRESULT hr = MakeType(MFVideoFormat_H264, &type);
        if (SUCCEEDED(hr)) *ppType = type.Detach();
        return hr;
    }

    // A null type takes the set one away.
    HRESULT STDMETHODCALLTYPE SetInputType(DWORD dwInputStreamID, IMFMediaType* pType, DWORD dwFlags) override
    {
        if (dwInputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::SetInputType);
        if (FAILED(hrScript)) return hrScript;
        const std::lock_guard lock(m_lock);
        if (IsBusy()) return MF_E_TRANSFORM_CANNOT_CHANGE_MEDIATYPE_WHILE_PROCESSING;
        if (!m_outputType) return MF_E_TRANSFORM_TYPE_NOT_SET;
        const HRESULT hr = pType == nullptr ? S_OK : CheckInputType(pType, m_settings);
        if (SUCCEEDED(hr) && (dwFlags & MFT_SET_TYPE_TEST_ONLY) == 0) m_inputType = ComPtr<IMFMediaType>(pType);
        return hr;
    }
    // A new output type takes the input type away.
    HRESULT STDMETHODCALLTYPE SetOutputType(DWORD dwOutputStreamID, IMFMediaType* pType, DWORD dwFlags) override
    {
        if (dwOutputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::SetOutputType);
        if (FAILED(hrScript)) return hrScript;
        const std::lock_guard lock(m_lock);
        if (IsBusy()) return MF_E_TRANSFORM_CANNOT_CHANGE_MEDIATYPE_WHILE_PROCESSING;
        EncoderSettings settings;
        const HRESULT hr = pType == nullptr ? S_OK : ReadOutputType(pType, &settings);
        if (FAILED(hr) || (dwFlags & MFT_SET_TYPE_TEST_ONLY) != 0) return hr;
        m_settings = settings;
        m_outputType = ComPtr<IMFMediaType>(pType);
        m_inputType = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetInputCurrentType(DWORD dwInputStreamID, IMFMediaType** ppType) override
    {
        return GiveType(dwInputStreamID, m_inputType, ppType);
    }
    HRESULT STDMETHODCALLTYPE GetOutputCurrentType(DWORD dwOutputStreamID, IMFMediaType** ppType) override
    {
        return GiveType(dwOutputStreamID, m_outputType, ppType);
    }

    HRESULT STDMETHODCALLTYPE GetInputStatus(DWORD dwInputStreamID, DWORD* pdwFlags) override
    {
        if (pdwFlags == nullptr) return E_POINTER;
        if (dwInputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        const std::lock_guard lock(m_lock);
        if (!m_inputType) return MF_E_TRANSFORM_TYPE_NOT_SET;
        *pdwFlags = m_encoded.empty() ? MFT_INPUT_STATUS_ACCEPT_DATA : 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetOutputStatus(DWORD* pdwFlags) override
    {
        if (pdwFlags == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        if (!m_inputType) return MF_E_TRANSFORM_TYPE_NOT_SET;
        *pdwFlags = m_encoded.empty() ? 0 : MFT_OUTPUT_STATUS_SAMPLE_READY;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetOutputBounds(LONGLONG, LONGLONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ProcessEvent(DWORD, IMFMediaEvent*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE ProcessMessage(MFT_MESSAGE_TYPE eMessage, ULONG_PTR) override
    {
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            switch (eMessage)
            {
            case MFT_MESSAGE_COMMAND_FLUSH:
                m_encoder.reset();
                m_encoded.clear();
                return S_OK;
            case MFT_MESSAGE_COMMAND_DRAIN:
                return Drain();
            case MFT_MESSAGE_NOTIFY_BEGIN_STREAMING:
                return Prepare();
            case MFT_MESSAGE_SET_D3D_MANAGER:
                return E_NOTIMPL;
            default:
                return S_OK;
            }
        });
    }

    HRESULT STDMETHODCALLTYPE ProcessInput(DWORD dwInputStreamID, IMFSample* pSample, DWORD dwFlags) override
    {
        if (pSample == nullptr) return E_POINTER;
        if (dwInputStreamID != 0) return MF_E_INVALIDSTREAMNUMBER;
        if (dwFlags != 0) return E_INVALIDARG;
        const HRESULT hrScript = ScriptedResult(MediaWriteCall::EncodeSample);
        if (FAILED(hrScript)) return hrScript;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (!m_encoded.empty()) return MF_E_NOTACCEPTING;
            const HRESULT hr = Prepare();
            return FAILED(hr) ? hr : Encode(pSample);
        });
    }

    HRESULT STDMETHODCALLTYPE ProcessOutput(DWORD dwFlags, DWORD cOutputBufferCount,
                                            MFT_OUTPUT_DATA_BUFFER* pOutputSamples, DWORD* pdwStatus) override
    {
        if (pOutputSamples == nullptr || pdwStatus == nullptr) return E_POINTER;
        if (dwFlags != 0 || cOutputBufferCount != 1 || pOutputSamples->pSample != nullptr) return E_INVALIDARG;
        *pdwStatus = 0;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (!m_inputType) return MF_E_TRANSFORM_TYPE_NOT_SET;
            if (m_encoded.empty()) return MF_E_TRANSFORM_NEED_MORE_INPUT;
            ComPtr<IMFSample> sample;
            const HRESULT hr = MakeSample(m_encoded.front(), &sample);
            if (FAILED(hr)) return hr;
            m_encoded.pop_front();
            pOutputSamples->pSample = sample.Detach();
            pOutputSamples->dwStatus = 0;
            pOutputSamples->pEvents = nullptr;
            return S_OK;
        });
    }

    // --- ICodecAPI ---

    HRESULT STDMETHODCALLTYPE IsSupported(const GUID* Api) override
    {
        const std::lock_guard lock(m_lock);
        return m_properties.Has(Api) ? S_OK : E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE IsModifiable(const GUID* Api) override
    {
        const std::lock_guard lock(m_lock);
        if (!m_properties.Has(Api)) return E_NOTIMPL;
        return IsBusy() ? S_FALSE : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetParameterRange(const GUID* Api, VARIANT* ValueMin, VARIANT* ValueMax,
                                                VARIANT* SteppingDelta) override
    {
        const std::lock_guard lock(m_lock);
        return m_properties.GetRange(Api, ValueMin, ValueMax, SteppingDelta);
    }
    // Every property has a range.
    HRESULT STDMETHODCALLTYPE GetParameterValues(const GUID*, VARIANT**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDefaultValue(const GUID* Api, VARIANT* Value) override
    {
        const std::lock_guard lock(m_lock);
        return m_properties.GetDefault(Api, Value);
    }
    HRESULT STDMETHODCALLTYPE GetValue(const GUID* Api, VARIANT* Value) override
    {
        const std::lock_guard lock(m_lock);
        return m_properties.Get(Api, Value);
    }
    HRESULT STDMETHODCALLTYPE SetValue(const GUID* Api, VARIANT* Value) override
    {
        const std::lock_guard lock(m_lock);
        return IsBusy() ? MF_E_INVALIDREQUEST : m_properties.Set(Api, Value);
    }
    HRESULT STDMETHODCALLTYPE SetAllDefaults() override
    {
        const std::lock_guard lock(m_lock);
        if (IsBusy()) return MF_E_INVALIDREQUEST;
        m_properties.SetAllDefaults();
        return S_OK;
    }
    // No property changes another one, and settings aren't stored.
    HRESULT STDMETHODCALLTYPE RegisterForEvent(const GUID*, LONG_PTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnregisterForEvent(const GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetValueWithNotify(const GUID*, VARIANT*, GUID**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAllDefaultsWithNotify(GUID**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAllSettings(IStream*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAllSettings(IStream*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAllSettingsWithNotify(IStream*, GUID**, ULONG*) override { return E_NOTIMPL; }

private:
    static HRESULT MakeType(REFGUID subtype, ComPtr<IMFMediaType>* pType)
    {
        HRESULT hr = MFCreateMediaType(pType->Put());
        if (SUCCEEDED(hr)) hr = (*pType)->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
        return FAILED(hr) ? hr : (*pType)->SetGUID(MF_MT_SUBTYPE, subtype);
    }

    HRESULT GiveType(DWORD dwStream, const ComPtr<IMFMediaType>& type, IMFMediaType** ppType)
    {
        if (ppType == nullptr) return E_POINTER;
        if (dwStream != 0) return MF_E_INVALIDSTREAMNUMBER;
        const std::lock_guard lock(m_lock);
        return type ? type.CopyTo(ppType) : MF_E_TRANSFORM_TYPE_NOT_SET;
    }

    bool IsBusy() const { return m_encoder != nullptr || !m_encoded.empty(); }
    std::size_t InputBytes() const { return std::size_t{2} * m_settings.m_uiWidth * m_settings.m_uiHeight; }

    HRESULT Prepare()
    {
        if (!m_inputType) return MF_E_TRANSFORM_TYPE_NOT_SET;
        if (m_encoder) return S_OK;
        EncoderSettings settings = m_settings;
        m_properties.ApplyTo(&settings);
        return H264Encoder::Create(settings, &m_encoder);
    }

    HRESULT Encode(IMFSample* pSample)
    {
        PictureTimes times;
        ComPtr<IMFMediaBuffer> buffer;
        BYTE* pb = nullptr;
        DWORD cb = 0;
        HRESULT hr = pSample->GetSampleTime(&times.m_nTime);
        if (SUCCEEDED(hr)) hr = pSample->GetSampleDuration(&times.m_nDuration);
        if (SUCCEEDED(hr)) hr = pSample->ConvertToContiguousBuffer(buffer.Put());
        if (SUCCEEDED(hr)) hr = buffer->Lock(&pb, nullptr, &cb);
        if (FAILED(hr)) return hr;
        std::vector<EncodedPicture> encoded;
        hr = cb < InputBytes() ? E_INVALIDARG : m_encoder->Encode(pb, times, &encoded);
        (void)buffer->Unlock();
        Keep(std::move(encoded));
        return hr;
    }

    // The encoder has ended by this. The next sample gets a new one.
    HRESULT Drain()
    {
        if (!m_encoder) return S_OK;
        std::vector<EncodedPicture> encoded;
        const HRESULT hr = m_encoder->Drain(&encoded);
        Keep(std::move(encoded));
        m_encoder.reset();
        return hr;
    }

    void Keep(std::vector<EncodedPicture> encoded)
    {
        for (EncodedPicture& picture : encoded)
        {
            m_encoded.push_back(std::move(picture));
        }
    }

    std::mutex m_lock;
    CodecProperties m_properties;
    EncoderSettings m_settings;  // what the output type says
    ComPtr<IMFMediaType> m_inputType;
    ComPtr<IMFMediaType> m_outputType;
    std::unique_ptr<H264Encoder> m_encoder;  // from the first sample to a drain
    std::deque<EncodedPicture> m_encoded;
};

}  // namespace

HRESULT MakeEncoderTransform(IMFTransform** ppTransform)
{
    return WithoutExceptions([&] {
        *ppTransform = new EncoderTransform();
        return S_OK;
    });
}

}  // namespace mediafoundation
