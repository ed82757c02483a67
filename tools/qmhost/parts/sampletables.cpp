#include "parts/sampletables.h"

namespace qmhost
{

void WriteNumbers(BoxWriter& box, const std::vector<std::uint32_t>& vNumbers)
{
    box.Word(static_cast<std::uint32_t>(vNumbers.size()));
    for (const std::uint32_t uiNumber : vNumbers)
        box.Word(uiNumber);
}

void WriteTimes(BoxWriter& box, const std::vector<std::uint32_t>& vDeltas)
{
    std::uint32_t uiRuns = 0;
    for (std::size_t i = 0; i < vDeltas.size(); ++i)
        uiRuns += i == 0 || vDeltas[i] != vDeltas[i - 1] ? 1 : 0;
    box.Word(0);
    box.Word(uiRuns);
    for (std::size_t i = 0; i < vDeltas.size();)
    {
        const std::size_t uiBegin = i;
        while (i < vDeltas.size() && vDeltas[i] == vDeltas[uiBegin])
            ++i;
        box.Word(static_cast<std::uint32_t>(i - uiBegin));
        box.Word(vDeltas[uiBegin]);
    }
}

}  // namespace qmhost
