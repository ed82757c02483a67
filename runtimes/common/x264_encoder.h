// An instance of x264: pictures in, packets out, one stream from its first IDR picture to its end.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "runtimes/common/colour.h"
#include "runtimes/common/packet.h"
#include "runtimes/common/x264_report.h"

namespace runtimes
{

// Everything that decides the encoded pictures. Names as x264_param_parse takes them; options apply on top of the
// preset in their order, and the profile (empty for none) limits the whole.
struct X264Settings
{
    std::uint32_t uiWidth = 0;  // pixels, even
    std::uint32_t uiHeight = 0;
    std::string preset;
    std::string profile;
    std::vector<std::pair<std::string, std::string>> options;
    bool bHeadersFirst = true;  // parameter sets before the first IDR picture
    bool bHeadersAgain = true;  // and before every other

    // "name=value:name=value"
    std::string OptionsText() const;

    RuntimeX264Settings Report() const;
};

// x264 refused its parameters or a picture.
class X264Error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Used by one thread at a time.
class X264Encoder
{
public:
    // Throws X264Error.
    explicit X264Encoder(const X264Settings& settings);

    // SPS and PPS as a packet begins with them.
    const std::vector<std::uint8_t>& Headers() const { return m_headers; }

    // How many pictures it needs beyond one before the first packet comes; from then on a packet comes for each.
    std::uint32_t PictureDelay() const;

    // Takes a picture, which is read before the call returns. Gives the packet that is next in decoding order, nothing
    // while pictures are missing for it. Throws X264Error; nothing but the destructor may follow then.
    std::optional<Packet> Encode(const Nv12View& picture, PictureKind eKind, const PictureInfo& info);

    // The packet after the last picture went in; nothing when all are out. No picture may follow.
    std::optional<Packet> Drain();

private:
    struct Close
    {
        void operator()(x264_t* p) const { x264_encoder_close(p); }
    };

    std::optional<Packet> Run(x264_picture_t* pIn);
    Packet MakePacket(const x264_nal_t* pNals, int nNals, const x264_picture_t& out);
    bool WantsHeaders(const x264_picture_t& out, const PictureInfo& info) const;

    const bool m_bHeadersFirst;
    const bool m_bHeadersAgain;
    std::unique_ptr<x264_t, Close> m_pEncoder;
    std::vector<std::uint8_t> m_headers;
    std::map<std::int64_t, PictureInfo> m_inFlight;  // by number of the picture
    std::int64_t m_nextNumber = 0;
    bool m_bFirstPacket = true;
};

}  // namespace runtimes
