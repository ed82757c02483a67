// What an H.264 encoder is asked for, and what that means for x264.
#pragma once

#include <cstdint>
#include <string>

namespace mediafoundation
{

// Values as the media type and the codec properties have them.
struct EncoderSettings
{
    enum class RateControl
    {
        BitRate,  // m_uiBitRate on average
        Quality   // m_uiQuality for every picture
    };

    std::uint32_t m_uiWidth = 0;  // both even
    std::uint32_t m_uiHeight = 0;
    std::uint32_t m_uiRateNumerator = 25;  // pictures per second, nominal: pictures have times of their own
    std::uint32_t m_uiRateDenominator = 1;
    std::uint32_t m_uiProfile = 100;  // profile_idc: 66, 77, 100
    std::uint32_t m_uiBitRate = 0;    // bits per second

    RateControl m_rateControl = RateControl::BitRate;
    std::uint32_t m_uiQuality = 65;         // 0 to 100
    std::uint32_t m_uiQualityVsSpeed = 33;  // 0, the fastest, to 100
    std::uint32_t m_uiBPictures = 0;        // at most so many between two others
    std::uint32_t m_uiMinQp = 0;            // 0 to 51
    std::uint32_t m_uiMaxQp = 51;
    std::uint32_t m_uiThreads = 0;  // 0: as many as the processor can use
};

// The constant rate factor of a quality, which falls as the quality rises: 51 for 0, 38 for 50, 18 for 80 and 10 for
// 100, in straight lines between these. A factor below 1 would be lossless coding, which isn't in the High profile.
double RateFactorOf(std::uint32_t uiQuality);

// The preset of a value of quality against speed: "ultrafast" up to 33, "veryfast" up to 66, "medium" above.
std::string PresetOf(std::uint32_t uiQualityVsSpeed);

// A preset may leave out what makes a stream one of its profile; x264 names the least profile that describes the
// stream. These options of x264 make it the profile that was asked for.
std::string ProfileParametersOf(std::uint32_t uiProfile);
std::string ProfileNameOf(std::uint32_t uiProfile);

// The largest distance of two key pictures, in pictures: two seconds at the nominal rate. A reader that looks for one
// picture decodes at most so many before it.
int KeyDistanceOf(const EncoderSettings& settings);

}  // namespace mediafoundation
