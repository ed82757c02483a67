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
#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"

// Everything runs on the host's thread; a call returns when its picture is encoded as far as the session's delay
// allows. The host's diagnostics report why a call failed.
class CNvencWriter : public IEncoderBackEnd
{
public:
    // file outlives this object.
    explicit CNvencWriter(CMp4FileWriter& file) : m_file(file) {}
    // The Direct3D objects live until here.
    ~CNvencWriter() override;

    CNvencWriter(const CNvencWriter&) = delete;
    CNvencWriter& operator=(const CNvencWriter&) = delete;

    // Makes the device, the session and its encoder, then the file. S_OK also when the file can't be opened: frames
    // are encoded all the same and go nowhere. Otherwise the failing call's result, or S_FALSE for a failed session.
    //
    // A failure between opening the session and creating its encoder is not handled here: NVENCException, and
    // whatever else the settings throw, leaves the call.
    HRESULT Open(const SEncoderSettings& settings) override;

    // Encodes one picture and writes the packets that are ready, none to several. See WidenHostPicture for what is read
    // of it.
    //
    // Refused when the session refuses the picture; further frames may follow. Lost when the picture doesn't get to the
    // session, and when there was no memory for a packet: the file ends there, unfinished.
    EPictureFate WriteFrame(std::uint32_t uiIndex, const SHostPicture& picture, const SFrameTimes& times) override;

    // Takes what the encoder still holds, ends the session and finishes the file. What the encoder said to a frame
    // doesn't matter here: the file gets its lengths and `moov` from the packets that came.
    void Close(const SFrameTimes& times) override;

protected:
    HRESULT InitNvencEncoder(const CQmStringW& strFileName);
    HRESULT MakeDevice();
    HRESULT OpenSession();
    HRESULT CreateEncoder();
    bool FillNextInputFrame(const SHostPicture& picture);
    void DrainAndEndSession();
    void EndEncode(std::vector<std::vector<std::uint8_t>>& vPackets);
    bool LogPackets(const std::vector<std::vector<std::uint8_t>>& vPackets);

    CMp4FileWriter& m_file;
    std::uint32_t m_uiWidth = 0;                 // of the encoded picture, in pixels
    std::uint32_t m_uiHeight = 0;                //
    IDirect3DDevice9* m_pD3DDevice = nullptr;    // one reference each, null until the first frame
    IDirect3D9Ex* m_pD3D = nullptr;              //
    IDirect3DSurface9* m_pD3DSurface = nullptr;  // made and released; nothing is drawn on it
    NvEncoderD3D9* m_pEncoder = nullptr;         // owned until its session is ended, see there
    NvEncoderInitParam m_encoderInitParam;       // without options: the settings are constants
};
