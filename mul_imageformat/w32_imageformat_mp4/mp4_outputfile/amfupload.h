// The host's pixels on their way into the surface that AMF's encoder takes.
#pragma once

#include <cstdint>

#include "abi/amf/amf.h"
#include "mp4_outputfile/encoderbackend.h"

// Fills surface, an NV12 surface of the encoder, with the picture: widens it into a surface of four bytes a pixel and
// has the converter, which is set up for that, make the other format of it. uiWidth and uiHeight are the encoded ones,
// in pixels. See WidenHostPicture for what is read of the picture.
//
// Nothing is reported. Where no surface of four bytes can be had and filled, or the converter gives nothing, the
// surface is painted and no picture is seen: that is how this path is to behave. A result of the converter that can't
// be copied leaves the surface as it is. May throw std::bad_alloc; nothing is kept locked then.
void UploadFrameToAmfSurface(AMFContext& context, AMFComponent& converter, AMFSurface& surface,
                             const SHostPicture& picture, std::uint32_t uiWidth, std::uint32_t uiHeight);
