// The AMF back end of one output file: the host's thread converts pictures and submits them to AMD's encoder, and a
// thread of this object's own writes what is encoded.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <windows.h>

#include "abi/amf/amf.h"
#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "mp4_outputfile/pollingthread.h"

// The bit rate for pictures of that many pixels, in bits per second: 20 Mbit/s for 1920 x 1080, and in proportion to
// the area for others, without a lower or an upper limit.
std::int64_t CalcAmfBitRate(std::uint32_t uiWidth, std::uint32_t uiHeight);

// Input and output of the encoder don't wait for each other: the host waits only while the encoder's input is full. The
// encoder gives buffers in the order of the pictures, one for each, since it makes no B pictures.
//
// The runtime has been loaded by the module's start. A CModuleRuntimeHold outlives this object.
class CAmfWriter : public IEncoderBackEnd
{
public:
    // file outlives this object.
    explicit CAmfWriter(CMp4FileWriter& file) : m_file(file) {}
    // Without a close before it the file stays unfinished.
    ~CAmfWriter() override;

    CAmfWriter(const CAmfWriter&) = delete;
    CAmfWriter& operator=(const CAmfWriter&) = delete;

    // Makes context, converter and encoder. S_FALSE without the runtime and when one of them can't be made; the others
    // stay until Close. No file is made yet.
    HRESULT Open(const SEncoderSettings& settings) override;

    // Converts a picture and submits it. The first one also initialises the encoder, opens the file and starts the
    // thread. A file that can't be opened is no failure: pictures are submitted until the encoder's input is full.
    //
    // Taken as well when the encoder refuses the picture or was never initialised: its answers aren't looked at. Lost
    // when there is no surface for it, when the thread can't be started, when the input stays full for 20 seconds in
    // which nothing comes out, and after the thread had to give the file up.
    EPictureFate WriteFrame(std::uint32_t uiIndex, const SHostPicture& picture, const SFrameTimes& times) override;

    // Drains the encoder, finishes the file when the thread has ended, and ends the components. Returns when everything
    // that the encoder holds has been written; with less than that when nothing comes for ten minutes after the drain,
    // or for 20 seconds after one that failed or that the encoder had no place for.
    void Close(const SFrameTimes& times) override;

private:
    bool MakeComponents();
    void SetEncoderProperties();
    void InitConverter();
    bool StartPolling();
    EPictureFate Submit(AMFSurface& surface);
    void EndStream();
    void ReleaseComponents();

    CMp4FileWriter& m_file;
    const CQmStringW* m_pstrFileName = nullptr;
    std::uint32_t m_uiWidth = 0;   // as encoded, in pixels
    std::uint32_t m_uiHeight = 0;  //

    AMFContext* m_pAmfContext = nullptr;  // one reference each, null until set up
    AMFComponent* m_pAmfConverter = nullptr;
    AMFComponent* m_pAmfEncoder = nullptr;
    std::unique_ptr<PollingThread> m_pPollingThread;  // from the first picture to the close
    std::optional<std::uint64_t> m_uiFullSince;       // since when the input was full for a picture that was lost
};
