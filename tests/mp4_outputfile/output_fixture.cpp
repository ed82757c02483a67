#include "output_fixture.h"

namespace
{
// One NAL with its length in front.
Bytes WithLength(const Bytes& vNal)
{
    return Join({Bytes32(static_cast<std::uint32_t>(vNal.size())), vNal});
}

const Bytes g_vSps = {0x67, 0x64, 0x00, 0x1F, 0xAC, 0x2B, 0x40, 0x28, 0x02, 0xDD, 0x80, 0x88};
const Bytes g_vPps = {0x68, 0xEE, 0x3C, 0xB0};

Bytes SliceOf(std::int32_t iPicture)
{
    return iPicture == 0 ? Nal(0x65, 100) : Nal(0x41, 20 + static_cast<std::size_t>(iPicture));
}
}  // namespace

void OutputTest::SetUp()
{
    m_runtimeFile.Use("full");
    m_runtime.m_funcPacket = PacketOf;
    RenewFormat();
}

void OutputTest::RenewFormat()
{
    OutputObjectTest::RenewFormat(L"NVENC1");
    m_diagnostics.m_vLines.clear();
}

void OutputTest::TearDown()
{
    m_pFormat->m_funcReleased = nullptr;
    m_runtime.m_funcEntered = nullptr;
    m_d3d.m_funcCalled = nullptr;

    EXPECT_THAT(m_runtime.m_vComplaints, testing::IsEmpty());
    EXPECT_EQ(m_runtime.m_setSessions.size(), 0U);
    EXPECT_EQ(m_d3d.m_uiReferences, 0U);
    EXPECT_EQ(m_d3d.m_device.m_uiReferences, 0U);
    for (const auto& pSurface : m_d3d.m_vSurfaces)
        EXPECT_EQ(pSurface->m_uiReferences, 0U);
    OutputObjectTest::TearDown();
}

Bytes OutputTest::PacketOf(std::int32_t iPicture)
{
    if (iPicture != 0) return Join({g_vStart3, SliceOf(iPicture)});
    return Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart3, SliceOf(0)});
}

Bytes OutputTest::SampleOf(std::int32_t iPicture)
{
    if (iPicture != 0) return WithLength(SliceOf(iPicture));
    return Join({WithLength(g_vSps), WithLength(g_vPps), WithLength(SliceOf(0))});
}
