// The two sections in which the module file describes itself, as they lie in the loaded image.
#include <cstring>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "loaded_image.h"
#include "module_file.h"
#include "mp4filesimpl/imageformatmp4.h"

namespace
{

using Section = std::span<const unsigned char>;

const SLoadedImage& Image()
{
    static const CModuleFile module;
    static const SLoadedImage image{module.Handle(), reinterpret_cast<const void*>(module.Constructor())};
    return image;
}

// The text from an offset up to its nul, which comes before uiEnd. Every byte after the nul, up to uiEnd, is zero. No
// value for a section that isn't so. The texts are ASCII.
std::optional<std::string> TextBetween(Section section, std::size_t uiOffset, std::size_t uiEnd)
{
    if (uiEnd > section.size()) return std::nullopt;
    std::string strText;
    std::size_t i = uiOffset;
    for (; i + 2 <= uiEnd && (section[i] | section[i + 1]) != 0; i += 2)
    {
        if (section[i + 1] != 0 || section[i] > 0x7E) return std::nullopt;
        strText.push_back(static_cast<char>(section[i]));
    }
    if (i == uiEnd) return std::nullopt;  // no nul at its end
    for (; i < uiEnd; ++i)
    {
        if (section[i] != 0) return std::nullopt;
    }
    return strText;
}

class BuildRecords : public testing::Test
{
protected:
    void SetUp() override { ASSERT_FALSE(m_section.empty()) << "no such section"; }

    std::string Record(std::size_t uiIndex) const
    {
        return TextBetween(m_section, 512 * uiIndex, 512 * (uiIndex + 1)).value_or("no text alone in its place");
    }

    // The value of a record that has this key and no other content.
    std::string Value(std::size_t uiIndex, const std::string& strKey) const
    {
        const std::string strHead = "<variant version=\"1.0\"><" + strKey + " value=\"";
        const std::string strTail = "\"/></variant>";
        const std::string strRecord = Record(uiIndex);
        if (!strRecord.starts_with(strHead) || !strRecord.ends_with(strTail)) return "not of the form: " + strRecord;
        return strRecord.substr(strHead.size(), strRecord.size() - strHead.size() - strTail.size());
    }

    const Section m_section = Image().Section("verHID");
};

TEST_F(BuildRecords, AreThirteenPlacesOf512Bytes)
{
    EXPECT_EQ(m_section.size(), 6656U);
}

TEST_F(BuildRecords, BeginWithTheVersions)
{
    EXPECT_EQ(Record(0), "<variant version=\"1.0\"><QM_GLOB_FILEVERSION_WCS value=\"7, 100, 2200, 4\"/></variant>");
    EXPECT_EQ(Record(1), "<variant version=\"1.0\"><QM_GLOB_PRODUCTVERSION_WCS value=\"0, 0, 0, 0\"/></variant>");
}

TEST_F(BuildRecords, NameTheMakerAndTheCopyright)
{
    EXPECT_EQ(Value(2, "QM_GLOB_COMPANYNAME"), "The imageformat_mp4 project");
    EXPECT_EQ(Value(3, "QM_GLOB_COPYRIGHT"), "Copyright (C) 2026 The imageformat_mp4 project");
}

TEST_F(BuildRecords, HaveTheTrademarksAndCommentsEmpty)
{
    EXPECT_EQ(Record(4), "<variant version=\"1.0\"><QM_GLOB_TRADEMARKS value=\"\"/></variant>");
    EXPECT_EQ(Record(5), "<variant version=\"1.0\"><QM_LOCAL_COMMENTS value=\"\"/></variant>");
}

TEST_F(BuildRecords, DescribeTheModule)
{
    EXPECT_EQ(Record(6),
              "<variant version=\"1.0\"><QM_LOCAL_FILEDESCRIPTION value=\"MP4 - Image File Format\"/></variant>");
    EXPECT_EQ(Record(7), "<variant version=\"1.0\"><QM_LOCAL_INTERNALNAME value=\"w32_imageformat_mp4\"/></variant>");
    EXPECT_EQ(Record(9), "<variant version=\"1.0\"><QM_LOCAL_PRODUCTNAME value=\"w32_imageformat_mp4\"/></variant>");
    EXPECT_EQ(Record(10), "<variant version=\"1.0\"><QM_LOCAL_PRIVATEBUILD value=\"1\"/></variant>");
    EXPECT_EQ(Record(11), "<variant version=\"1.0\"><QM_LOCAL_SPECIALBUILD value=\"1\"/></variant>");
}

TEST_F(BuildRecords, NameTheFileAsItIsCalled)
{
    EXPECT_EQ(Value(8, "QM_LOCAL_ORIGINALFILENAME"), Image().Path().filename().string());
}

TEST_F(BuildRecords, EndWithTheSignOfAReleaseBuild)
{
#if defined(NDEBUG)
    EXPECT_EQ(Record(12), "<variant version=\"1.0\"><NDEBUG/></variant>");
#else
    EXPECT_EQ(Record(12), "");
#endif
}

class ClassSection : public testing::Test
{
protected:
    void SetUp() override { ASSERT_GE(m_section.size(), 0x23F0U); }

    std::uint64_t Word(std::size_t uiIndex) const
    {
        std::uint64_t uiWord = 0;
        std::memcpy(&uiWord, &m_section[0x23D0 + 8 * uiIndex], sizeof uiWord);
        return uiWord;
    }
    const char* Text(std::size_t uiIndex) const { return reinterpret_cast<const char*>(Word(uiIndex)); }

    const Section m_section = Image().Section("verHIDX");
};

TEST_F(ClassSection, BeginsWithTheClassAndItsParents)
{
    EXPECT_EQ(TextBetween(m_section, 0, 0x3D0), "<variant version=\"1.0\"><CQmImageFormatMP4 runtype=\"RQmRttiClass\">"
                                                "<m_parent1 runtype=\"CQmStringW\" value=\"IQmImageFormat\"/>"
                                                "<m_parent2 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent3 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent4 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent5 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent6 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent7 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent8 runtype=\"CQmStringW\" value=\"\"/>"
                                                "<m_parent9 runtype=\"CQmStringW\" value=\"\"/>"
                                                "</CQmImageFormatMP4></variant>");
}

TEST_F(ClassSection, GivesTheVersionAndThePriorityAtOffset0x3D0)
{
    EXPECT_EQ(TextBetween(m_section, 0x3D0, 0x23D0),
              "<variant version=\"1.0\"><CQmImageFormatMP4 runtype=\"CQmListVariant\">"
              "<m_version value=\"1\" runtype=\"qm_int32\"/>"
              "<m_RTTIpriority value=\"00.90.00.00\" runtype=\"CQmStringW\"/>"
              "</CQmImageFormatMP4></variant>");
}

// An assembler may fill the section up to its alignment.
TEST_F(ClassSection, EndsWithTheEntry)
{
    EXPECT_LT(m_section.size(), 0x23F0U + 32);
    for (std::size_t i = 0x23F0; i < m_section.size(); ++i)
        EXPECT_EQ(m_section[i], 0) << i;
}

TEST_F(ClassSection, NamesTheClassAndItsParentInNarrowText)
{
    EXPECT_STREQ(Text(0), "CQmImageFormatMP4");
    EXPECT_STREQ(Text(3), "IQmImageFormat");
}

TEST_F(ClassSection, HasTheSizeOfTheObject)
{
    EXPECT_EQ(Word(1), sizeof(CQmImageFormatMP4));
}

TEST_F(ClassSection, LeadsToTheExportedFactory)
{
    const FARPROC pfnFactory = GetProcAddress(Image().m_hModule, "QM_ConstructorForCQmImageFormatMP4");
    ASSERT_NE(pfnFactory, nullptr);
    EXPECT_EQ(Word(2), reinterpret_cast<std::uintptr_t>(pfnFactory));
}

TEST_F(ClassSection, ItsEntryIsTheClassRecordOfTheObjects)
{
    const CLoadedFormat format;
    ASSERT_NE(format.Get(), nullptr);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(format.Class()->GetClassRecord()), &m_section[0x23D0]);
}

}  // namespace
