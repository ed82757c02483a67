// Memory for the pixels of pictures. Blocks of large pictures that were freed are used again as long as any large
// picture lives: fresh memory of the system costs more than filling it.
#pragma once

#include <cstddef>

// Pixels for a picture of uiSize bytes, at an address for vector code, with space after them for one more vector. Zero
// if bZero. Null when there is no memory. For any thread.
unsigned char* AllocatePixels(std::size_t uiSize, bool bZero) noexcept;

// Null is allowed. For any thread.
void FreePixels(unsigned char* pPixels) noexcept;

// Bytes of freed pictures that wait for a next picture of their size. For any thread.
std::size_t GetIdlePixelBytes() noexcept;
