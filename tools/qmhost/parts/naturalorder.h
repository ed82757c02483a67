// The order of numbered names as a person reads them.
#pragma once

#include <string_view>

namespace qmhost
{

// Whether a file's name comes before another one: digits in a row count as one number, of any length, so that img2.png
// comes before img10.png. Letters A to Z count as small ones, and the ending after the last dot counts last. Names that
// are equal in this way are in the order of their leading zeros, fewer first (img1, img01), and after that of their
// bytes. So no two different names are equal, and the order of a folder is always the same. Names are UTF-8.
bool NaturallyBefore(std::string_view first, std::string_view second);

}  // namespace qmhost
