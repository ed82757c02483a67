// The list of frames that a user asks for, such as "0,5,7:20,100:0:-10".
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace qmhost
{

// What is wrong with a list, in words for the user.
class FrameListError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// One item of a list: START, START:END or START:END:STEP. START is always a member; END is one when the steps meet it.
struct FrameRange
{
    std::uint64_t m_uiStart;
    std::int64_t m_nStep;     // never 0 when m_uiCount is above 1
    std::uint64_t m_uiCount;  // never 0

    std::uint64_t Largest() const;
};

// A list in the user's order, duplicates kept. It is held as ranges, since "0:4000000000" is short to write.
class FrameList
{
public:
    // Items are separated by commas, blanks round numbers are allowed. STEP is 1 where it isn't given, and must lead
    // from START to END: "20:7" is refused, "20:7:-1" counts down. Frame numbers have 32 bits, as the host's have.
    // Throws FrameListError.
    static FrameList Parse(std::string_view text);

    // Frames 0 to uiCount - 1.
    static FrameList All(std::uint32_t uiCount);

    // The number of frames, duplicates counted.
    std::uint64_t Count() const;
    // Undefined for an empty list.
    std::uint32_t Largest() const;

    // Calls visit(index) for each frame, in order.
    template <class TVisit>
    void ForEach(TVisit visit) const
    {
        for (const FrameRange& range : m_vRanges)
        {
            auto nFrame = static_cast<std::int64_t>(range.m_uiStart);
            for (std::uint64_t i = 0; i < range.m_uiCount; ++i, nFrame += range.m_nStep)
                visit(static_cast<std::uint32_t>(nFrame));
        }
    }

private:
    std::vector<FrameRange> m_vRanges;
};

}  // namespace qmhost
