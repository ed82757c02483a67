// What the output object asks of an encoder, and which encoders there are.
#pragma once

#include <cstdint>
#include <memory>

#include <windows.h>

#include "hostapi/hostcore.h"
#include "hostapi/iqmoutputimagefile.h"
#include "mp4_outputfile/frametimerule.h"

class CMp4FileWriter;

// What a back end is set up with. Sizes are in pixels.
struct SEncoderSettings
{
    const CQmStringW& m_strFileName;  // lives as long as the back end
    std::uint32_t m_uiWidth;          // as encoded: even
    std::uint32_t m_uiHeight;         //
    std::uint32_t m_uiSourceWidth;    // as the host describes the picture
    std::uint32_t m_uiSourceHeight;   //
    std::uint32_t m_uiSequenceCount;  // frames of the file; 0xFFFFFFFF: not known
    const wchar_t* m_pwszCode;        // the codec's short code, which lives as long as the call
};

// One picture as the host gives it: rows of B, G, R.
struct SHostPicture
{
    const void* m_pPixels;
    const SQmImageAttributes& m_attrSource;   // as the host describes it
    const SQmImageAttributes& m_attrEncoded;  // of the size of the settings
};

// What became of a picture.
enum class EPictureFate
{
    Taken,    // also where an encoder's answer isn't looked at
    Refused,  // by the encoder, for this picture only: others may follow
    Lost      // and with it the file: no later picture could get its right time
};

// The encoder of one output file. All operations are called on the host's thread; each may throw std::bad_alloc.
class IEncoderBackEnd
{
public:
    virtual ~IEncoderBackEnd() = default;

    // Makes everything that the first frame needs. S_OK, or whatever value the step that failed gave.
    virtual HRESULT Open(const SEncoderSettings& settings) = 0;

    // Encodes a picture, whose entry in the list of times is there already. After Open gave S_OK only.
    virtual EPictureFate WriteFrame(std::uint32_t uiIndex, const SHostPicture& picture, const SFrameTimes& times) = 0;

    // Takes what the encoder still holds and finishes the file. Also after a failed Open. After a close that ran to its
    // end, nothing.
    virtual void Close(const SFrameTimes& times) = 0;
};

// A back end, and what it asks of the host's objects.
struct SBackEnd
{
    const wchar_t* m_pwszCode;  // of its codec; null for every other codec

    // Makes one that writes a file of its own, or uses muxedFile.
    std::unique_ptr<IEncoderBackEnd> (*m_pfnMake)(CMp4FileWriter& muxedFile);

    bool m_bAsksEveryFrame;     // the format object is asked for the codec before every frame, not only until one runs
    bool m_bTimesAreDistances;  // a frame's time counts from the frame before it, not from the first
    bool m_bOpensAgain;         // a set-up that failed is tried again with the next frame
};

// The back end of a codec's short code. The whole code counts.
const SBackEnd& FindBackEnd(const wchar_t* pwszCode);
