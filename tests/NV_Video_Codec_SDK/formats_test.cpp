// Geometry of surfaces.
#include "nvenc_fixture.h"

namespace
{
// Every row for an odd width, height and pitch: 5 pixels by 3 rows in rows of 21 bytes.
struct SGeometry
{
    const char* m_pszName;
    int m_nFormat;
    std::uint32_t m_uiFrameSize;  // of 5 by 3
    std::uint32_t m_uiWidthInBytes;
    std::uint32_t m_uiPlanes;
    std::uint32_t m_uiChromaPitch;
    std::uint32_t m_uiChromaHeight;
    std::uint32_t m_uiChromaWidthInBytes;
    std::vector<std::uint32_t> m_vOffsets;
};

// What a failing test is called by.
void PrintTo(const SGeometry& geometry, std::ostream* pStream)
{
    *pStream << geometry.m_pszName;
}

class FormatsTest : public NvencTest, public testing::WithParamInterface<SGeometry>
{
};

const SGeometry g_aGeometry[] = {
    {"NV12", 0x1, 25, 5, 1, 21, 2, 5, {63}},  // 5*(3+2)
    {"YV12", 0x10, 25, 5, 2, 11, 2, 3, {63, 63 + 22}},
    {"IYUV", 0x100, 25, 5, 2, 11, 2, 3, {63, 63 + 22}},
    {"YUV444", 0x1000, 45, 5, 2, 21, 3, 5, {63, 126}},            // 3*5*3
    {"YUV420_10BIT", 0x10000, 50, 10, 1, 21, 2, 10, {63}},        // 2*5*(3+2)
    {"YUV444_10BIT", 0x100000, 90, 10, 2, 21, 3, 10, {63, 126}},  // 6*5*3
    {"ARGB", 0x1000000, 60, 20, 0, 0, 0, 0, {}},                  // 4*5*3
    {"ARGB10", 0x2000000, 60, 20, 0, 0, 0, 0, {}},
    {"AYUV", 0x4000000, 60, 20, 0, 0, 0, 0, {}},
    {"ABGR", 0x10000000, 60, 20, 0, 0, 0, 0, {}},
    {"ABGR10", 0x20000000, 60, 20, 0, 0, 0, 0, {}},
};

std::uint32_t FrameSize(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    TestEncoder::SSettings settings;
    settings.m_eFormat = eFormat;
    settings.m_uiWidth = uiWidth;
    settings.m_uiHeight = uiHeight;
    return TestEncoder(settings).GetFrameSize();
}
}  // namespace

TEST_P(FormatsTest, HasTheGeometryOfItsRow)
{
    const SGeometry& expected = GetParam();
    const auto eFormat = static_cast<NV_ENC_BUFFER_FORMAT>(expected.m_nFormat);
    EXPECT_EQ(FrameSize(eFormat, 5, 3), expected.m_uiFrameSize);
    EXPECT_EQ(NvEncoder::GetWidthInBytes(eFormat, 5), expected.m_uiWidthInBytes);
    EXPECT_EQ(NvEncoder::GetNumChromaPlanes(eFormat), expected.m_uiPlanes);
    EXPECT_EQ(NvEncoder::GetChromaPitch(eFormat, 21), expected.m_uiChromaPitch);
    EXPECT_EQ(NvEncoder::GetChromaHeight(eFormat, 3), expected.m_uiChromaHeight);
    EXPECT_EQ(NvEncoder::GetChromaWidthInBytes(eFormat, 5), expected.m_uiChromaWidthInBytes);
    std::vector<std::uint32_t> vOffsets = {7, 7, 7};  // replaced
    NvEncoder::GetChromaSubPlaneOffsets(eFormat, 21, 3, vOffsets);
    EXPECT_EQ(vOffsets, expected.m_vOffsets);
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, FormatsTest, testing::ValuesIn(g_aGeometry),
                         [](const auto& geometry) { return std::string(geometry.param.m_pszName); });

class UnknownFormatTest : public NvencTest
{
};

TEST_F(UnknownFormatTest, IsReportedByEveryOperationUnderItsName)
{
    for (const int nFormat : {0, 0x2, 0x40000000})
    {
        const auto eFormat = static_cast<NV_ENC_BUFFER_FORMAT>(nFormat);
        std::vector<std::uint32_t> vOffsets;
        const auto expect = [](const char* pszOperation, auto action) {
            ExpectFailure(action, "NvEncoder::" + std::string(pszOperation) + " : Invalid Buffer format", 8);
        };
        expect("GetFrameSize", [&] { FrameSize(eFormat, 5, 3); });
        expect("GetWidthInBytes", [&] { NvEncoder::GetWidthInBytes(eFormat, 5); });
        expect("GetNumChromaPlanes", [&] { NvEncoder::GetNumChromaPlanes(eFormat); });
        expect("GetChromaPitch", [&] { NvEncoder::GetChromaPitch(eFormat, 5); });
        expect("GetChromaHeight", [&] { NvEncoder::GetChromaHeight(eFormat, 5); });
        expect("GetChromaWidthInBytes", [&] { NvEncoder::GetChromaWidthInBytes(eFormat, 5); });
        expect("GetChromaSubPlaneOffsets", [&] { NvEncoder::GetChromaSubPlaneOffsets(eFormat, 5, 3, vOffsets); });
    }
}

using FrameSizeTest = UnknownFormatTest;

TEST_F(FrameSizeTest, OfNv12AtAnOddHeightCountsTheChromaRowsRoundedUp)
{
    EXPECT_EQ(FrameSize(NV_ENC_BUFFER_FORMAT_NV12, 3, 3), 15u);
}

TEST_F(FrameSizeTest, RoundsUpAtTheLargestNumber)
{
    EXPECT_EQ(NvEncoder::GetChromaHeight(NV_ENC_BUFFER_FORMAT_NV12, 0xFFFFFFFF), 0x80000000u);
    EXPECT_EQ(NvEncoder::GetChromaPitch(NV_ENC_BUFFER_FORMAT_YV12, 0xFFFFFFFF), 0x80000000u);
}
