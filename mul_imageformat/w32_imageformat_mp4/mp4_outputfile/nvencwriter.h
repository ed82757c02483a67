// The NVENC back end of one output file: the pictures of one file go through an encoder session, and its packets into
// the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

#include <d3d9.h>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderD3D9.h"
#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderInitParam.h"
#include "hostapi/hostcore.h"
#include "common/growingarray.h"
#include "mp4_outputfile/muxer/samplelog.h"

// One thread; a call returns when its picture is encoded as far as the session's delay allows. Why a call failed is
// told to the host's diagnostics. Width and height are those of the encoded picture, in pixels, and the same in every
// call.
class CNvencWriter
{
public:
    CNvencWriter();
    // The Direct3D objects live until here. A file that Close had no memory to finish is closed as it is.
    ~CNvencWriter();

    CNvencWriter(const CNvencWriter&) = delete;
    CNvencWriter& operator=(const CNvencWriter&) = delete;

    // Makes the device, the session and its encoder, then the file. S_OK also when the file can't be opened: frames
    // are encoded all the same and go nowhere. Otherwise the failing call's result, or S_FALSE for a failed session.
    //
    // A failure between opening the session and creating its encoder is not handled here: NVENCException, and
    // whatever else the settings throw, leaves the call.
    HRESULT InitNvencEncoder(std::uint32_t uiWidth, std::uint32_t uiHeight, const CQmStringW& strFileName);

    // Encodes one picture and writes the packets that are ready, none to several. pPixels: B, G, R rows at the pitch of
    // uiWidth rounded up to 4 bytes, which for a picture of odd width is more than its own.
    //
    // QM_ERR_FAIL without an encoder or when it fails; further frames may be tried. Where memory ran out on the way of
    // packets into the file, it ends there for good, unfinished. Throws std::bad_alloc without room for their list.
    QmStatus WriteFrame(const void* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight);

    // Takes what the encoder still holds, ends the session and finishes the file. vecFrameTimes: see FinishMp4File.
    // Again, or without an encoder and a file: nothing.
    void Close(const CGrowingArray<double>& vecFrameTimes, std::uint32_t uiWidth, std::uint32_t uiHeight);

protected:
    HRESULT MakeDevice(std::uint32_t uiWidth, std::uint32_t uiHeight);
    HRESULT OpenSession(std::uint32_t uiWidth, std::uint32_t uiHeight);
    HRESULT CreateEncoder();
    HRESULT FillNextInputFrame(const void* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight);
    void FlushEncoder();
    void EndEncode(std::vector<std::vector<std::uint8_t>>& vPackets);
    void AbandonFile();
    void LogPackets(const std::vector<std::vector<std::uint8_t>>& vPackets);

    IDirect3DDevice9* m_pD3DDevice = nullptr;    // one reference each, null until the first frame
    IDirect3D9Ex* m_pD3D = nullptr;              //
    IDirect3DSurface9* m_pD3DSurface = nullptr;  // made and released; nothing is drawn on it
    NvEncoderD3D9* m_pEncoder = nullptr;         // owned until the flush, see there
    NvEncoderInitParam m_encoderInitParam;       // without options: the settings are constants
    SSampleLog m_log;
    SNalLog m_nals;
    bool m_bFileAbandoned = false;  // a packet was lost
};
