// The AVX2 kernels, for the table of them and for one another. Only for processors that have AVX2.
#pragma once

#include "colour/colourkernels.h"

void FillLutPlaneAvx2(std::uint8_t* pPlane, std::uint32_t uiLuma);
void Yuy2ToBgrAvx2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs);
void BgrToYuy2Avx2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPairs);
void BgrToBgraAvx2(std::uint8_t* pTarget, const std::uint8_t* pSource, std::size_t uiPixels);
