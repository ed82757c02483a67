// Gap of Wine 10: the representation of an H.264 media type is a plain VIDEOINFOHEADER, without the profile. On Windows
// it is an MPEG2VIDEOINFO, from which the module takes size and profile.
#pragma once

namespace windows_bridge
{

// Whether the system has the gap. False after FillRepresentationGap. Precondition: COM and Media Foundation are
// started.
bool HasRepresentationGap();

// Has all media types answer as on Windows from now on. The profile is that of the parameter sets, which the type holds
// as MF_MT_USER_DATA. To be called once, if there is a gap.
void FillRepresentationGap();

}  // namespace windows_bridge
