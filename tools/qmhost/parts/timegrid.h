// The times that frames are handed to the module with, so that those in its file are the given ones.
//
// The module stores distances, not times, and cuts each distance to its unit. Times that are handed over as they stand
// lose up to a unit with every frame: 600 frames at 33.3667 ms end 40 ms early. So each time is rounded to the grid of
// the file, and the handed one is as much larger as cutting needs: steps of a 64-bit float. Such steps add up, to no
// more than a 2^-52nd part of the time for each frame: a hundredth of a millisecond in a day at 10 frames a second.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qmhost
{

// Which times a codec's files can hold.
struct TimeForm
{
    std::uint32_t m_uiTicksPerMs;  // of the grid
    std::uint32_t m_uiShortest;    // distance of two frames in ticks; the module takes shorter ones for this
    std::uint32_t m_uiLongest;     // in ticks; longer ones are wrapped, refused or taken for other ones
};

// The files that the module muxes itself: ticks of 0.1 ms in 32 bits. Other programs take one of which the top bit is
// set for a negative distance. Frames may have the same time.
inline constexpr TimeForm MUXED_TIMES{10, 0, 0x7FFFFFFF};

// The files of the system's encoder. The module lets a frame last a millisecond at least. The sink's limit of a
// distance depends on its clock: 32 bits of 1/30000 s here.
inline constexpr TimeForm SYSTEM_TIMES{1, 1, 143'165'576};

// How much later than its time a frame may be stored because others are too close before it: two frames at one time,
// which may have been rounded.
inline constexpr double LARGEST_DELAY_MS = 1.5;

// Between the first time and the last one, 31 years. Far beyond, the steps of a 64-bit float are no longer small
// against a tick.
inline constexpr double LONGEST_SPAN_MS = 1e12;

enum class ETimesProblem
{
    Backwards,  // earlier than the one before
    TooLong,    // further from the one before than a file can hold
    TooClose,   // would be stored more than LARGEST_DELAY_MS late
    TooLate     // more than LONGEST_SPAN_MS after the first one
};

struct TimesProblem
{
    ETimesProblem m_eProblem;
    std::size_t m_uiEntry;  // the first one, counted from 0
};

// The first of the times that a file can't hold; nothing when it can hold all. Times are milliseconds and finite.
std::optional<TimesProblem> FindTimesProblem(std::span<const double> vTimesMs, const TimeForm& form);

// The same for frames at a steady period above 0, uiCount of them, or any number.
std::optional<TimesProblem> FindPeriodProblem(double dPeriodMs, std::optional<std::uint32_t> uiCount,
                                              const TimeForm& form);

// Rounds one time after the other. The file's times count from the first one, and so do these.
class TimeGrid
{
public:
    explicit TimeGrid(const TimeForm& form) : m_form(form) {}

    // The time to hand over for the next frame, milliseconds. The module's cut of its distance from the one before is
    // the distance on the grid. Precondition: the times so far have no problem.
    double Next(double dTimeMs);

private:
    double Cut(double dMs) const;

    const TimeForm m_form;
    std::optional<double> m_dFirstMs;
    double m_dTicks = 0;     // of the last frame; a whole number
    double m_dHandedMs = 0;  // of the last frame
};

}  // namespace qmhost
