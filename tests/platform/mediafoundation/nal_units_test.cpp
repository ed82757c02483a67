// What a sample is, by the kinds of its NAL units.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "platform/mediafoundation/reading/nal_units.h"

namespace mediafoundation
{
namespace
{

class Nal : public ::testing::Test
{
protected:
    static NalLayout Layout(AVCodecID codec, std::vector<std::uint8_t> configuration)
    {
        AVCodecParameters parameters = {};
        parameters.codec_id = codec;
        parameters.extradata = configuration.data();
        parameters.extradata_size = static_cast<int>(configuration.size());
        return NalLayout(parameters);
    }
    static NalLayout Avc(std::uint8_t uiLengthBytes)
    {
        return Layout(AV_CODEC_ID_H264, {1, 100, 0, 40, static_cast<std::uint8_t>(0xfc | (uiLengthBytes - 1)), 0, 0});
    }
    static std::vector<std::uint8_t> Sample(std::uint8_t uiLengthBytes, const std::vector<std::uint8_t>& headers)
    {
        std::vector<std::uint8_t> sample;
        for (const std::uint8_t uiHeader : headers)
        {
            sample.insert(sample.end(), uiLengthBytes - 1U, 0);
            sample.insert(sample.end(), {3, uiHeader, 0xaa, 0xbb});
        }
        return sample;
    }
    // Both forms: the whole sample, and reading it in parts.
    static bool IsFresh(const NalLayout& layout, const std::vector<std::uint8_t>& sample)
    {
        const bool bWhole = layout.IsFreshStart(sample.data(), sample.size());
        const auto read = [&](std::size_t uiOffset, std::uint8_t* pTarget, std::size_t uiSize) {
            if (uiOffset + uiSize > sample.size()) return false;
            std::copy_n(sample.begin() + static_cast<std::ptrdiff_t>(uiOffset), uiSize, pTarget);
            return true;
        };
        EXPECT_EQ(layout.IsFreshStart(read, sample.size()), bWhole);
        return bWhole;
    }
};

TEST_F(Nal, OnlyAnIdrPictureIsAFreshStart)
{
    for (const std::uint8_t uiLengthBytes : {1, 2, 4})
    {
        const NalLayout layout = Avc(uiLengthBytes);
        EXPECT_TRUE(IsFresh(layout, Sample(uiLengthBytes, {0x65})));
        EXPECT_TRUE(IsFresh(layout, Sample(uiLengthBytes, {0x09, 0x67, 0x68, 0x06, 0x25})));
        // A recovery point: parameter sets and a message, but a slice of the plain kind
        EXPECT_FALSE(IsFresh(layout, Sample(uiLengthBytes, {0x67, 0x68, 0x06, 0x41})));
        EXPECT_FALSE(IsFresh(layout, Sample(uiLengthBytes, {0x41, 0x65})));
        EXPECT_FALSE(IsFresh(layout, Sample(uiLengthBytes, {0x06})));
        EXPECT_FALSE(IsFresh(layout, {}));
    }
}

TEST_F(Nal, StartCodesAreFoundToo)
{
    const NalLayout layout = Layout(AV_CODEC_ID_H264, {});
    EXPECT_TRUE(IsFresh(layout, {0, 0, 0, 1, 0x09, 0x10, 0, 0, 1, 0x65, 0x88, 0x80}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 1, 0x41, 0x88, 0, 0, 1, 0x65, 0x88}));
}

TEST_F(Nal, StartCodesAreFoundWhereverTheyStand)
{
    const NalLayout layout = Layout(AV_CODEC_ID_H264, {});
    for (std::size_t uiPlace = 0; uiPlace < 9000; ++uiPlace)
    {
        std::vector<std::uint8_t> sample(uiPlace + 4, 0xaa);
        sample[uiPlace] = sample[uiPlace + 1] = 0;
        sample[uiPlace + 2] = 1;
        sample[uiPlace + 3] = 0x65;
        ASSERT_TRUE(IsFresh(layout, sample)) << uiPlace;
    }
}

// The size of a sample is what the file says, and the file may say anything.
TEST_F(Nal, ASampleOfUntrueSizeIsNotAskedForAtOnce)
{
    const NalLayout layout = Layout(AV_CODEC_ID_H264, {});
    constexpr std::size_t THERE = 100'000;
    std::size_t uiLargest = 0;
    const auto read = [&](std::size_t uiOffset, std::uint8_t* pTarget, std::size_t uiSize) {
        uiLargest = std::max(uiLargest, uiSize);
        if (uiOffset + uiSize > THERE) return false;
        std::fill_n(pTarget, uiSize, std::uint8_t{0xaa});
        return true;
    };
    EXPECT_FALSE(layout.IsFreshStart(read, 0x3fffffff));
    EXPECT_LE(uiLargest, THERE);
}

TEST_F(Nal, LengthsThatLieEndTheSearch)
{
    const NalLayout layout = Avc(4);
    EXPECT_FALSE(IsFresh(layout, {0xff, 0xff, 0xff, 0xff, 0x06, 0x65}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 0, 9, 0x06}));
    EXPECT_TRUE(IsFresh(layout, {0, 0, 0, 0, 0, 0, 0, 9, 0x65}));
}

TEST_F(Nal, HevcHasItsOwnKinds)
{
    const NalLayout layout = Layout(AV_CODEC_ID_HEVC, {});
    EXPECT_TRUE(IsFresh(layout, {0, 0, 1, 0x40, 1, 0, 0, 1, 19 << 1, 1, 0x80}));
    EXPECT_TRUE(IsFresh(layout, {0, 0, 1, 20 << 1, 1}));
    EXPECT_FALSE(IsFresh(layout, {0, 0, 1, 21 << 1, 1}));  // a clean random access picture has leading ones
}

TEST_F(Nal, DisposableIsWhatNothingRefersToAndHoldsNothingElse)
{
    const NalLayout layout = Avc(4);
    const auto isDisposable = [&](const std::vector<std::uint8_t>& headers) {
        const auto sample = Sample(4, headers);
        return layout.IsDisposable(sample.data(), sample.size());
    };
    EXPECT_TRUE(isDisposable({0x01}));
    EXPECT_TRUE(isDisposable({0x09, 0x06, 0x01, 0x01, 0x0c}));
    EXPECT_FALSE(isDisposable({0x41}));
    EXPECT_FALSE(isDisposable({0x01, 0x21}));
    EXPECT_FALSE(isDisposable({0x67, 0x01}));
    EXPECT_FALSE(isDisposable({0x68, 0x01}));
    EXPECT_FALSE(isDisposable({0x06}));
    EXPECT_FALSE(isDisposable({0x65}));
}

}  // namespace
}  // namespace mediafoundation
