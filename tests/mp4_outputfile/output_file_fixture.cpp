#include "output_file_fixture.h"

#include <cwchar>

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

void OutputObjectTest::RenewFormat(const std::wstring& wszCode)
{
    m_pFormat = new (__FILE__, __LINE__) CScriptedFormat;
    m_pFormat->AddRef();
    m_pFormat->Choose(wszCode);
    m_nLostReferences = 0;
}

void OutputObjectTest::TearDown()
{
    m_pFormat->m_funcReleased = nullptr;
    EXPECT_EQ(m_pFormat->CountReferences(), 1 + m_nLostReferences);
    while (m_pFormat->CountReferences() > 1)
        m_pFormat->Release();
    m_pFormat->Release();
}

OutputPtr OutputObjectTest::MakeFile()
{
    return MakeFile(m_target.Path().wstring());
}

OutputPtr OutputObjectTest::MakeFile(const std::wstring& wszPath)
{
    OutputPtr pFile(new OpenOutputFile(m_pFormat, CQmStringW(wszPath.c_str())));
    pFile->AddRef();
    return pFile;
}

OutputPtr OutputObjectTest::MakeFile(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    OutputPtr pFile = MakeFile();
    const SQmImageAttributes attributes = test_support::PictureAttributes(uiWidth, uiHeight);
    EXPECT_EQ(Announce(*pFile, &attributes), QM_OK);
    return pFile;
}

QmStatus OutputObjectTest::Announce(OpenOutputFile& file, const SQmImageAttributes* pAttributes)
{
    ++m_nLostReferences;
    return file.SetImageAttributes(pAttributes);
}

QmStatus OutputObjectTest::WriteAt(OpenOutputFile& file, double dTimeMs)
{
    EXPECT_EQ(file.SetFrameTime(dTimeMs), QM_OK);
    return file.WriteNextFrame(m_vPixels.data());
}

void OutputObjectTest::WriteFrames(OpenOutputFile& file, int nCount)
{
    for (int i = 0; i < nCount; ++i)
        ASSERT_EQ(WriteAt(file, 10.0 * i), QM_OK) << "frame " << i;
}
