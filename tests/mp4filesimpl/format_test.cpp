// The format object, through the module's file and the host's interfaces.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hostapi/iqminputimagefile.h"
#include "hostapi/iqmoutputimagefile.h"
#include "module_file.h"
#include "support/temporary_folder.h"

namespace
{

using test_support::TemporaryFile;

constexpr std::uint32_t NONE = 0xFFFFFFFF;

class Format : public testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(m_format.Get(), nullptr); }

    CLoadedFormat m_format;
};

// --- identity ---

TEST_F(Format, ReturnsItsNameDescriptionAndExtension)
{
    CQmStringA strId;
    CQmStringW strDescription;
    CQmStringW strExtension;
    EXPECT_EQ(m_format->GetFormatId(strId), QM_OK);
    EXPECT_EQ(m_format->GetFormatDescription(strDescription), QM_OK);
    EXPECT_EQ(m_format->GetFileExtension(strExtension), QM_OK);
    EXPECT_STREQ(strId.GetString(), "MP4");
    EXPECT_STREQ(strDescription.GetString(), L"MP4 Image File Format");
    EXPECT_STREQ(strExtension.GetString(), L".mp4");
}

TEST_F(Format, IsFoundByTheNameOfItsInterfaceOnlyAndAddsAReference)
{
    EXPECT_EQ(m_format.Class()->QueryInterface("CQmImageFormatMP4"), nullptr);
    EXPECT_EQ(m_format.Class()->QueryInterface("iqmimageformat"), nullptr);
    EXPECT_EQ(m_format.Class()->QueryInterface(""), nullptr);
    EXPECT_EQ(m_format.Class()->QueryInterface("IQmImageFormat"), m_format.Get());
    EXPECT_EQ(m_format.Class()->Release(), 1);
    EXPECT_EQ(m_format->GetQmClass(), m_format.Class());
}

TEST_F(Format, ItsClassRecordLeadsToItsNameAndFactory)
{
    const SQmClassRecord* pRecord = m_format.Class()->GetClassRecord();
    EXPECT_STREQ(pRecord->m_pszClass, "CQmImageFormatMP4");
    EXPECT_STREQ(pRecord->m_pszParent, "IQmImageFormat");
    EXPECT_GE(pRecord->m_uiObjectSize, 256 * sizeof(SQmCodecInfo));
    IQmInterface* pOther = pRecord->m_pfnFactory(__FILE__, __LINE__);
    ASSERT_NE(pOther, nullptr);
    delete pOther;
}

TEST_F(Format, TheFactoryLeavesTheCountAtZero)
{
    const CModuleFile module;
    IQmInterface* pObject = module.Constructor()(__FILE__, __LINE__);
    EXPECT_EQ(pObject->GetQmClass()->AddRef(), 1);
    EXPECT_EQ(pObject->GetQmClass()->Release(), 0);
}

TEST_F(Format, TheClassFlagDecidesWhetherTheLastReleaseDeletes)
{
    const CModuleFile module;
    IQmInterface* pObject = module.Constructor()(__FILE__, __LINE__);
    auto* pFormat = static_cast<IQmImageFormat*>(pObject->GetQmClass()->QueryInterface("IQmImageFormat"));
    pFormat->SetClassFlag(false);
    EXPECT_EQ(pObject->GetQmClass()->Release(), 0);
    CQmStringA strId;
    EXPECT_EQ(pFormat->GetFormatId(strId), QM_OK);  // it is still there
    delete pObject;
}

// --- codecs ---

TEST_F(Format, ListsSixCodecsInTheirOrder)
{
    const wchar_t* apwszRows[6][2] = {{L"HQ", L"H.264 High Quality"}, {L"NQ", L"H.264 Normal Quality"},
                                      {L"LQ", L"H.264 Low Quality"},  {L"FST", L"H.264 Fastest"},
                                      {L"AMF1", L"H.264 AMD VCE"},    {L"NVENC1", L"H.264 Nvdia NVENC"}};
    EXPECT_EQ(m_format->BuildCodecTable(), 6U);
    EXPECT_EQ(m_format->BuildCodecTable(), 6U);
    for (std::uint32_t i = 0; i < 6; ++i)
    {
        SQmCodecInfo info = {0x5A5A5A5A, 0xA5A5A5A5, {}, {}};
        EXPECT_EQ(m_format->GetCodecInfo(i, &info), QM_OK);
        EXPECT_EQ(info.m_uiReserved1, 0U);
        EXPECT_EQ(info.m_uiReserved2, 0U);
        EXPECT_STREQ(info.m_wszCode, apwszRows[i][0]);
        EXPECT_STREQ(info.m_wszName, apwszRows[i][1]);
    }
}

TEST_F(Format, GetCodecInfo6IsAcceptedAndGivesTheRowThatWasNeverFilled)
{
    SQmCodecInfo info = {0x5A5A5A5A, 0xA5A5A5A5, L"before", L"before"};
    EXPECT_EQ(m_format->GetCodecInfo(6, &info), QM_OK);
    EXPECT_EQ(info.m_uiReserved1, 0U);
    EXPECT_EQ(info.m_uiReserved2, 0U);
    EXPECT_STREQ(info.m_wszCode, L"");
    EXPECT_STREQ(info.m_wszName, L"");
}

TEST_F(Format, GetCodecInfo7IsRefused)
{
    SQmCodecInfo info = {0x5A5A5A5A, 0xA5A5A5A5, L"before", L"before"};
    EXPECT_EQ(m_format->GetCodecInfo(7, &info), QM_ERR_RANGE);
    EXPECT_EQ(m_format->GetCodecInfo(255, &info), QM_ERR_RANGE);
    EXPECT_EQ(m_format->GetCodecInfo(0xFFFFFFFE, &info), QM_ERR_RANGE);
    EXPECT_EQ(info.m_uiReserved1, 0x5A5A5A5AU);
    EXPECT_EQ(info.m_uiReserved2, 0xA5A5A5A5U);
    EXPECT_STREQ(info.m_wszCode, L"before");
    EXPECT_STREQ(info.m_wszName, L"before");
}

TEST_F(Format, GetCodecInfoOfNoCodecReturnsTheFirstRow)
{
    SQmCodecInfo info;
    EXPECT_EQ(m_format->GetCodecInfo(NONE, &info), QM_OK);
    EXPECT_STREQ(info.m_wszCode, L"HQ");
}

TEST_F(Format, GetActiveCodecAfterConstructionReturnsNone)
{
    std::uint32_t uiIndex = 3;
    EXPECT_EQ(m_format->GetActiveCodec(&uiIndex), QM_OK);
    EXPECT_EQ(uiIndex, NONE);
}

// The table is needed to check an index, and no call has built it before.
TEST_F(Format, SetActiveCodec6IsAcceptedOnANewObject)
{
    EXPECT_EQ(m_format->SetActiveCodec(6), QM_OK);
    std::uint32_t uiIndex = NONE;
    EXPECT_EQ(m_format->GetActiveCodec(&uiIndex), QM_OK);
    EXPECT_EQ(uiIndex, 6U);
}

TEST_F(Format, SetActiveCodecKeepsTheIndexOfEveryCodec)
{
    for (std::uint32_t i = 0; i < 6; ++i)
    {
        EXPECT_EQ(m_format->SetActiveCodec(i), QM_OK);
        std::uint32_t uiIndex = NONE;
        m_format->GetActiveCodec(&uiIndex);
        EXPECT_EQ(uiIndex, i);
    }
}

TEST_F(Format, SetActiveCodec7SetsNoCodecAndReturnsZero)
{
    for (const std::uint32_t uiBad : {7U, NONE})
    {
        m_format->SetActiveCodec(2);
        EXPECT_EQ(m_format->SetActiveCodec(uiBad), QM_OK);
        std::uint32_t uiIndex = 0;
        m_format->GetActiveCodec(&uiIndex);
        EXPECT_EQ(uiIndex, NONE);
    }
}

struct SDiagLine
{
    std::string m_strFile;
    int m_nLine;
    std::wstring m_strText;
};
std::vector<SDiagLine> g_vDiagLines;

void TakeDiagLine(const char* pszFile, int nLine, const wchar_t* pwszText, void*)
{
    g_vDiagLines.push_back({pszFile, nLine, pwszText});
}

TEST_F(Format, SetActiveCodecWritesALineUnlessTheIndexIsRefused)
{
    g_vDiagLines.clear();
    QM_SetDiagSink(TakeDiagLine, nullptr);
    m_format->SetActiveCodec(4);
    m_format->SetActiveCodec(7);
    m_format->SetActiveCodec(6);
    QM_SetDiagSink(nullptr, nullptr);
    ASSERT_EQ(g_vDiagLines.size(), 2U);
    EXPECT_EQ(g_vDiagLines[0].m_strFile, "mul_imageformat/w32_imageformat_mp4/mp4filesimpl");
    EXPECT_EQ(g_vDiagLines[0].m_nLine, 145);
    EXPECT_EQ(g_vDiagLines[0].m_strText, L"MP4: set active codec: 4: AMF1 - H.264 AMD VCE");
    EXPECT_EQ(g_vDiagLines[1].m_strText, L"MP4: set active codec: 6:  - ");
}

// --- quality ---

TEST_F(Format, ListsFiveStepsOfQuality)
{
    const wchar_t* apwszNames[] = {L"Lowest", L"Low", L"Medium", L"High", L"Highest"};
    const double adParams[] = {0.9, 0.6, 0.3, 0.15, 0.05};
    EXPECT_EQ(m_format->GetQualityCount(), 5U);
    for (std::uint32_t i = 0; i < 5; ++i)
    {
        CQmStringW strName;
        std::uint32_t uiValue = 0;
        double dParam = 0;
        EXPECT_EQ(m_format->GetQualityInfo(i, strName, &uiValue, &dParam), QM_OK);
        EXPECT_STREQ(strName.GetString(), apwszNames[i]);
        EXPECT_EQ(uiValue, 1U);
        EXPECT_EQ(dParam, adParams[i]);
    }
}

TEST_F(Format, GetQualityInfo5IsRefused)
{
    CQmStringW strName(L"before");
    std::uint32_t uiValue = 77;
    double dParam = 77;
    EXPECT_EQ(m_format->GetQualityInfo(5, strName, &uiValue, &dParam), QM_ERR_RANGE);
    EXPECT_EQ(m_format->GetQualityInfo(NONE, strName, &uiValue, &dParam), QM_ERR_RANGE);
    EXPECT_STREQ(strName.GetString(), L"before");
    EXPECT_EQ(uiValue, 77U);
}

// --- pictures ---

TEST_F(Format, HasSevenCapabilities)
{
    std::vector<int> vServed;
    for (int i = -3; i < 100; ++i)
    {
        const QmStatus nStatus = m_format->HasCapability(i);
        if (nStatus == QM_OK)
            vServed.push_back(i);
        else
            EXPECT_EQ(nStatus, QM_ERR_NOTSUPPORTED);
    }
    EXPECT_EQ(vServed, (std::vector<int>{6, 8, 9, 13, 15, 20, 21}));
}

TEST_F(Format, OnlyEightBitsAndThreeComponentsPass)
{
    EXPECT_EQ(m_format->CheckPixelFormat(1, 2, 8, 3), QM_OK);
    EXPECT_EQ(m_format->CheckPixelFormat(1, 2, 16, 3), QM_ERR_NOTSUPPORTED);
    EXPECT_EQ(m_format->CheckPixelFormat(1, 2, 8, 1), QM_ERR_NOTSUPPORTED);
    EXPECT_EQ(m_format->CheckPixelFormat(1, 2, 8, 4), QM_ERR_NOTSUPPORTED);
    std::uint8_t uiBits = 0;
    std::uint32_t uiComponents = 0;
    EXPECT_EQ(m_format->GetPixelFormat(1, 2, &uiBits, &uiComponents), QM_OK);
    EXPECT_EQ(uiBits, 8);
    EXPECT_EQ(uiComponents, 3U);
}

SQmImageAttributes GoodAttributes()
{
    SQmImageAttributes attributes;
    attributes.m_uiWidth = 640;
    attributes.m_uiHeight = 480;
    attributes.m_uiBitsInMemory = 8;
    attributes.m_uiBitsSignificant = 8;
    attributes.m_uiComponents = 3;
    attributes.m_uiTileWidth = 0;
    attributes.m_uiTileHeight = 0;
    return attributes;
}

TEST_F(Format, AttributesWithoutTilesPass)
{
    const SQmImageAttributes attributes = GoodAttributes();
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_OK);
}

TEST_F(Format, AttributesWithOneTilePassAndWithSmallerOnesDoNot)
{
    SQmImageAttributes attributes = GoodAttributes();
    attributes.m_uiTileWidth = 640;
    attributes.m_uiTileHeight = 480;
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_OK);
    attributes.m_uiTileWidth = 320;
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_ERR_NOTSUPPORTED);
    attributes.m_uiTileWidth = 0;
    attributes.m_uiTileHeight = 240;
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_ERR_NOTSUPPORTED);
}

TEST_F(Format, SixteenBitsOrOneComponentDoNotPass)
{
    SQmImageAttributes attributes = GoodAttributes();
    attributes.m_uiBitsInMemory = 16;
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_ERR_NOTSUPPORTED);
    attributes = GoodAttributes();
    attributes.m_uiBitsSignificant = 7;
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_ERR_NOTSUPPORTED);
    attributes = GoodAttributes();
    attributes.m_uiComponents = 1;
    EXPECT_EQ(m_format->CheckAttributes(&attributes), QM_ERR_NOTSUPPORTED);
}

TEST_F(Format, FillAttributesMakesOneTileWithoutRowPadding)
{
    SQmImageAttributes attributes;
    attributes.m_uiWidth = 641;
    attributes.m_uiHeight = 480;
    attributes.m_uiComponents = 1;
    EXPECT_EQ(m_format->FillAttributes(&attributes), QM_OK);
    EXPECT_EQ(attributes.m_uiTileWidth, 641U);
    EXPECT_EQ(attributes.m_uiTileHeight, 480U);
    EXPECT_EQ(attributes.m_uiWidthBytes, 1923U);
    EXPECT_EQ(attributes.m_uiComponents, 3U);
    EXPECT_EQ(attributes.m_uiBitsInMemory, 8);
    EXPECT_EQ(attributes.m_uiBitsSignificant, 8);
    EXPECT_EQ(attributes.m_uiWidth, 641U);
    EXPECT_EQ(attributes.m_uiHeight, 480U);
}

// --- files ---

TEST_F(Format, AnInputFileOfEveryFormHoldsAReferenceToTheFormat)
{
    CQmByteArray data;
    IQmInputImageFile* apFiles[3] = {};
    EXPECT_EQ(m_format->CreateInputFileForPath(CQmStringW(L"video.mp4"), &apFiles[0]), QM_OK);
    EXPECT_EQ(m_format->CreateInputFileFromByteArray(&data, &apFiles[1]), QM_OK);
    EXPECT_EQ(m_format->CreateInputFileFromMemory("bytes", 5, &apFiles[2]), QM_OK);
    EXPECT_EQ(m_format.Class()->AddRef(), 5);
    for (IQmInputImageFile* pFile : apFiles)
    {
        ASSERT_NE(pFile, nullptr);
        EXPECT_EQ(pFile->GetFormat(), m_format.Get());
        m_format.Class()->Release();
        EXPECT_EQ(pFile->AddRef(), 2);   // the creator's was the first
        EXPECT_EQ(pFile->Release(), 2);  // as it was before
        EXPECT_EQ(pFile->Release(), 0);
    }
    EXPECT_EQ(m_format.Class()->Release(), 1);
}

TEST_F(Format, AnOutputFileOfEveryFormHoldsAReferenceToTheFormat)
{
    IQmOutputImageFile* apFiles[4] = {};
    EXPECT_EQ(m_format->CreateOutputFile(nullptr, &apFiles[0]), QM_OK);
    EXPECT_EQ(m_format->CreateOutputFileForPath(CQmStringW(L"out.mp4"), &apFiles[1]), QM_OK);
    EXPECT_EQ(m_format->OpenOutputFile(nullptr, &apFiles[2]), QM_OK);
    EXPECT_EQ(m_format->OpenOutputFileForPath(CQmStringW(L"out.mp4"), &apFiles[3]), QM_OK);
    EXPECT_EQ(m_format.Class()->AddRef(), 6);
    for (IQmOutputImageFile* pFile : apFiles)
    {
        ASSERT_NE(pFile, nullptr);
        EXPECT_EQ(pFile->GetFormat(), m_format.Get());
        m_format.Class()->Release();
        EXPECT_EQ(pFile->AddRef(), 2);  // the creator's was the first
        EXPECT_EQ(pFile->Release(), 1);
        EXPECT_EQ(pFile->Release(), 0);
    }
    EXPECT_EQ(m_format.Class()->Release(), 1);
}

// A host passes the path as a copy, and a copy that finds no memory is empty.
TEST_F(Format, AnOutputFileWithAnEmptyPathIsRefused)
{
    auto* const pBefore = reinterpret_cast<IQmOutputImageFile*>(&m_format);
    IQmOutputImageFile* pCreated = pBefore;
    IQmOutputImageFile* pOpened = pBefore;
    EXPECT_EQ(m_format->CreateOutputFileForPath(CQmStringW(), &pCreated), QM_ERR_FAIL);
    EXPECT_EQ(m_format->OpenOutputFileForPath(CQmStringW(), &pOpened), QM_ERR_FAIL);
    EXPECT_EQ(pCreated, nullptr);
    EXPECT_EQ(pOpened, nullptr);
    EXPECT_EQ(m_format.Class()->AddRef(), 2);  // the refused files hold no reference
    EXPECT_EQ(m_format.Class()->Release(), 1);
}

TEST_F(Format, UnusedOperationsReturnTheirFixedResults)
{
    EXPECT_EQ(m_format->UnusedPathOperationA(CQmStringW(L"x")), QM_ERR_NOTIMPL);
    EXPECT_EQ(m_format->UnusedPathOperationB(CQmStringW(L"x")), QM_ERR_NOTIMPL);
    EXPECT_EQ(m_format->UnusedOperationA(), QM_ERR_NOTIMPL);
    EXPECT_EQ(m_format->UnusedOperationB(), QM_ERR_NOTSUPPORTED);
    EXPECT_EQ(m_format->UnusedOperationC(), QM_ERR_NOTSUPPORTED);
    m_format->UnusedOperationD();
    m_format->DropString(CQmStringW(L"x"));
    SQmEmptyRecord record = {{1, 2}};
    EXPECT_EQ(m_format->GetEmptyRecord(&record), &record);
    EXPECT_EQ(record.m_auiWords[0] | record.m_auiWords[1], 0U);
}

TEST_F(Format, FilesAreCopiedMovedMeasuredAndRemovedByTheHost)
{
    const TemporaryFile file("twelve bytes");
    const std::wstring strCopy = file.Path().wstring() + L".copy";
    const std::wstring strMoved = file.Path().wstring() + L".moved";
    EXPECT_EQ(m_format->CopyImageFile(file.Path().wstring().c_str(), strCopy.c_str(), false, nullptr, nullptr, 0),
              QM_OK);
    EXPECT_NE(m_format->CopyImageFile(file.Path().wstring().c_str(), strCopy.c_str(), false, nullptr, nullptr, 0),
              QM_OK);
    EXPECT_EQ(m_format->MoveImageFile(strCopy.c_str(), strMoved.c_str(), false, nullptr, nullptr, 0), QM_OK);
    std::uint64_t uiSize = 0;
    EXPECT_EQ(m_format->GetImageFileSize(strMoved.c_str(), &uiSize), QM_OK);
    EXPECT_EQ(uiSize, 12U);
    EXPECT_EQ(m_format->RemoveImageFile(strMoved.c_str(), 0), QM_OK);
    EXPECT_NE(m_format->GetImageFileSize(strMoved.c_str(), &uiSize), QM_OK);
}

TEST_F(Format, AFileIsCopiedOrMovedOverAnotherOnlyWhenThatIsAllowed)
{
    const TemporaryFile shortFile("four");
    const TemporaryFile longFile("twelve bytes");
    const std::wstring strShort = shortFile.Path().wstring();
    const std::wstring strLong = longFile.Path().wstring();
    const auto SizeOf = [&](const std::wstring& strPath) {
        std::uint64_t uiSize = 0;
        EXPECT_EQ(m_format->GetImageFileSize(strPath.c_str(), &uiSize), QM_OK);
        return uiSize;
    };
    EXPECT_EQ(m_format->CopyImageFile(strLong.c_str(), strShort.c_str(), false, nullptr, nullptr, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(m_format->MoveImageFile(strLong.c_str(), strShort.c_str(), false, nullptr, nullptr, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(SizeOf(strShort), 4U);

    const TemporaryFile copied("x");
    EXPECT_EQ(m_format->CopyImageFile(strLong.c_str(), copied.Path().wstring().c_str(), true, nullptr, nullptr, 0),
              QM_OK);
    EXPECT_EQ(SizeOf(copied.Path().wstring()), 12U);
    EXPECT_EQ(m_format->MoveImageFile(strLong.c_str(), strShort.c_str(), true, nullptr, nullptr, 0), QM_OK);
    EXPECT_EQ(SizeOf(strShort), 12U);
    std::uint64_t uiGone = 0;
    EXPECT_NE(m_format->GetImageFileSize(strLong.c_str(), &uiGone), QM_OK);
}

// The reports that a progress call-back got, and its answer.
struct SProgressNotes
{
    bool m_bGoOn;
    std::vector<std::uint64_t> m_vDone;
    std::uint64_t m_uiTotal = 0;
};

bool NoteProgress(std::uint64_t uiDone, std::uint64_t uiTotal, void* pUser)
{
    auto* pNotes = static_cast<SProgressNotes*>(pUser);
    pNotes->m_vDone.push_back(uiDone);
    pNotes->m_uiTotal = uiTotal;
    return pNotes->m_bGoOn;
}

TEST_F(Format, TheProgressOfACopyAndOfAMoveIsReportedToTheHostWhichMayStopIt)
{
    const TemporaryFile file("twelve bytes");
    const std::wstring strTarget = file.Path().wstring() + L".target";
    const auto Transfer = [&](bool bMove, SProgressNotes& notes) {
        const std::wstring strFrom = file.Path().wstring();
        return bMove ? m_format->MoveImageFile(strFrom.c_str(), strTarget.c_str(), false, NoteProgress, &notes, 0)
                     : m_format->CopyImageFile(strFrom.c_str(), strTarget.c_str(), false, NoteProgress, &notes, 0);
    };
    for (const bool bMove : {false, true})
    {
        SProgressNotes stopping = {false, {}, 0};
        EXPECT_EQ(Transfer(bMove, stopping), QM_ERR_FAIL);
        EXPECT_EQ(stopping.m_vDone, std::vector<std::uint64_t>{0});
        EXPECT_EQ(stopping.m_uiTotal, 12U);
        EXPECT_FALSE(std::filesystem::exists(strTarget));
        EXPECT_TRUE(std::filesystem::exists(file.Path()));

        SProgressNotes notes = {true, {}, 0};
        EXPECT_EQ(Transfer(bMove, notes), QM_OK);
        ASSERT_GE(notes.m_vDone.size(), 2U);
        EXPECT_EQ(notes.m_vDone.front(), 0U);
        EXPECT_EQ(notes.m_vDone.back(), 12U);
        EXPECT_EQ(notes.m_uiTotal, 12U);
        EXPECT_EQ(m_format->RemoveImageFile(strTarget.c_str(), 0), QM_OK);
    }
}

}  // namespace
