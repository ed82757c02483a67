// The encoder that a runtime works with: pictures in, packets out, one stream from its first IDR picture to its end.
#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "runtimes/common/colour.h"
#include "runtimes/common/packet.h"
#include "runtimes/common/stream_settings.h"
#include "runtimes/common/x264_settings.h"

namespace runtimes
{

enum class EncoderPart
{
    X264,
    Pcm  // intra only, of macroblocks that aren't compressed: see PcmEncoder
};

struct PictureEncoderSettings
{
    EncoderPart ePart = EncoderPart::X264;
    StreamSettings stream;
    X264Settings x264;  // for that encoder only

    // x264's settings; all empty with another encoder.
    RuntimeX264Settings Report() const { return ePart == EncoderPart::X264 ? x264.Report() : RuntimeX264Settings{}; }
};

// An encoder refused its settings or a picture.
class EncoderError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Used by one thread at a time.
class PictureEncoder
{
public:
    PictureEncoder() = default;
    virtual ~PictureEncoder() = default;
    PictureEncoder(const PictureEncoder&) = delete;
    PictureEncoder& operator=(const PictureEncoder&) = delete;

    // SPS and PPS as a packet begins with them.
    virtual const std::vector<std::uint8_t>& Headers() const = 0;

    // How many pictures it needs beyond one before the first packet comes; from then on a packet comes for each.
    virtual std::uint32_t PictureDelay() const = 0;

    // Takes a picture, which is read before the call returns. Gives the packet that is next in decoding order, nothing
    // while pictures are missing for it. Throws EncoderError; nothing but the destructor may follow then.
    virtual std::optional<Packet> Encode(const Nv12View& picture, PictureKind eKind, const PictureInfo& info) = 0;

    // The packet after the last picture went in; nothing when all are out. No picture may follow.
    virtual std::optional<Packet> Drain() = 0;
};

// The one that runtimes take unless a script asks for another. x264, but for systems where it isn't packaged for the
// compiler, and where the variable IMAGEFORMAT_MP4_ENCODER is "ipcm".
EncoderPart DefaultEncoderPart();

// Throws EncoderError for settings that the encoder refuses, and for one that this system hasn't.
std::unique_ptr<PictureEncoder> MakePictureEncoder(const PictureEncoderSettings& settings);

}  // namespace runtimes
