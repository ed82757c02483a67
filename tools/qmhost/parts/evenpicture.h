// The picture that a module gets for writing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "parts/picturesize.h"

namespace qmhost
{

// A 24-bit picture of even width and height, made from one whose sides may be odd: a missing column or row repeats the
// last one there is.
//
// H.264 as modules write it has even sides only. A module rounds an odd side up, but has nothing to fill the new column
// or row with. Its encoders also expect different rows: some read rows of the even width, and one row more than the
// height, others rows of the width as it is. For a width of 4n + 1 these have different pitches. So the host makes the
// picture even and describes that one. Then every encoder reads the same rows, and none reads past their end.
class EvenPicture
{
public:
    explicit EvenPicture(PictureSize size);

    std::uint32_t Width() const { return m_sizeEven.m_uiWidth; }
    std::uint32_t Height() const { return m_sizeEven.m_uiHeight; }
    std::uint32_t WidthBytes() const { return m_uiWidthBytes; }
    // Rows WidthBytes() apart; the picture's own are the first ones.
    unsigned char* Pixels() { return m_vPixels.data(); }

    // To be called after the picture's own rows and columns have changed.
    void Complete();

private:
    PictureSize m_size;
    PictureSize m_sizeEven;
    std::uint32_t m_uiWidthBytes;
    std::vector<unsigned char> m_vPixels;
};

}  // namespace qmhost
