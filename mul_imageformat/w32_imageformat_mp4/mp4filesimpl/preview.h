// A displayable picture of a file's first frame.
#pragma once

#include <cstdint>
#include <functional>

#include "hostapi/iqminputimagefile.h"

// Draws the first frame of a file with these attributes into pBuffer, at uiWidth x uiHeight. In native size without
// contrast that is the frame itself; else 24-bit colour whose rows are (3 * (width + 1)) & ~3 bytes apart.
//
// fnReadFirstFrame copies the frame's pixels to where its argument points.
QmStatus MakePreview(const SQmImageAttributes& attributes, std::uint32_t uiWidth, std::uint32_t uiHeight,
                     bool bAutoContrast, void* pBuffer, const std::function<QmStatus(void*)>& fnReadFirstFrame);
