// The host's pixels on their way into an encoder's surface.
#pragma once

#include <cstddef>
#include <cstdint>

#include <windows.h>

#include <d3d9.h>

#include "mp4_outputfile/encoderbackend.h"

// Widens a picture into 32-bit rows: B, G, R, 255. uiWidth and uiHeight are the encoded ones, in pixels.
//
// The rows are read at the pitch of the encoded width, also where the host's picture has one column less: a picture of
// odd size is the host's to pad. Bytes past the picture as it is described (m_uiWidthBytes x m_uiHeight of attrSource)
// are not read. The same columns of the row above take their place, and black in the first row. May throw
// std::bad_alloc.
void WidenHostPicture(void* pTarget, std::ptrdiff_t nTargetPitch, const SHostPicture& picture, std::uint32_t uiWidth,
                      std::uint32_t uiHeight);

// Widens a picture into a surface of 32-bit pixels, which is locked for that. False when it can't be locked. May throw
// std::bad_alloc; the surface isn't locked afterwards in any case.
bool FillSurface(IDirect3DSurface9& surface, const SHostPicture& picture, std::uint32_t uiWidth,
                 std::uint32_t uiHeight);
