// The H.264 encoder as a transform.
#pragma once

#include "mftransform.h"

namespace mediafoundation
{

// Takes YUY2 and gives H.264. It has IMFTransform and ICodecAPI, and is safe from any thread.
//
// The output type comes first: H.264, with a size, a frame rate and an average bit rate, progressive, and the profile
// 66, 77 or 100, or none for 66. The input type has the same size. Settings and types stay as they are from the first
// sample on until a drain is over. The times of samples are kept, whatever they are.
HRESULT MakeEncoderTransform(IMFTransform** ppTransform);

}  // namespace mediafoundation
