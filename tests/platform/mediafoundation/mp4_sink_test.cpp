// The sink that makes an MP4 file, by itself, and the byte stream of a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <functional>

#include "platform/mediafoundation/write_script.h"
#include "support/ffmpeg.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"
#include "test_graph.h"
#include "writing_graph.h"

namespace mftest
{
namespace
{

using test_support::Complaints;
using ::testing::ElementsAre;

// What has come until now; the type of each event.
std::vector<MediaEventType> TakeEvents(IMFMediaEventGenerator* pGenerator)
{
    std::vector<MediaEventType> types;
    ComPtr<IMFMediaEvent> event;
    while (SUCCEEDED(pGenerator->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.Put())))
    {
        MediaEventType type = MEUnknown;
        EXPECT_EQ(event->GetType(&type), S_OK);
        types.push_back(type);
    }
    return types;
}

class Mp4Sink : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MediaWriteScript_Reset();
        Open(CreateFileStream(m_path));
    }
    void TearDown() override
    {
        MediaWriteScript_Reset();
        if (m_sink) (void)m_sink->Shutdown();
    }

    void Open(const ComPtr<IMFByteStream>& target)
    {
        if (m_sink) (void)m_sink->Shutdown();
        ASSERT_EQ(MFCreateMPEG4MediaSink(target.Get(), EncodedType().Get(), nullptr, m_sink.Put()), S_OK);
        ASSERT_EQ(m_sink->GetStreamSinkByIndex(0, m_stream.Put()), S_OK);
    }
    HRESULT Start() { return m_sink.As<IMFClockStateSink>()->OnClockStart(0, 0); }

    // Encodes pictures of these durations, in 100 ns, in decoding order.
    static std::vector<Encoded> Encode(const std::vector<std::int64_t>& durations, UINT32 unBPictures = 0,
                                       std::int64_t nTime = 0)
    {
        const ComPtr<IMFTransform> encoder = FindEncoder();
        EXPECT_EQ(SetProperty(encoder.Get(), CODECAPI_AVEncMPVDefaultBPictureCount, unBPictures), S_OK);
        EXPECT_EQ(SetTypes(encoder.Get()), S_OK);
        std::vector<Encoded> all;
        const auto take = [&] {
            for (Encoded& one : TakeAll(encoder.Get()))
            {
                all.push_back(std::move(one));
            }
        };
        for (std::size_t i = 0; i < durations.size(); ++i)
        {
            const auto sample = MakeSample(NumberedPicture(static_cast<unsigned>(i)), nTime, durations[i]);
            EXPECT_EQ(encoder->ProcessInput(0, sample.Get(), 0), S_OK);
            nTime += durations[i];
            take();
        }
        EXPECT_EQ(encoder->ProcessMessage(MFT_MESSAGE_COMMAND_DRAIN, 0), S_OK);
        take();
        return all;
    }
    void Write(const std::vector<Encoded>& samples)
    {
        ASSERT_EQ(Start(), S_OK);
        for (const Encoded& one : samples)
        {
            ASSERT_EQ(m_stream->ProcessSample(one.m_sample.Get()), S_OK);
        }
    }
    HRESULT Close()
    {
        const HRESULT hr = Finalize(m_sink.Get());
        (void)m_sink->Shutdown();
        m_stream = nullptr;
        m_sink = nullptr;
        return hr;
    }

    // ffprobe's times, the sums of stts and the pictures are those of the durations.
    // ffmpeg's decoder guesses times where two are equal.
    void ExpectFile(const std::vector<std::int64_t>& durations, Complaints allowed = Complaints::None)
    {
        constexpr double TICK = 1.0 / 30000;
        const std::vector<double> times = ProbedTimes(m_path);
        ASSERT_EQ(times.size(), durations.size());
        const auto sums = test_support::ListTimesMs(test_support::ReadBytes(m_path));
        ASSERT_EQ(sums.size(), durations.size());
        const auto decoded = test_support::DecodePlain(m_path, "-pix_fmt yuv420p -enc_time_base 1/30000",
                                                       std::size_t{WIDTH} * HEIGHT * 3 / 2, allowed);
        ASSERT_EQ(decoded.size(), durations.size());
        std::int64_t nSum = 0;
        for (std::size_t i = 0; i < durations.size(); ++i)
        {
            EXPECT_NEAR(times[i], static_cast<double>(nSum) / 1e7, TICK) << i;
            EXPECT_EQ(sums[i], static_cast<std::uint64_t>(nSum / MS)) << i;
            EXPECT_EQ(NumberIn(decoded[i].data()), i);
            nSum += durations[i];
        }
    }

    Platform m_platform;
    test_support::TemporaryFolder m_folder;
    const std::filesystem::path m_path = m_folder / "file.mp4";
    ComPtr<IMFMediaSink> m_sink;
    ComPtr<IMFStreamSink> m_stream;
};

std::vector<std::int64_t> IrregularDurations(std::size_t uiCount)
{
    std::vector<std::int64_t> durations;
    for (std::size_t i = 0; i < uiCount; ++i)
    {
        durations.push_back(static_cast<std::int64_t>(10000 + (i * 7919 * 131) % 2000003));
    }
    return durations;
}

TEST_F(Mp4Sink, KeepsIrregularDurations)
{
    const auto durations = IrregularDurations(40);
    Write(Encode(durations));
    ASSERT_EQ(Close(), S_OK);
    ExpectFile(durations);
}

TEST_F(Mp4Sink, KeepsIrregularDurationsWithBPictures)
{
    const auto durations = IrregularDurations(40);
    const auto samples = Encode(durations, 2);
    ASSERT_FALSE(std::is_sorted(samples.begin(), samples.end(), [](const Encoded& left, const Encoded& right) {
        return left.m_nTime < right.m_nTime;
    }));
    Write(samples);
    ASSERT_EQ(Close(), S_OK);
    ExpectFile(durations);
}

TEST_F(Mp4Sink, KeepsAPictureWithoutADuration)
{
    const std::vector<std::int64_t> durations = {0, 40 * MS, 40 * MS, 40 * MS};
    Write(Encode(durations));
    ASSERT_EQ(Close(), S_OK);
    ExpectFile(durations);
}

TEST_F(Mp4Sink, KeepsAPictureWithoutADurationAmongBPictures)
{
    const std::vector<std::int64_t> durations = {0, 40 * MS, 3 * MS, 500 * MS, 40 * MS, 1 * MS, 40 * MS, 40 * MS};
    Write(Encode(durations, 2));
    ASSERT_EQ(Close(), S_OK);
    ExpectFile(durations, Complaints::Any);
}

TEST_F(Mp4Sink, KeepsOnePicture)
{
    Write(Encode({70 * MS}));
    ASSERT_EQ(Close(), S_OK);
    ExpectFile({70 * MS});
}

// 30 hours are more ticks than 31 bits have, and all of them more than 32.
TEST_F(Mp4Sink, KeepsLongDistances)
{
    constexpr std::int64_t HOURS_30 = std::int64_t{30} * 3600 * 1000 * MS;
    const std::vector<std::int64_t> durations = {HOURS_30, HOURS_30, HOURS_30, 40 * MS};
    Write(Encode(durations));
    ASSERT_EQ(Close(), S_OK);
    const auto sums = test_support::ListTimesMs(test_support::ReadBytes(m_path));
    ASSERT_EQ(sums.size(), 4U);
    EXPECT_EQ(sums[3], 3U * 30 * 3600 * 1000);
    EXPECT_EQ(ProbedTimes(m_path).back(), 3.0 * 30 * 3600);
}

TEST_F(Mp4Sink, TimesBeginWithTheFirstPicture)
{
    const std::vector<std::int64_t> durations = {40 * MS, 15 * MS, 40 * MS};
    Write(Encode(durations, 0, 5000 * MS));
    ASSERT_EQ(Close(), S_OK);
    ExpectFile(durations);
}

TEST_F(Mp4Sink, TheTimescaleHasWholeMilliseconds)
{
    Write(Encode({40 * MS}));
    ASSERT_EQ(Close(), S_OK);
    const auto file = test_support::ReadBytes(m_path);
    const auto header = test_support::FindBox(file, "moov/trak/mdia/mdhd");
    EXPECT_EQ(WordAt(file, header.m_uiPayload + 12), 30000U);
}

TEST_F(Mp4Sink, TheLastDurationIsThatOfTheLastPicture)
{
    Write(Encode({40 * MS, 123 * MS}));
    ASSERT_EQ(Close(), S_OK);
    const std::string strDuration =
        test_support::RunFfprobe("-v error -show_entries stream=duration -of csv=p=0 " + test_support::Quoted(m_path));
    EXPECT_NEAR(std::stod(strDuration), 0.163, 1e-4);
}

TEST_F(Mp4Sink, BytesAreInTheFileWhenTheSampleHasBeenTaken)
{
    const auto samples = Encode({40 * MS, 40 * MS, 40 * MS});
    EXPECT_EQ(std::filesystem::file_size(m_path), 0U);
    ASSERT_EQ(Start(), S_OK);
    std::uintmax_t uiBefore = 0;
    for (const Encoded& one : samples)
    {
        ASSERT_EQ(m_stream->ProcessSample(one.m_sample.Get()), S_OK);
        EXPECT_GT(std::filesystem::file_size(m_path), uiBefore);
        uiBefore = std::filesystem::file_size(m_path);
    }
}

// --- events and states ---

TEST_F(Mp4Sink, AsksForASampleAtTheStartAndAfterEachOne)
{
    const auto samples = Encode({MS, MS});
    EXPECT_EQ(m_stream->ProcessSample(samples[0].m_sample.Get()), MF_E_INVALIDREQUEST);  // not started
    ASSERT_EQ(Start(), S_OK);
    EXPECT_THAT(TakeEvents(m_stream.Get()), ElementsAre(301, 305));
    ASSERT_EQ(m_stream->ProcessSample(samples[0].m_sample.Get()), S_OK);
    EXPECT_THAT(TakeEvents(m_stream.Get()), ElementsAre(305));
    const auto clock = m_sink.As<IMFClockStateSink>();
    ASSERT_EQ(clock->OnClockPause(0), S_OK);
    ASSERT_EQ(clock->OnClockRestart(0), S_OK);
    ASSERT_EQ(clock->OnClockSetRate(0, 1.0F), S_OK);
    ASSERT_EQ(clock->OnClockStop(0), S_OK);
    EXPECT_THAT(TakeEvents(m_stream.Get()), ElementsAre(303, 301, 305, 304, 302));
    EXPECT_EQ(m_stream->ProcessSample(samples[1].m_sample.Get()), MF_E_INVALIDREQUEST);
}

TEST_F(Mp4Sink, ReportsAMarkerWithItsContext)
{
    PROPVARIANT context;
    PropVariantInit(&context);
    context.vt = VT_UI4;
    context.ulVal = 17;
    ASSERT_EQ(m_stream->PlaceMarker(MFSTREAMSINK_MARKER_ENDOFSEGMENT, nullptr, &context), S_OK);
    ComPtr<IMFMediaEvent> event;
    ASSERT_EQ(m_stream->GetEvent(0, event.Put()), S_OK);
    MediaEventType type = MEUnknown;
    PROPVARIANT value;
    ASSERT_EQ(event->GetType(&type), S_OK);
    ASSERT_EQ(event->GetValue(&value), S_OK);
    EXPECT_EQ(type, MEStreamSinkMarker);
    EXPECT_EQ(value.ulVal, 17U);
}

TEST_F(Mp4Sink, HasOneFixedStream)
{
    DWORD dwCount = 0;
    DWORD dwIdentifier = 99;
    ComPtr<IMFStreamSink> other;
    ComPtr<IMFMediaSink> sink;
    EXPECT_EQ(m_sink->GetStreamSinkCount(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 1U);
    EXPECT_EQ(m_sink->GetStreamSinkByIndex(1, other.Put()), MF_E_INVALIDINDEX);
    EXPECT_EQ(m_sink->GetStreamSinkById(0, other.Put()), S_OK);
    EXPECT_EQ(other.Get(), m_stream.Get());
    EXPECT_EQ(m_stream->GetIdentifier(&dwIdentifier), S_OK);
    EXPECT_EQ(dwIdentifier, 0U);
    EXPECT_EQ(m_stream->GetMediaSink(sink.Put()), S_OK);
    EXPECT_EQ(sink.Get(), m_sink.Get());
    EXPECT_EQ(m_sink->AddStreamSink(1, EncodedType().Get(), other.Put()), MF_E_STREAMSINKS_FIXED);
    EXPECT_EQ(m_sink->RemoveStreamSink(0), MF_E_STREAMSINKS_FIXED);
    DWORD dwCharacteristics = 0;
    EXPECT_EQ(m_sink->GetCharacteristics(&dwCharacteristics), S_OK);
    EXPECT_EQ(dwCharacteristics, 5U);  // fixed streams, rateless
}

TEST_F(Mp4Sink, RefusesOtherTypes)
{
    ComPtr<IMFMediaTypeHandler> handler;
    ASSERT_EQ(m_stream->GetMediaTypeHandler(handler.Put()), S_OK);
    VideoShape other;
    other.m_unWidth = 128;
    EXPECT_EQ(handler->IsMediaTypeSupported(EncodedType().Get(), nullptr), S_OK);
    EXPECT_EQ(handler->IsMediaTypeSupported(EncodedType(other).Get(), nullptr), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(handler->SetCurrentMediaType(RawType().Get()), MF_E_INVALIDMEDIATYPE);
    const ComPtr<IMFByteStream> target = CreateFileStream(m_folder / "other.mp4");
    ComPtr<IMFMediaSink> sink;
    EXPECT_EQ(MFCreateMPEG4MediaSink(target.Get(), RawType().Get(), nullptr, sink.Put()), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(MFCreateMPEG4MediaSink(target.Get(), nullptr, nullptr, sink.Put()), E_INVALIDARG);
    EXPECT_EQ(MFCreateMPEG4MediaSink(target.Get(), EncodedType().Get(), EncodedType().Get(), sink.Put()),
              MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(MFCreateMPEG4MediaSink(nullptr, EncodedType().Get(), nullptr, sink.Put()), E_POINTER);
    EXPECT_FALSE(sink);
}

TEST_F(Mp4Sink, RefusesSamplesThatAreNoPictures)
{
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(m_stream->ProcessSample(MakeSample({1, 2, 3, 4}, 0, MS).Get()), MF_E_INVALID_STREAM_DATA);
    EXPECT_EQ(m_stream->ProcessSample(MakeSample({}, 0, MS).Get()), MF_E_INVALID_STREAM_DATA);
    const auto samples = Encode({MS});
    EXPECT_EQ(m_stream->ProcessSample(MakeSample(samples[0].m_bytes, 0, -1).Get()), MF_E_INVALID_TIMESTAMP);
    constexpr std::int64_t HOURS_40 = std::int64_t{40} * 3600 * 1000 * MS;
    EXPECT_EQ(m_stream->ProcessSample(MakeSample(samples[0].m_bytes, 0, HOURS_40).Get()), MF_E_INVALID_TIMESTAMP);
    EXPECT_EQ(std::filesystem::file_size(m_path), 0U);
    EXPECT_EQ(m_stream->ProcessSample(samples[0].m_sample.Get()), S_OK);
    ASSERT_EQ(Close(), S_OK);
    ExpectFile({MS});
}

TEST_F(Mp4Sink, EverythingIsRefusedAfterTheShutdown)
{
    const auto samples = Encode({MS});
    ASSERT_EQ(m_sink->Shutdown(), S_OK);
    DWORD dw = 0;
    ComPtr<IMFStreamSink> stream;
    ComPtr<IMFMediaEvent> event;
    const auto callback = ComPtr<DoneCallback>::Attach(new DoneCallback());
    EXPECT_EQ(m_sink->Shutdown(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_sink->GetStreamSinkCount(&dw), MF_E_SHUTDOWN);
    EXPECT_EQ(m_sink->GetStreamSinkByIndex(0, stream.Put()), MF_E_SHUTDOWN);
    EXPECT_EQ(Start(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_stream->ProcessSample(samples[0].m_sample.Get()), MF_E_SHUTDOWN);
    EXPECT_EQ(m_stream->PlaceMarker(MFSTREAMSINK_MARKER_DEFAULT, nullptr, nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_stream->GetEvent(0, event.Put()), MF_E_SHUTDOWN);
    EXPECT_EQ(m_sink.As<IMFFinalizableMediaSink>()->BeginFinalize(callback.Get(), nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(callback->Count(), 0U);
}

// --- finalisation ---

TEST_F(Mp4Sink, WithoutASampleThereIsNothingToFinish)
{
    EXPECT_EQ(Close(), MF_E_SINK_NO_SAMPLES_PROCESSED);
    EXPECT_EQ(std::filesystem::file_size(m_path), 0U);
}

TEST_F(Mp4Sink, TheResultLivesUntilTheEndWithoutAReferenceOfTheCallback)
{
    Write(Encode({MS}));
    const auto finalizable = m_sink.As<IMFFinalizableMediaSink>();
    const auto callback = ComPtr<DoneCallback>::Attach(new DoneCallback());
    ASSERT_EQ(finalizable->BeginFinalize(callback.Get(), m_stream.Get()), S_OK);
    IMFAsyncResult* pResult = callback->Wait();
    ComPtr<IUnknown> state;
    EXPECT_EQ(pResult->GetState(state.Put()), S_OK);
    EXPECT_EQ(state.Get(), m_stream.Get());
    EXPECT_EQ(finalizable->EndFinalize(nullptr), E_INVALIDARG);
    EXPECT_EQ(finalizable->EndFinalize(pResult), S_OK);
    EXPECT_EQ(finalizable->EndFinalize(pResult), E_INVALIDARG);
    EXPECT_EQ(finalizable->BeginFinalize(callback.Get(), nullptr), MF_E_INVALIDREQUEST);
    EXPECT_EQ(callback->Count(), 1U);
}

TEST_F(Mp4Sink, ABeginThatFailsNeverCallsBack)
{
    Write(Encode({MS}));
    const auto finalizable = m_sink.As<IMFFinalizableMediaSink>();
    const auto callback = ComPtr<DoneCallback>::Attach(new DoneCallback());
    EXPECT_EQ(finalizable->BeginFinalize(nullptr, nullptr), E_POINTER);
    MediaWriteScript_FailCall(MediaWriteCall::BeginFinalize, 1, E_ACCESSDENIED);
    EXPECT_EQ(finalizable->BeginFinalize(callback.Get(), nullptr), E_ACCESSDENIED);
    EXPECT_EQ(callback->Count(), 0U);
    EXPECT_EQ(Close(), S_OK);
}

TEST_F(Mp4Sink, AFailureOfTheFinalisationIsItsResult)
{
    Write(Encode({MS}));
    MediaWriteScript_FailCall(MediaWriteCall::Finalize, 1, E_ACCESSDENIED);
    EXPECT_EQ(Close(), E_ACCESSDENIED);
}

TEST_F(Mp4Sink, TheShutdownWaitsForAFinalisationThatIsHeld)
{
    Write(Encode({MS}));
    MediaWriteScript_HoldFinalize(TRUE);
    const auto callback = ComPtr<DoneCallback>::Attach(new DoneCallback());
    ASSERT_EQ(m_sink.As<IMFFinalizableMediaSink>()->BeginFinalize(callback.Get(), nullptr), S_OK);
    EXPECT_EQ(callback->Count(), 0U);
    MediaWriteScript_HoldFinalize(FALSE);
    ASSERT_EQ(m_sink->Shutdown(), S_OK);
    EXPECT_EQ(callback->Count(), 1U);
    ExpectFile({MS});
}

// --- a target that fails ---

// A byte stream in memory that holds so many bytes and no more.
class SmallTarget final : public platform::ComObject<platform::Implements<IMFByteStream>>
{
public:
    explicit SmallTarget(QWORD qwRoom) : m_qwRoom(qwRoom) {}

    QWORD m_qwEnd = 0;
    std::vector<std::uint8_t> m_bytes;
    unsigned m_uiWritesAfterFailure = 0;

    HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* pdwCapabilities) override
    {
        *pdwCapabilities = m_dwCapabilities;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetCurrentPosition(QWORD qwPosition) override
    {
        m_qwPosition = qwPosition;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Write(const BYTE* pb, ULONG cb, ULONG* pcbWritten) override
    {
        *pcbWritten = 0;
        if (m_bFailed) ++m_uiWritesAfterFailure;
        m_bFailed = m_bFailed || m_qwPosition + cb > m_qwRoom;
        if (m_bFailed) return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
        m_bytes.resize(std::max<std::size_t>(m_bytes.size(), m_qwPosition + cb));
        std::copy(pb, pb + cb, m_bytes.begin() + static_cast<std::ptrdiff_t>(m_qwPosition));
        m_qwPosition += cb;
        *pcbWritten = cb;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetLength(QWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetLength(QWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCurrentPosition(QWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsEndOfStream(BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Read(BYTE*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginRead(BYTE*, ULONG, IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndRead(IMFAsyncResult*, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginWrite(const BYTE*, ULONG, IMFAsyncCallback*, IUnknown*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EndWrite(IMFAsyncResult*, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Seek(MFBYTESTREAM_SEEK_ORIGIN, LONGLONG, DWORD, QWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Flush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Close() override { return S_OK; }

    DWORD m_dwCapabilities = MFBYTESTREAM_IS_WRITABLE | MFBYTESTREAM_IS_SEEKABLE;

private:
    const QWORD m_qwRoom;
    QWORD m_qwPosition = 0;
    bool m_bFailed = false;
};

TEST_F(Mp4Sink, AFileWithoutSpaceTakesNothingMoreAndKeepsTheMarkOfAnUnfinishedOne)
{
    const auto target = ComPtr<SmallTarget>::Attach(new SmallTarget(700));
    Open(target);
    ASSERT_EQ(Start(), S_OK);
    const auto samples = Encode(std::vector<std::int64_t>(30, 40 * MS));
    std::size_t uiTaken = 0;
    while (uiTaken < samples.size() && m_stream->ProcessSample(samples[uiTaken].m_sample.Get()) == S_OK)
    {
        ++uiTaken;
    }
    ASSERT_LT(uiTaken, samples.size());
    constexpr HRESULT FULL = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    EXPECT_EQ(m_stream->ProcessSample(samples[uiTaken].m_sample.Get()), FULL);
    EXPECT_EQ(Close(), FULL);
    EXPECT_EQ(target->m_uiWritesAfterFailure, 0U);
    // The empty box and the size of the media data come before its first byte.
    ASSERT_GE(target->m_bytes.size(), 48U);
    EXPECT_EQ(std::string(target->m_bytes.begin() + 40, target->m_bytes.begin() + 48), std::string("\0\0\0\0mdat", 8));
}

TEST_F(Mp4Sink, AnIndexWithoutSpaceIsTheResultOfTheFinalisation)
{
    const auto samples = Encode({40 * MS, 40 * MS});
    std::size_t uiBytes = 48;
    for (const Encoded& one : samples)
    {
        uiBytes += one.m_bytes.size();
    }
    const auto target = ComPtr<SmallTarget>::Attach(new SmallTarget(uiBytes + 100));
    Open(target);
    Write(samples);
    EXPECT_EQ(Close(), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    ASSERT_GE(target->m_bytes.size(), 48U);
    EXPECT_EQ(std::string(target->m_bytes.begin() + 40, target->m_bytes.begin() + 48), std::string("\0\0\0\0mdat", 8));
}

TEST_F(Mp4Sink, ADeviceThatIsFullIsReported)
{
    Open(CreateFileStream("/dev/full"));
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(m_stream->ProcessSample(Encode({MS})[0].m_sample.Get()), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
}

TEST_F(Mp4Sink, RefusesATargetThatItCannotWriteTo)
{
    const auto target = ComPtr<SmallTarget>::Attach(new SmallTarget(0));
    ComPtr<IMFMediaSink> sink;
    target->m_dwCapabilities = MFBYTESTREAM_IS_SEEKABLE;
    EXPECT_EQ(MFCreateMPEG4MediaSink(target.Get(), EncodedType().Get(), nullptr, sink.Put()), E_INVALIDARG);
    target->m_dwCapabilities = MFBYTESTREAM_IS_WRITABLE;
    EXPECT_EQ(MFCreateMPEG4MediaSink(target.Get(), EncodedType().Get(), nullptr, sink.Put()),
              MF_E_BYTESTREAM_NOT_SEEKABLE);
}

// --- the byte stream of a file ---

class FileStream : public ::testing::Test
{
protected:
    HRESULT Create(const std::filesystem::path& path, MF_FILE_OPENMODE eOpen, MF_FILE_ACCESSMODE eAccess,
                   ComPtr<IMFByteStream>* pStream)
    {
        return MFCreateFile(eAccess, eOpen, MF_FILEFLAGS_NONE, Widen(path.string()).c_str(), pStream->Put());
    }
    HRESULT Create(const std::filesystem::path& path, MF_FILE_OPENMODE eOpen)
    {
        return Create(path, eOpen, MF_ACCESSMODE_READWRITE, &m_stream);
    }
    std::string Contents(const std::filesystem::path& path)
    {
        const auto bytes = test_support::ReadBytes(path);
        return {bytes.begin(), bytes.end()};
    }

    Platform m_platform;
    test_support::TemporaryFolder m_folder;
    ComPtr<IMFByteStream> m_stream;
};

TEST_F(FileStream, ReplacesAnExistingFile)
{
    test_support::WriteText(m_folder / "old", "old content");
    ASSERT_EQ(Create(m_folder / "old", MF_OPENMODE_DELETE_IF_EXIST), S_OK);
    EXPECT_EQ(Contents(m_folder / "old"), "");
}

TEST_F(FileStream, OpensInEveryMode)
{
    test_support::WriteText(m_folder / "old", "old");
    QWORD qwPosition = 99;
    EXPECT_EQ(Create(m_folder / "new", MF_OPENMODE_FAIL_IF_NOT_EXIST), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Create(m_folder / "old", MF_OPENMODE_FAIL_IF_EXIST), HRESULT_FROM_WIN32(ERROR_FILE_EXISTS));
    EXPECT_EQ(Create(m_folder / "old", MF_OPENMODE_FAIL_IF_NOT_EXIST), S_OK);
    ASSERT_EQ(Create(m_folder / "old", MF_OPENMODE_APPEND_IF_EXIST), S_OK);
    EXPECT_EQ(m_stream->GetCurrentPosition(&qwPosition), S_OK);
    EXPECT_EQ(qwPosition, 3U);
    EXPECT_EQ(Create(m_folder / "new", MF_OPENMODE_FAIL_IF_EXIST), S_OK);
    EXPECT_EQ(Create(m_folder / "old", static_cast<MF_FILE_OPENMODE>(5)), E_INVALIDARG);
    EXPECT_EQ(Contents(m_folder / "old"), "old");
    EXPECT_EQ(Create(m_folder / "old", MF_OPENMODE_RESET_IF_EXIST), S_OK);
    EXPECT_EQ(Contents(m_folder / "old"), "");
}

TEST_F(FileStream, ReportsWhyAFileCannotBeMade)
{
    EXPECT_EQ(Create({}, MF_OPENMODE_DELETE_IF_EXIST), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Create(m_folder / "no" / "file", MF_OPENMODE_DELETE_IF_EXIST), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Create(m_folder.Path(), MF_OPENMODE_DELETE_IF_EXIST), E_ACCESSDENIED);
    EXPECT_FALSE(m_stream);
    EXPECT_EQ(
        MFCreateFile(MF_ACCESSMODE_READWRITE, MF_OPENMODE_DELETE_IF_EXIST, MF_FILEFLAGS_NONE, nullptr, m_stream.Put()),
        E_POINTER);
}

TEST_F(FileStream, HasUnicodeNames)
{
    const std::filesystem::path path = m_folder / "\xc5\x99\xe6\x97\xa5.mp4";
    ASSERT_EQ(Create(path, MF_OPENMODE_DELETE_IF_EXIST), S_OK);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(FileStream, ReadsWhatItWrote)
{
    ASSERT_EQ(Create(m_folder / "file", MF_OPENMODE_DELETE_IF_EXIST), S_OK);
    ULONG cb = 0;
    ASSERT_EQ(m_stream->Write(reinterpret_cast<const BYTE*>("abcdef"), 6, &cb), S_OK);
    EXPECT_EQ(cb, 6U);
    ASSERT_EQ(m_stream->SetCurrentPosition(2), S_OK);
    ASSERT_EQ(m_stream->Write(reinterpret_cast<const BYTE*>("XY"), 2, &cb), S_OK);
    QWORD qw = 0;
    EXPECT_EQ(m_stream->GetLength(&qw), S_OK);
    EXPECT_EQ(qw, 6U);
    ASSERT_EQ(m_stream->Seek(msoCurrent, -3, 0, &qw), S_OK);
    EXPECT_EQ(qw, 1U);
    BYTE abRead[10] = {};
    ASSERT_EQ(m_stream->Read(abRead, 10, &cb), S_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(abRead), cb), "bXYef");
    BOOL fEnd = FALSE;
    EXPECT_EQ(m_stream->IsEndOfStream(&fEnd), S_OK);
    EXPECT_EQ(fEnd, TRUE);
    EXPECT_EQ(m_stream->SetLength(3), S_OK);
    EXPECT_EQ(Contents(m_folder / "file"), "abX");
    EXPECT_EQ(m_stream->Seek(msoBegin, -1, 0, nullptr), E_INVALIDARG);
}

TEST_F(FileStream, TheLastReleaseClosesTheFile)
{
    ASSERT_EQ(Create(m_folder / "file", MF_OPENMODE_DELETE_IF_EXIST), S_OK);
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto nBefore = openFiles();
    m_stream = nullptr;
    EXPECT_EQ(openFiles(), nBefore - 1);
}

}  // namespace
}  // namespace mftest
