// What the H.264 encoder may be asked for, and the same as settings of the encoder inside.
#pragma once

#include "runtimes/amf/component.h"
#include "runtimes/common/picture_encoder.h"

namespace amfruntime
{

// With the first values of the usage "transcoding".
std::span<const KnownProperty> EncoderProperties();

struct EncoderSettings
{
    runtimes::PictureEncoderSettings encoder;
    std::uint32_t uiIdrPeriod = 0;  // pictures; 0 for the first picture only
    bool bWithB = false;
};

// properties: those of the encoder at its Init. Throws InitError for a size or a combination that can't be encoded.
EncoderSettings MakeEncoderSettings(const PropertyMap& properties, amf_int32 nWidth, amf_int32 nHeight);

}  // namespace amfruntime
