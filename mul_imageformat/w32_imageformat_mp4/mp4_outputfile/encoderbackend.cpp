#include "mp4_outputfile/encoderbackend.h"

#include <cwchar>

#include "mp4_outputfile/amfwriter.h"
#include "mp4_outputfile/mediafoundationwriter.h"
#include "mp4_outputfile/nvencwriter.h"

namespace
{

std::unique_ptr<IEncoderBackEnd> MakeAmf(CMp4FileWriter& muxedFile)
{
    return std::make_unique<CAmfWriter>(muxedFile);
}

std::unique_ptr<IEncoderBackEnd> MakeNvenc(CMp4FileWriter& muxedFile)
{
    return std::make_unique<CNvencWriter>(muxedFile);
}

std::unique_ptr<IEncoderBackEnd> MakeMediaFoundation(CMp4FileWriter& /*muxedFile*/)
{
    return std::make_unique<CMediaFoundationWriter>();
}

constexpr SBackEnd g_aBackEnds[] = {
    {L"AMF1", MakeAmf, true, false, false},
    {L"NVENC1", MakeNvenc, true, false, false},
};
constexpr SBackEnd g_mediaFoundation = {nullptr, MakeMediaFoundation, false, true, true};

}  // namespace

const SBackEnd& FindBackEnd(const wchar_t* pwszCode)
{
    for (const SBackEnd& backEnd : g_aBackEnds)
    {
        if (std::wcscmp(pwszCode, backEnd.m_pwszCode) == 0) return backEnd;
    }
    return g_mediaFoundation;
}
