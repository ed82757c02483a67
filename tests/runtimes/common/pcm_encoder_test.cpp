// The encoder without compression, judged by ffmpeg: every picture comes out as it went in, whatever its samples.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include "annexb.h"
#include "nv12_bytes.h"
#include "runtimes/common/pcm_encoder.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

namespace
{

using namespace runtimes;
using namespace test_support;

StreamSettings SizeOf(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    StreamSettings settings;
    settings.uiWidth = uiWidth;
    settings.uiHeight = uiHeight;
    return settings;
}

Bytes Encode(PcmEncoder& encoder, Nv12Bytes& picture, PictureKind eKind = PictureKind::Auto)
{
    const std::optional<Packet> packet = encoder.Encode(picture.View(), eKind, {});
    EXPECT_TRUE(packet.has_value());
    return packet ? packet->bytes : Bytes{};
}

// As ffmpeg decodes them without an error.
std::vector<Bytes> Decode(const Bytes& stream, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const TemporaryFolder dir;
    WriteBytes(dir / "in.h264", stream);
    return DecodePlain(dir / "in.h264", "-pix_fmt nv12", std::size_t{uiWidth} * uiHeight * 3 / 2, Complaints::Warnings);
}

void Fill(Nv12Bytes& picture, std::mt19937& random)
{
    for (std::uint8_t& byte : picture.bytes)
        byte = static_cast<std::uint8_t>(random());
}

// uiCount pictures of chance, with the kind that kindOf gives each. Compared one by one: a message with all bytes would
// have megabytes.
void ExpectDecodedAsPutIn(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiCount,
                          const std::function<PictureKind(std::uint32_t)>& kindOf)
{
    SCOPED_TRACE(std::to_string(uiWidth) + "x" + std::to_string(uiHeight));
    PcmEncoder encoder(SizeOf(uiWidth, uiHeight));
    std::mt19937 random(uiWidth * 5000 + uiHeight);
    Bytes stream;
    std::vector<Bytes> vWritten;
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
    {
        Nv12Bytes picture(uiWidth, uiHeight);
        Fill(picture, random);
        const Bytes packet = Encode(encoder, picture, kindOf(ui));
        stream.insert(stream.end(), packet.begin(), packet.end());
        vWritten.push_back(std::move(picture.bytes));
    }
    const std::vector<Bytes> vDecoded = Decode(stream, uiWidth, uiHeight);
    ASSERT_EQ(vDecoded.size(), uiCount);
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
        ASSERT_TRUE(vDecoded[ui] == vWritten[ui]) << "picture " << ui;
}

PictureKind Auto(std::uint32_t)
{
    return PictureKind::Auto;
}

struct Size
{
    std::uint32_t uiWidth;
    std::uint32_t uiHeight;
};

class PcmEncoderSizes : public testing::TestWithParam<Size>
{
};

TEST_P(PcmEncoderSizes, AreDecodedAsPutIn)
{
    ExpectDecodedAsPutIn(GetParam().uiWidth, GetParam().uiHeight, 3, Auto);
}

INSTANTIATE_TEST_SUITE_P(OfMacroblocks, PcmEncoderSizes,
                         testing::Values(Size{16, 16}, Size{32, 16}, Size{16, 32}, Size{64, 48}, Size{4096, 16},
                                         Size{16, 4096}));
// The last column and row of macroblocks lie partly outside.
INSTANTIATE_TEST_SUITE_P(Cropped, PcmEncoderSizes,
                         testing::Values(Size{2, 2}, Size{14, 16}, Size{16, 14}, Size{18, 34}, Size{30, 2},
                                         Size{70, 46}, Size{4094, 18}, Size{18, 4094}));

TEST(PcmEncoder, TheLargestPictureIsDecodedAsPutIn)
{
    ExpectDecodedAsPutIn(4096, 4096, 1, Auto);
}

// frame_num has 8 bits, and counts the pictures since the last IDR picture.
TEST(PcmEncoder, AThousandIntraPicturesAfterOneIdrPicture)
{
    ExpectDecodedAsPutIn(16, 16, 1000, Auto);
}

TEST(PcmEncoder, AThousandIdrPictures)
{
    ExpectDecodedAsPutIn(16, 16, 1000, [](std::uint32_t) { return PictureKind::Idr; });
}

TEST(PcmEncoder, IdrPicturesAtIrregularDistances)
{
    ExpectDecodedAsPutIn(16, 16, 1000, [](std::uint32_t ui) {
        const bool bIdr = ui % 7 == 0 || ui % 300 > 290 || ui == 511;
        return bIdr ? PictureKind::Idr : PictureKind::P;
    });
}

// Bytes that look like start codes, and those that keep start codes out.
class PcmEncoderZeros : public testing::TestWithParam<std::vector<std::uint8_t>>
{
};

TEST_P(PcmEncoderZeros, AreNoStartCodes)
{
    constexpr std::uint32_t c_uiWidth = 48;
    constexpr std::uint32_t c_uiHeight = 32;
    Nv12Bytes picture(c_uiWidth, c_uiHeight);
    for (std::size_t ui = 0; ui < picture.bytes.size(); ++ui)
        picture.bytes[ui] = GetParam()[ui % GetParam().size()];
    PcmEncoder encoder(SizeOf(c_uiWidth, c_uiHeight));
    Bytes stream = Encode(encoder, picture);
    const Bytes second = Encode(encoder, picture);
    stream.insert(stream.end(), second.begin(), second.end());
    EXPECT_EQ(annexb::Types(annexb::Split(stream)), "7 8 5 1");
    // Not even three zeros stand in a unit, nor two at its end.
    for (const annexb::Nal& nal : annexb::Split(stream))
    {
        EXPECT_NE(nal.unit.back(), 0);
        const Bytes zeros = {0, 0, 0};
        EXPECT_EQ(std::search(nal.unit.begin(), nal.unit.end(), zeros.begin(), zeros.end()), nal.unit.end());
    }
    const std::vector<Bytes> vDecoded = Decode(stream, c_uiWidth, c_uiHeight);
    ASSERT_EQ(vDecoded.size(), 2u);
    EXPECT_TRUE(vDecoded[0] == picture.bytes);
    EXPECT_TRUE(vDecoded[1] == picture.bytes);
}

INSTANTIATE_TEST_SUITE_P(Samples, PcmEncoderZeros,
                         testing::Values(Bytes{0}, Bytes{0, 0, 1}, Bytes{0, 0, 2}, Bytes{0, 0, 3}, Bytes{0, 0, 4},
                                         Bytes{0, 0, 0, 1}, Bytes{0, 0, 0, 3}, Bytes{0, 0, 0, 0, 0, 7}, Bytes{1, 0, 0},
                                         Bytes{3, 0, 0}, Bytes{255}, Bytes{1}));

// Rows of the picture in memory are longer than the picture, as an encoder's caller has them.
TEST(PcmEncoder, ReadsRowsAtTheirPitch)
{
    constexpr std::uint32_t c_uiWidth = 22;
    constexpr std::uint32_t c_uiHeight = 6;
    std::mt19937 random(1);
    Nv12Bytes picture(c_uiWidth, c_uiHeight);
    Fill(picture, random);
    Nv12Bytes wide(64, 40);
    Fill(wide, random);
    const Nv12View view = {wide.bytes.data(), wide.bytes.data() + 64 * 20, 64, 128};
    for (std::uint32_t y = 0; y < c_uiHeight; ++y)
        std::copy_n(&picture.bytes[y * c_uiWidth], c_uiWidth, view.pLuma + y * view.uiLumaPitch);
    for (std::uint32_t y = 0; y < c_uiHeight / 2; ++y)
        std::copy_n(&picture.bytes[(c_uiHeight + y) * c_uiWidth], c_uiWidth, view.pChroma + y * view.uiChromaPitch);

    PcmEncoder encoder(SizeOf(c_uiWidth, c_uiHeight));
    PcmEncoder other(SizeOf(c_uiWidth, c_uiHeight));
    EXPECT_TRUE(encoder.Encode(view, PictureKind::Auto, {})->bytes == Encode(other, picture));
}

TEST(PcmEncoder, GivesEveryPacketAtOnceWithWhatItsCallerSaid)
{
    PcmEncoder encoder(SizeOf(16, 16));
    Nv12Bytes picture(16, 16);
    EXPECT_EQ(encoder.PictureDelay(), 0u);
    constexpr PictureKind kinds[] = {PictureKind::P, PictureKind::Auto, PictureKind::I, PictureKind::Idr,
                                     PictureKind::P};
    std::string strKinds;
    for (std::uint32_t ui = 0; ui < std::size(kinds); ++ui)
    {
        const std::optional<Packet> packet = encoder.Encode(picture.View(), kinds[ui], {ui, 100 + ui, 200 + ui, false});
        ASSERT_TRUE(packet.has_value());
        EXPECT_EQ(packet->info.uiFrameIndex, ui);
        EXPECT_EQ(packet->info.ui64TimeStamp, 100u + ui);
        EXPECT_EQ(packet->info.ui64Duration, 200u + ui);
        EXPECT_EQ(packet->sliceOffsets.size(), 1u);
        EXPECT_EQ(annexb::Split(packet->bytes).back().uiOffset, packet->sliceOffsets.at(0));
        strKinds += packet->eKind == PictureKind::Idr ? 'D' : packet->eKind == PictureKind::I ? 'I' : '?';
    }
    EXPECT_EQ(strKinds, "DIIDI");
    EXPECT_FALSE(encoder.Drain().has_value());
}

// Nothing of a time, a machine or an object is in the bytes.
TEST(PcmEncoder, TheSamePicturesGiveTheSameBytes)
{
    PcmEncoder first(SizeOf(34, 34));
    PcmEncoder second(SizeOf(34, 34));
    std::mt19937 random(3);
    for (int n = 0; n < 5; ++n)
    {
        Nv12Bytes picture(34, 34);
        Fill(picture, random);
        EXPECT_TRUE(Encode(first, picture) == Encode(second, picture));
    }
}

}  // namespace
