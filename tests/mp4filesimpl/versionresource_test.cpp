// The version resource, as the system's file properties read it.
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include <gtest/gtest.h>

#include "loaded_image.h"
#include "module_file.h"

namespace
{

class VersionResource : public testing::Test
{
protected:
    void SetUp() override
    {
        const CModuleFile module;
        m_image.m_hModule = module.Handle();
        const std::wstring strPath = m_image.Path().wstring();
        DWORD uiUnused = 0;
        m_vBytes.resize(GetFileVersionInfoSizeW(strPath.c_str(), &uiUnused));
        ASSERT_FALSE(m_vBytes.empty());
        ASSERT_TRUE(GetFileVersionInfoW(strPath.c_str(), 0, static_cast<DWORD>(m_vBytes.size()), m_vBytes.data()));
    }

    std::wstring Text(const std::wstring& strName)
    {
        void* pText = nullptr;
        UINT uiLength = 0;
        if (!VerQueryValueW(m_vBytes.data(), (L"\\StringFileInfo\\040904B0\\" + strName).c_str(), &pText, &uiLength))
            return L"(none)";
        return static_cast<const wchar_t*>(pText);
    }

    std::vector<unsigned char> m_vBytes;
    SLoadedImage m_image;
};

TEST_F(VersionResource, HasTheTextsOfTheBuildRecords)
{
    EXPECT_EQ(Text(L"FileVersion"), L"7, 100, 2200, 4");
    EXPECT_EQ(Text(L"ProductVersion"), L"0, 0, 0, 0");
    EXPECT_EQ(Text(L"LegalTrademarks"), L"");
    EXPECT_EQ(Text(L"Comments"), L"");
    EXPECT_EQ(Text(L"FileDescription"), L"MP4 - Image File Format");
    EXPECT_EQ(Text(L"InternalName"), L"w32_imageformat_mp4");
    EXPECT_EQ(Text(L"OriginalFilename"), m_image.Path().filename().wstring());
    EXPECT_EQ(Text(L"ProductName"), L"w32_imageformat_mp4");
    EXPECT_EQ(Text(L"PrivateBuild"), L"1");
    EXPECT_EQ(Text(L"SpecialBuild"), L"1");
}

TEST_F(VersionResource, HasTheMakerAndTheCopyrightOfTheBuildRecords)
{
    const auto section = m_image.Section("verHID");
    const std::wstring_view records(reinterpret_cast<const wchar_t*>(section.data()), section.size() / 2);
    EXPECT_NE(records.find(L"<QM_GLOB_COMPANYNAME value=\"" + Text(L"CompanyName") + L"\"/>"), records.npos);
    EXPECT_NE(records.find(L"<QM_GLOB_COPYRIGHT value=\"" + Text(L"LegalCopyright") + L"\"/>"), records.npos);
}

TEST_F(VersionResource, HasTheVersionsInNumbers)
{
    void* pInfo = nullptr;
    UINT uiLength = 0;
    ASSERT_TRUE(VerQueryValueW(m_vBytes.data(), L"\\", &pInfo, &uiLength));
    ASSERT_EQ(uiLength, sizeof(VS_FIXEDFILEINFO));
    const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(pInfo);
    EXPECT_EQ(info.dwFileVersionMS, 0x00070064U);
    EXPECT_EQ(info.dwFileVersionLS, 0x08980004U);
    EXPECT_EQ(info.dwProductVersionMS, 0U);
    EXPECT_EQ(info.dwProductVersionLS, 0U);
    EXPECT_EQ(info.dwFileType, static_cast<DWORD>(VFT_DLL));
}

}  // namespace
