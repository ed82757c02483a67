#include "bench/reading_peers.h"

#include <ffms.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <thread>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#ifdef QM_BENCH_OPENCV
#include <opencv2/videoio.hpp>
#endif

namespace bench
{
namespace
{

void Check(bool bOk, const char* pszWhat)
{
    if (!bOk) throw std::runtime_error(pszWhat);
}

class Ffms2Reader : public FrameReader
{
public:
    explicit Ffms2Reader(const std::filesystem::path& path)
    {
        FFMS_Init(0, 0);
        FFMS_Indexer* const pIndexer = FFMS_CreateIndexer(path.c_str(), &m_error);
        Check(pIndexer, "FFMS_CreateIndexer");
        FFMS_Index* const pIndex = FFMS_DoIndexing2(pIndexer, FFMS_IEH_ABORT, &m_error);
        Check(pIndex, "FFMS_DoIndexing2");
        const int nTrack = FFMS_GetFirstTrackOfType(pIndex, FFMS_TYPE_VIDEO, &m_error);
        m_pSource = FFMS_CreateVideoSource(path.c_str(), nTrack, pIndex, -1, FFMS_SEEK_NORMAL, &m_error);
        FFMS_DestroyIndex(pIndex);
        Check(m_pSource, "FFMS_CreateVideoSource");
        const FFMS_Frame* const pFirst = FFMS_GetFrame(m_pSource, 0, &m_error);
        Check(pFirst, "FFMS_GetFrame");
        const int anFormats[] = {FFMS_GetPixFmt("bgr24"), -1};
        Check(FFMS_SetOutputFormatV2(m_pSource, anFormats, pFirst->EncodedWidth, pFirst->EncodedHeight,
                                     FFMS_RESIZER_BICUBIC, &m_error) == 0,
              "FFMS_SetOutputFormatV2");
    }
    ~Ffms2Reader() override { FFMS_DestroyVideoSource(m_pSource); }

    void Read(std::uint32_t uiFrame) override
    {
        Check(FFMS_GetFrame(m_pSource, static_cast<int>(uiFrame), &m_error) != nullptr, "FFMS_GetFrame");
    }

private:
    char m_szError[256] = {};
    FFMS_ErrorInfo m_error{0, 0, sizeof m_szError, m_szError};
    FFMS_VideoSource* m_pSource = nullptr;
};

#ifdef QM_BENCH_OPENCV
class OpenCvReader : public FrameReader
{
public:
    explicit OpenCvReader(const std::filesystem::path& path) : m_capture(path.string(), cv::CAP_FFMPEG)
    {
        Check(m_capture.isOpened(), "cv::VideoCapture");
    }

    void Read(std::uint32_t uiFrame) override
    {
        if (uiFrame != m_uiNext) Check(m_capture.set(cv::CAP_PROP_POS_FRAMES, uiFrame), "cv::VideoCapture::set");
        Check(m_capture.read(m_picture), "cv::VideoCapture::read");
        m_uiNext = uiFrame + 1;
    }

private:
    cv::VideoCapture m_capture;
    cv::Mat m_picture;
    std::uint32_t m_uiNext = 0;
};
#endif

class DecodingReader : public FrameReader
{
public:
    DecodingReader(const std::filesystem::path& path, double dPeriodMs) : m_dPeriodMs(dPeriodMs)
    {
        Check(avformat_open_input(&m_pFormat, path.c_str(), nullptr, nullptr) == 0, "avformat_open_input");
        Check(avformat_find_stream_info(m_pFormat, nullptr) >= 0, "avformat_find_stream_info");
        m_nStream = av_find_best_stream(m_pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        Check(m_nStream >= 0, "av_find_best_stream");
        const AVCodecParameters* const pParameters = m_pFormat->streams[m_nStream]->codecpar;
        const AVCodec* const pCodec = avcodec_find_decoder(pParameters->codec_id);
        m_pDecoder = avcodec_alloc_context3(pCodec);
        Check(m_pDecoder && avcodec_parameters_to_context(m_pDecoder, pParameters) >= 0,
              "avcodec_parameters_to_context");
        m_pDecoder->thread_count = static_cast<int>(std::thread::hardware_concurrency()) + 1;
        m_pDecoder->thread_type = FF_THREAD_FRAME;
        Check(avcodec_open2(m_pDecoder, pCodec, nullptr) == 0, "avcodec_open2");
    }
    ~DecodingReader() override
    {
        av_frame_free(&m_pFrame);
        av_packet_free(&m_pPacket);
        avcodec_free_context(&m_pDecoder);
        avformat_close_input(&m_pFormat);
    }

    void Read(std::uint32_t uiFrame) override
    {
        const AVRational base = m_pFormat->streams[m_nStream]->time_base;
        const auto nTime = std::llround(uiFrame * m_dPeriodMs / 1000.0 * base.den / base.num);
        Check(av_seek_frame(m_pFormat, m_nStream, nTime, AVSEEK_FLAG_BACKWARD) >= 0, "av_seek_frame");
        avcodec_flush_buffers(m_pDecoder);
        for (bool bMore = true;;)
        {
            const int nResult = avcodec_receive_frame(m_pDecoder, m_pFrame);
            if (nResult == 0 && m_pFrame->pts >= nTime) return;
            if (nResult == 0) continue;
            Check(nResult == AVERROR(EAGAIN) && bMore, "avcodec_receive_frame");
            bMore = Feed();
        }
    }

private:
    // False at the end of the file.
    bool Feed()
    {
        while (av_read_frame(m_pFormat, m_pPacket) >= 0)
        {
            const bool bVideo = m_pPacket->stream_index == m_nStream;
            if (bVideo) avcodec_send_packet(m_pDecoder, m_pPacket);
            av_packet_unref(m_pPacket);
            if (bVideo) return true;
        }
        avcodec_send_packet(m_pDecoder, nullptr);
        return false;
    }

    const double m_dPeriodMs;
    AVFormatContext* m_pFormat = nullptr;
    AVCodecContext* m_pDecoder = nullptr;
    AVPacket* m_pPacket = av_packet_alloc();
    AVFrame* m_pFrame = av_frame_alloc();
    int m_nStream = 0;
};

}  // namespace

std::unique_ptr<FrameReader> OpenFfms2(const std::filesystem::path& path)
{
    return std::make_unique<Ffms2Reader>(path);
}

std::unique_ptr<FrameReader> OpenOpenCv([[maybe_unused]] const std::filesystem::path& path)
{
#ifdef QM_BENCH_OPENCV
    return std::make_unique<OpenCvReader>(path);
#else
    return nullptr;
#endif
}

std::unique_ptr<FrameReader> OpenDecoder(const std::filesystem::path& path, double dPeriodMs)
{
    return std::make_unique<DecodingReader>(path, dPeriodMs);
}

}  // namespace bench
