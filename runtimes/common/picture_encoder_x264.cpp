// The encoders of systems with x264.
#include <cstdlib>
#include <cstring>

#include "runtimes/common/pcm_encoder.h"
#include "runtimes/common/x264_encoder.h"

namespace runtimes
{

EncoderPart DefaultEncoderPart()
{
    const char* const pszWanted = std::getenv("IMAGEFORMAT_MP4_ENCODER");
    return pszWanted && std::strcmp(pszWanted, "ipcm") == 0 ? EncoderPart::Pcm : EncoderPart::X264;
}

std::unique_ptr<PictureEncoder> MakePictureEncoder(const PictureEncoderSettings& settings)
{
    if (settings.ePart == EncoderPart::Pcm)
    {
        return std::make_unique<PcmEncoder>(settings.stream);
    }
    return std::make_unique<X264Encoder>(settings.stream, settings.x264);
}

}  // namespace runtimes
