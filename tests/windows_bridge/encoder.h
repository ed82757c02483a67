// The gaps of Wine's H.264 encoder.
#pragma once

#include <windows.h>

#include <mftransform.h>

namespace windows_bridge
{

struct SEncoderGaps
{
    // A session sets the output type that an encoder has already, and this takes its input type away.
    bool m_bForgetsInputType = false;
    // What the encoder adds to the time of each picture, in 100 ns.
    LONGLONG m_hnsLate = 0;
};

// Tries the encoder. It must be new, and isn't to be used afterwards. S_OK, or the call that failed.
HRESULT FindEncoderGaps(IMFTransform* pEncoder, SEncoderGaps* pGaps);

// From here on no encoder of the same class has these gaps. Once, with Media Foundation started until the program ends:
// what is replaced lies in its libraries.
void FillEncoderGaps(IMFTransform* pEncoder, const SEncoderGaps& gaps);

}  // namespace windows_bridge
