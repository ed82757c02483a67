// "AMFVideoEncoderVCE_AVC": pictures to H.264.
#pragma once

#include "runtimes/amf/component.h"

namespace amfruntime
{

// Takes NV12, or BGRA and converts it. A picture is read from its surface on the thread that submits it, and encoded on
// the encoder's own.
class Encoder final : public Component
{
public:
    explicit Encoder(Context* pContext);

    // "ExtraData" is made on request: the parameter sets of the stream, in a buffer of the caller's own.
    AMF_RESULT GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const override;

private:
    std::shared_ptr<ComponentStream> MakeStream(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth,
                                                amf_int32 nHeight) override;
};

}  // namespace amfruntime
