#include "pictures.h"

#include <iostream>

#include "parts/failure.h"
#include "parts/text.h"
#include "parts/videoprofile.h"

namespace qmhost
{

void RequirePictures(const InputFile& file, std::string_view command, bool bAllowBlank)
{
    const std::string strFile = Quoted(file.Path());
    if (file.FrameCount() == 0) throw Failure(command, QM_ERR_FAIL, strFile + " has no frames");
    if (bAllowBlank) return;

    FileBytes bytes(PathFromUtf8(file.Path()));
    const VideoProfile profile = ReadVideoProfile(bytes);
    switch (profile.Delivery())
    {
    case EDelivery::Pictures:
        return;
    case EDelivery::Blank:
        throw Failure(command, QM_ERR_NOTSUPPORTED,
                      "pictures are delivered for H.264 High profile and above only, and " + strFile + " is " +
                          profile.Describe() + "; --allow-blank gives its frames without their pictures");
    case EDelivery::Unknown:
        std::cerr << "qmhost: warning: the profile of " << strFile
                  << " can't be found; below H.264 High profile pictures are blank\n";
    }
}

TimesOrigin OriginOfTimes(const InputFile& file, std::span<const double> vTimesMs)
{
    FileBytes bytes(PathFromUtf8(file.Path()));
    return FindTimesOrigin(bytes, vTimesMs);
}

void WarnOfForeignTimes(const InputFile& file, const TimesOrigin& origin)
{
    if (origin.m_eOrigin == ETimesOrigin::Unknown)
    {
        std::cerr << "qmhost: warning: whether the times of " << Quoted(file.Path())
                  << " are those of its video can't be found out\n";
    }
    else if (origin.IsForeign())
    {
        std::cerr << "qmhost: warning: " << origin.Problem(file.Path()) << '\n';
    }
}

void RequireTimesOfVideo(const InputFile& file, const TimesOrigin& origin, std::string_view command, bool bAllow)
{
    if (origin.IsForeign() && !bAllow)
    {
        throw Failure(command, QM_ERR_NOTSUPPORTED,
                      origin.Problem(file.Path()) + "; --allow-foreign-times goes on without that");
    }
    WarnOfForeignTimes(file, origin);
}

}  // namespace qmhost
