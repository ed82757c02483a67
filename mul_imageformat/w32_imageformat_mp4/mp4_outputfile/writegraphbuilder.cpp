// Kept in a file of its own so that a test can link another graph in its place.

#include "common/saferelease.h"
#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/h264encoder.h"
#include "mp4_outputfile/picturehandover.h"
#include "mp4_outputfile/sinkfinalization.h"
#include "mp4_outputfile/writegraph.h"
#include "mp4_outputfile/writetopology.h"
#include "videosource/videosource.h"

namespace
{

// What the encoder is given, whatever the times of the frames are. The times are those of the samples.
constexpr UINT64 FRAME_RATE = UINT64{25} << 32 | 1;

HRESULT MakeVideoType(REFGUID guidSubtype, IMFMediaType** ppType)
{
    HRESULT hr = MFCreateMediaType(ppType);
    if (SUCCEEDED(hr)) hr = (*ppType)->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = (*ppType)->SetGUID(MF_MT_SUBTYPE, guidSubtype);
    return hr;
}

HRESULT MakeSource(const SEncoderSettings& settings, CPictureHandover& handover, IMFMediaSource** ppSource)
{
    HRESULT hr = CreateVideoSource(IID_IMFMediaSource, reinterpret_cast<void**>(ppSource));
    if (SUCCEEDED(hr))
    {
        auto* const pSource = static_cast<VideoSource*>(*ppSource);
        hr = pSource->Configure(settings.m_uiWidth, settings.m_uiHeight, &handover.m_hFrameReady,
                                &handover.m_hFrameTaken, &handover.m_csPicture, handover.m_picHandover.m_pData,
                                &handover.m_nEndOfStream, settings.m_uiSequenceCount, &handover.m_dSampleTime);
        pSource->ReportStarts(&handover.m_hSourceStarted);
    }
    return hr;
}

// The type of the encoder's output, which is the sink's input too.
HRESULT MakeEncodedType(const SEncoderSettings& settings, const VIDEOINFOHEADER2& format, UINT32 uiProfile,
                        IMFMediaType** ppType)
{
    const HRESULT hr = MakeVideoType(MFVideoFormat_H264, ppType);
    if (FAILED(hr)) return hr;
    const UINT64 uiFrameSize =
        UINT64{static_cast<UINT32>(format.bmiHeader.biWidth)} << 32 | static_cast<UINT32>(format.bmiHeader.biHeight);
    (*ppType)->SetUINT32(MF_MT_AVG_BITRATE, CalcAverageBitRate(settings.m_uiSourceWidth, settings.m_uiSourceHeight));
    (*ppType)->SetUINT64(MF_MT_FRAME_RATE, FRAME_RATE);
    (*ppType)->SetUINT64(MF_MT_FRAME_SIZE, uiFrameSize);
    (*ppType)->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
    (*ppType)->SetUINT32(MF_MT_MPEG2_PROFILE, uiProfile);
    return S_OK;
}

// An encoder that doesn't take the source's type is found out when the topology is resolved.
void SetRawType(IMFTransform* pTransform, const VIDEOINFOHEADER2& format)
{
    IMFMediaType* pRawType = nullptr;
    HRESULT hr = MFCreateMediaType(&pRawType);
    if (SUCCEEDED(hr)) hr = MFInitMediaTypeFromVideoInfoHeader2(pRawType, &format, sizeof format, &MFVideoFormat_YUY2);
    if (SUCCEEDED(hr)) pTransform->SetInputType(0, pRawType, 0);
    SafeRelease(&pRawType);
}

HRESULT MakeSink(IMFMediaType* pEncodedType, SWriteGraph& graph)
{
    DWORD dwStreams = 0;
    HRESULT hr = MFCreateMPEG4MediaSink(graph.m_pByteStream, pEncodedType, nullptr, &graph.m_pSink);
    if (SUCCEEDED(hr)) graph.m_pSink->GetStreamSinkCount(&dwStreams);
    if (SUCCEEDED(hr)) hr = graph.m_pSink->GetStreamSinkByIndex(0, &graph.m_pStreamSink);
    return hr;
}

// The encoder and what takes its output.
HRESULT SetUpEncoder(const SEncoderSettings& settings, SWriteGraph& graph)
{
    const VIDEOINFOHEADER2& format = static_cast<VideoSource*>(graph.m_pSource)->GetVideoInfo();
    const SEncoderQuality& quality = FindEncoderQuality(settings.m_pwszCode);
    const bool bOldSystem = IsOldSystem();

    IMFMediaType* pEncodedType = nullptr;
    HRESULT hr =
        MakeEncodedType(settings, format, bOldSystem ? quality.m_uiProfileOld : quality.m_uiProfile, &pEncodedType);
    if (SUCCEEDED(hr)) SetEncoderQuality(graph.m_pEncoderTransform, quality, bOldSystem);
    if (SUCCEEDED(hr)) hr = graph.m_pEncoderTransform->SetOutputType(0, pEncodedType, 0);
    if (SUCCEEDED(hr)) SetRawType(graph.m_pEncoderTransform, format);
    if (SUCCEEDED(hr)) hr = MakeSink(pEncodedType, graph);
    SafeRelease(&pEncodedType);
    return hr;
}

}  // namespace

HRESULT BuildWriteGraph(SWriteGraph& graph, const SEncoderSettings& settings, CPictureHandover& handover)
{
    HRESULT hr = MakeVideoType(MFVideoFormat_H264, &graph.m_pOutputType);
    if (SUCCEEDED(hr))
    {
        hr = MFCreateFile(MF_ACCESSMODE_READWRITE, MF_OPENMODE_DELETE_IF_EXIST, MF_FILEFLAGS_NONE,
                          settings.m_strFileName.GetString(), &graph.m_pByteStream);
    }
    if (SUCCEEDED(hr)) hr = MFCreateMediaSession(nullptr, &graph.m_pSession);
    if (SUCCEEDED(hr)) hr = MakeSource(settings, handover, &graph.m_pSource);
    if (FAILED(hr)) return hr;

    FindH264Encoder(&graph.m_pEncoderTransform);
    if (graph.m_pEncoderTransform != nullptr) hr = SetUpEncoder(settings, graph);
    if (SUCCEEDED(hr))
    {
        hr = BuildWriteTopology(graph.m_pSource, graph.m_pEncoderTransform, graph.m_pStreamSink, &graph.m_pTopology);
    }
    return hr;
}

void FinalizeWriteGraph(SWriteGraph& graph, const wchar_t* pwszPath)
{
    if (graph.m_pSink != nullptr) FinalizeSink(graph.m_pSink, pwszPath);
}
