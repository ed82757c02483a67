// "AMFVideoConverter": BGRA to NV12, or NV12 as it is.
#pragma once

#include "runtimes/amf/component.h"

namespace amfruntime
{

// Converts on the thread that submits, and holds one picture until it is taken.
class Converter final : public Component
{
public:
    explicit Converter(Context* pContext);

private:
    std::shared_ptr<ComponentStream> MakeStream(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth,
                                                amf_int32 nHeight) override;
};

}  // namespace amfruntime
