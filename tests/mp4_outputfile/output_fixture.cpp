#include "output_fixture.h"

#include <cwchar>
#include <filesystem>

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

std::int32_t CScriptedFormat::Release()
{
    if (m_funcReleased) m_funcReleased();
    return CQmImageFormatMP4::Release();
}

QmStatus CScriptedFormat::GetActiveCodec(std::uint32_t* puiIndex)
{
    m_vCalls.emplace_back("GetActiveCodec");
    return CQmImageFormatMP4::GetActiveCodec(puiIndex);
}

QmStatus CScriptedFormat::GetCodecInfo(std::uint32_t uiIndex, SQmCodecInfo* pInfo)
{
    m_vCalls.emplace_back("GetCodecInfo");
    m_vRowsAsked.push_back(uiIndex);
    const QmStatus nStatus = CQmImageFormatMP4::GetCodecInfo(uiIndex, pInfo);
    if (m_pwszCode != nullptr) std::wcscpy(pInfo->m_wszCode, m_pwszCode);
    return nStatus;
}

void CScriptedFormat::Choose(const std::wstring& wszCode)
{
    SQmCodecInfo codec{};
    for (std::uint32_t ui = 0; CQmImageFormatMP4::GetCodecInfo(ui, &codec) == QM_OK; ++ui)
        if (wszCode == codec.m_wszCode) SetActiveCodec(ui);
}

std::int32_t CScriptedFormat::CountReferences()
{
    AddRef();
    return CQmImageFormatMP4::Release();
}

void OutputTest::SetUp()
{
    m_runtimeFile.Use("full");
    m_runtime.m_funcPacket = PacketOf;
    RenewFormat();
}

void OutputTest::RenewFormat()
{
    m_pFormat = new (__FILE__, __LINE__) CScriptedFormat;
    m_pFormat->AddRef();
    m_pFormat->Choose(L"NVENC1");
    m_nLostReferences = 0;
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

    EXPECT_EQ(m_pFormat->CountReferences(), 1 + m_nLostReferences);
    while (m_pFormat->CountReferences() > 1)
        m_pFormat->Release();
    m_pFormat->Release();
}

OutputPtr OutputTest::MakeFile()
{
    return MakeFile(m_target.Path().wstring());
}

OutputPtr OutputTest::MakeFile(const std::wstring& wszPath)
{
    OutputPtr pFile(new OpenOutputFile(m_pFormat, CQmStringW(wszPath.c_str())));
    pFile->AddRef();
    return pFile;
}

OutputPtr OutputTest::MakeFile(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    OutputPtr pFile = MakeFile();
    const SQmImageAttributes attributes = Attributes(uiWidth, uiHeight);
    EXPECT_EQ(Announce(*pFile, &attributes), QM_OK);
    return pFile;
}

SQmImageAttributes OutputTest::Attributes(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    SQmImageAttributes attributes;
    attributes.m_uiWidth = uiWidth;
    attributes.m_uiHeight = uiHeight;
    attributes.m_uiComponents = 3;
    attributes.m_uiBitsInMemory = 8;
    attributes.m_uiBitsSignificant = 8;
    return attributes;
}

QmStatus OutputTest::Announce(OpenOutputFile& file, const SQmImageAttributes* pAttributes)
{
    ++m_nLostReferences;
    return file.SetImageAttributes(pAttributes);
}

QmStatus OutputTest::WriteAt(OpenOutputFile& file, double dTimeMs)
{
    EXPECT_EQ(file.SetFrameTime(dTimeMs), QM_OK);
    return file.WriteNextFrame(m_vPixels.data());
}

void OutputTest::WriteFrames(OpenOutputFile& file, int nCount)
{
    for (int i = 0; i < nCount; ++i)
        ASSERT_EQ(WriteAt(file, 10.0 * i), QM_OK) << "frame " << i;
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
