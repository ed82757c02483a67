#include "windows_bridge/encoder.h"

#include <cstring>
#include <memory>

#include <mfapi.h>
#include <mferror.h>

#include "support/slot_of.h"
#include "windows_bridge/operation_table.h"

namespace windows_bridge
{

namespace
{

constexpr UINT32 WIDTH = 64;
constexpr UINT32 HEIGHT = 48;
constexpr DWORD PICTURE_BYTES = WIDTH * HEIGHT * 2;  // of YUY2
constexpr LONGLONG DURATION = 400'000;

struct SReleaser
{
    void operator()(IUnknown* pObject) const { pObject->Release(); }
};
template <class TInterface>
using TOwned = std::unique_ptr<TInterface, SReleaser>;

using PSetOutputType = HRESULT(STDMETHODCALLTYPE*)(IMFTransform*, DWORD, IMFMediaType*, DWORD);
using PProcessOutput = HRESULT(STDMETHODCALLTYPE*)(IMFTransform*, DWORD, DWORD, MFT_OUTPUT_DATA_BUFFER*, DWORD*);

PSetOutputType g_pfnSetOutputType;
PProcessOutput g_pfnProcessOutput;
LONGLONG g_hnsLate;

HRESULT STDMETHODCALLTYPE SetOutputTypeOnly(IMFTransform* pEncoder, DWORD dwStream, IMFMediaType* pType, DWORD dwFlags)
{
    IMFMediaType* pInput = nullptr;
    pEncoder->GetInputCurrentType(0, &pInput);
    const TOwned<IMFMediaType> input(pInput);
    HRESULT hr = g_pfnSetOutputType(pEncoder, dwStream, pType, dwFlags);
    const bool bSet = SUCCEEDED(hr) && (dwFlags & MFT_SET_TYPE_TEST_ONLY) == 0;
    if (bSet && input) hr = pEncoder->SetInputType(0, input.get(), 0);
    return hr;
}

HRESULT STDMETHODCALLTYPE ProcessOutputInTime(IMFTransform* pEncoder, DWORD dwFlags, DWORD dwCount,
                                              MFT_OUTPUT_DATA_BUFFER* pBuffers, DWORD* pdwStatus)
{
    const HRESULT hr = g_pfnProcessOutput(pEncoder, dwFlags, dwCount, pBuffers, pdwStatus);
    LONGLONG hnsTime = 0;
    if (hr == S_OK && pBuffers->pSample != nullptr && pBuffers->pSample->GetSampleTime(&hnsTime) == S_OK)
        pBuffers->pSample->SetSampleTime(hnsTime - g_hnsLate);
    return hr;
}

TOwned<IMFMediaType> MakeType(REFGUID guidSubtype)
{
    IMFMediaType* pType = nullptr;
    if (FAILED(MFCreateMediaType(&pType))) return nullptr;
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, guidSubtype);
    pType->SetUINT32(MF_MT_AVG_BITRATE, 1'000'000);
    pType->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, WIDTH, HEIGHT);
    MFSetAttributeRatio(pType, MF_MT_FRAME_RATE, 25, 1);
    MFSetAttributeRatio(pType, MF_MT_PIXEL_ASPECT_RATIO, 1, 1);
    return TOwned<IMFMediaType>(pType);
}

TOwned<IMFSample> MakeSample(DWORD dwBytes)
{
    IMFSample* pSample = nullptr;
    IMFMediaBuffer* pBuffer = nullptr;
    if (FAILED(MFCreateSample(&pSample))) return nullptr;
    TOwned<IMFSample> sample(pSample);
    if (FAILED(MFCreateMemoryBuffer(dwBytes, &pBuffer))) return nullptr;
    sample->AddBuffer(pBuffer);
    pBuffer->Release();
    return sample;
}

// Of a grey picture at time 0.
HRESULT EncodeOne(IMFTransform* pEncoder, LONGLONG* phnsTime)
{
    const TOwned<IMFSample> input = MakeSample(PICTURE_BYTES);
    IMFMediaBuffer* pBuffer = nullptr;
    BYTE* pBytes = nullptr;
    if (!input || FAILED(input->GetBufferByIndex(0, &pBuffer))) return E_OUTOFMEMORY;
    const TOwned<IMFMediaBuffer> buffer(pBuffer);
    HRESULT hr = buffer->Lock(&pBytes, nullptr, nullptr);
    if (FAILED(hr)) return hr;
    std::memset(pBytes, 0x80, PICTURE_BYTES);
    buffer->Unlock();
    buffer->SetCurrentLength(PICTURE_BYTES);
    input->SetSampleTime(0);
    input->SetSampleDuration(DURATION);

    pEncoder->ProcessMessage(MFT_MESSAGE_NOTIFY_BEGIN_STREAMING, 0);
    pEncoder->ProcessMessage(MFT_MESSAGE_NOTIFY_START_OF_STREAM, 0);
    hr = pEncoder->ProcessInput(0, input.get(), 0);
    if (SUCCEEDED(hr)) hr = pEncoder->ProcessMessage(MFT_MESSAGE_NOTIFY_END_OF_STREAM, 0);
    if (SUCCEEDED(hr)) hr = pEncoder->ProcessMessage(MFT_MESSAGE_COMMAND_DRAIN, 0);
    MFT_OUTPUT_STREAM_INFO info{};
    if (SUCCEEDED(hr)) hr = pEncoder->GetOutputStreamInfo(0, &info);
    if (FAILED(hr)) return hr;
    TOwned<IMFSample> output;
    if ((info.dwFlags & MFT_OUTPUT_STREAM_PROVIDES_SAMPLES) == 0) output = MakeSample(info.cbSize + PICTURE_BYTES);
    MFT_OUTPUT_DATA_BUFFER data{};
    data.pSample = output.get();
    DWORD dwStatus = 0;
    hr = pEncoder->ProcessOutput(0, 1, &data, &dwStatus);
    if (data.pEvents != nullptr) data.pEvents->Release();
    if (SUCCEEDED(hr)) hr = data.pSample != nullptr ? data.pSample->GetSampleTime(phnsTime) : E_UNEXPECTED;
    if (data.pSample != nullptr && data.pSample != output.get()) data.pSample->Release();
    return hr;
}

}  // namespace

HRESULT FindEncoderGaps(IMFTransform* pEncoder, SEncoderGaps* pGaps)
{
    const TOwned<IMFMediaType> output = MakeType(MFVideoFormat_H264);
    const TOwned<IMFMediaType> input = MakeType(MFVideoFormat_YUY2);
    if (!output || !input) return E_OUTOFMEMORY;
    HRESULT hr = pEncoder->SetOutputType(0, output.get(), 0);
    if (SUCCEEDED(hr)) hr = pEncoder->SetInputType(0, input.get(), 0);
    if (SUCCEEDED(hr)) hr = pEncoder->SetOutputType(0, output.get(), 0);
    IMFMediaType* pInput = nullptr;
    pGaps->m_bForgetsInputType =
        SUCCEEDED(hr) && pEncoder->GetInputCurrentType(0, &pInput) == MF_E_TRANSFORM_TYPE_NOT_SET;
    if (pInput != nullptr) pInput->Release();
    if (pGaps->m_bForgetsInputType) hr = pEncoder->SetInputType(0, input.get(), 0);
    if (SUCCEEDED(hr)) hr = EncodeOne(pEncoder, &pGaps->m_hnsLate);
    return hr;
}

void FillEncoderGaps(IMFTransform* pEncoder, const SEncoderGaps& gaps)
{
    using test_support::SlotOf;
    if (g_pfnSetOutputType != nullptr || g_pfnProcessOutput != nullptr) return;
    if (gaps.m_bForgetsInputType)
        ReplaceOperation(pEncoder, SlotOf(&IMFTransform::SetOutputType), &SetOutputTypeOnly, &g_pfnSetOutputType);
    g_hnsLate = gaps.m_hnsLate;
    if (gaps.m_hnsLate != 0)
        ReplaceOperation(pEncoder, SlotOf(&IMFTransform::ProcessOutput), &ProcessOutputInTime, &g_pfnProcessOutput);
}

}  // namespace windows_bridge
