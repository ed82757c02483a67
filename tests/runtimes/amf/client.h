// A client as they are usually written: pictures through the converter into the encoder, buffers taken in between.
#pragma once

#include <functional>
#include <vector>

#include <d3d9.h>

#include "annexb.h"
#include "pictures.h"
#include "runtime.h"

// What a client read of a buffer.
struct TakenBuffer
{
    std::vector<std::uint8_t> bytes;
    std::int64_t nStartTime = -1;   // "StartTimeProperty"
    std::int64_t nOutputType = -1;  // AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_ENUM
    amf_pts pts = 0;
    amf_pts duration = 0;
};

// The Direct3D surface of a surface's first plane.
IDirect3DSurface9* NativeOf(AMFSurface* pSurface);

// Into a BGRA surface of the picture's size.
void PaintSurface(AMFSurface* pSurface, const BgrPicture& picture);

class Client
{
public:
    Client(amf_int32 nWidth, amf_int32 nHeight);
    // Terminates and releases what is there.
    ~Client() { End(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    AMFContext& Context() const { return *m_pContext.Get(); }
    AMFComponent& Encoder() const { return *m_pEncoder.Get(); }
    AMFComponent& Converter() const { return *m_pConverter.Get(); }
    amf_int32 Width() const { return m_nWidth; }
    amf_int32 Height() const { return m_nHeight; }

    // Sets a property of the encoder; before Start.
    void Set(const wchar_t* pwszName, const AMFVariantStruct& value);
    // Initialises encoder and converter.
    void Start();

    // The picture as an NV12 surface, through the converter.
    Held<AMFSurface> Upload(const BgrPicture& picture);
    // Submits once.
    AMF_RESULT Submit(AMFSurface* pSurface) { return m_pEncoder->SubmitInput(pSurface); }
    // Uploads and submits; takes buffers as long as the input is full. The start time is the number of the picture.
    void Send(const BgrPicture& picture, const std::function<void(AMFSurface*)>& prepare = {});

    // One query. True if it gave a buffer, which then stands at the end of Buffers.
    bool Take(AMF_RESULT* peResult = nullptr);
    // Drain, and all buffers up to the end.
    void Finish();
    void End();

    const std::vector<TakenBuffer>& Buffers() const { return m_buffers; }
    std::vector<std::uint8_t> Stream() const;

private:
    const amf_int32 m_nWidth;
    const amf_int32 m_nHeight;
    Held<AMFContext> m_pContext;
    Held<AMFComponent> m_pConverter;
    Held<AMFComponent> m_pEncoder;
    std::int64_t m_nSent = 0;
    std::vector<TakenBuffer> m_buffers;
};

// The kinds of the units of a buffer, as "9 7 8 5".
std::string Units(const TakenBuffer& buffer);
