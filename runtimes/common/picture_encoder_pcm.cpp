// The encoders of systems without x264: one.
#include "runtimes/common/pcm_encoder.h"

namespace runtimes
{

EncoderPart DefaultEncoderPart()
{
    return EncoderPart::Pcm;
}

std::unique_ptr<PictureEncoder> MakePictureEncoder(const PictureEncoderSettings& settings)
{
    if (settings.ePart != EncoderPart::Pcm)
    {
        throw EncoderError("there is no such encoder here");
    }
    return std::make_unique<PcmEncoder>(settings.stream);
}

}  // namespace runtimes
