// An instance of x264.
#pragma once

#include <map>

#include "runtimes/common/picture_encoder.h"
#include "runtimes/common/x264_library.h"

namespace runtimes
{

class X264Encoder final : public PictureEncoder
{
public:
    // Of stream the size and the place of parameter sets count; settings have the rest in x264's own words. Throws
    // EncoderError.
    X264Encoder(const StreamSettings& stream, const X264Settings& settings);

    const std::vector<std::uint8_t>& Headers() const override { return m_headers; }
    std::uint32_t PictureDelay() const override;
    std::optional<Packet> Encode(const Nv12View& picture, PictureKind eKind, const PictureInfo& info) override;
    std::optional<Packet> Drain() override;

private:
    struct Close
    {
        void operator()(x264_t* p) const { x264_encoder_close(p); }
    };

    std::optional<Packet> Run(x264_picture_t* pIn);
    Packet MakePacket(const x264_nal_t* pNals, int nNals, const x264_picture_t& out);

    const HeaderRule m_when;
    std::unique_ptr<x264_t, Close> m_pEncoder;
    std::vector<std::uint8_t> m_headers;
    std::map<std::int64_t, PictureInfo> m_inFlight;  // by number of the picture
    std::int64_t m_nextNumber = 0;
    bool m_bFirstPacket = true;
};

}  // namespace runtimes
