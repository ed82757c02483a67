// Metadata that need no decoding, on an object whose list of times is set by the test.
#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "scripted_file.h"
#include "support/temporary_folder.h"

namespace
{

class FileMetadata : public testing::Test
{
protected:
    static SScript ScriptOf(std::vector<std::uint64_t> vTimesMs)
    {
        SScript script;
        script.m_vTimesMs = std::move(vTimesMs);
        return script;
    }

    CFormatReference m_format;
};

std::vector<double> DoublesOf(const CQmByteArray& data)
{
    std::vector<double> vValues(data.GetSize() / sizeof(double));
    if (!vValues.empty()) std::memcpy(vValues.data(), data.GetData(0), data.GetSize());
    return vValues;
}

// --- the block of times ---

TEST_F(FileMetadata, TheBlockOfTimesIsServedUnderItsExactNameOnly)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 40, 85}));
    CQmByteArray data;
    for (const wchar_t* pwszName : {L"acqtimescache", L"AcqTimesCach", L"AcqTimesCaches", L" AcqTimesCache", L""})
    {
        data.SetData("kept", 4, EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default);
        EXPECT_EQ(file.GetCacheItem(pwszName, &data), QM_ERR_NOTIMPL);
        EXPECT_EQ(data.GetSize(), 4U);
    }
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    EXPECT_EQ(DoublesOf(data), (std::vector<double>{0.0, 40.0, 85.0}));
}

// A byte array of the host's that notes how it is set, and doesn't let itself be set.
class CRefusingArray : public CQmByteArray
{
public:
    struct SCall
    {
        const void* m_pData;
        std::vector<unsigned char> m_vBytes;
        EQmByteArrayModeOp m_eOp;
        EQmByteArrayModeAlloc m_eAlloc;
    };

    QmStatus SetData(const void* pData, std::size_t uiSize, EQmByteArrayModeOp eOp,
                     EQmByteArrayModeAlloc eAlloc) override
    {
        const auto* pBytes = static_cast<const unsigned char*>(pData);
        m_vCalls.push_back({pData, std::vector<unsigned char>(pBytes, pBytes + uiSize), eOp, eAlloc});
        return QM_ERR_FAIL;
    }

    std::vector<SCall> m_vCalls;
};

TEST_F(FileMetadata, TheBlockOfTimesOfAFreshObjectIsSetOnceWithANullStartAndNoLength)
{
    CQmMP4InputFile file(m_format.Get(), CQmStringW(L"no-such-file.mp4"), false, nullptr);
    CRefusingArray data;
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    ASSERT_EQ(data.m_vCalls.size(), 1U);
    EXPECT_EQ(data.m_vCalls[0].m_pData, nullptr);
    EXPECT_TRUE(data.m_vCalls[0].m_vBytes.empty());
    EXPECT_EQ(data.m_vCalls[0].m_eOp, EQmByteArrayModeOp::Replace);
    EXPECT_EQ(data.m_vCalls[0].m_eAlloc, EQmByteArrayModeAlloc::Default);

    CQmByteArray filled;
    filled.SetData("old", 3, EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default);
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &filled), QM_OK);
    EXPECT_EQ(filled.GetSize(), 0U);
}

TEST_F(FileMetadata, AnArrayThatRefusesTheBlockOfTimesIsSetOnceAndTheStatusIsZero)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 40, 85}));
    CRefusingArray data;
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    ASSERT_EQ(data.m_vCalls.size(), 1U);
    double adTimes[3] = {};
    ASSERT_EQ(data.m_vCalls[0].m_vBytes.size(), sizeof adTimes);
    std::memcpy(adTimes, data.m_vCalls[0].m_vBytes.data(), sizeof adTimes);
    EXPECT_EQ(std::vector<double>(adTimes, adTimes + 3), (std::vector<double>{0.0, 40.0, 85.0}));
    EXPECT_EQ(data.m_vCalls[0].m_eOp, EQmByteArrayModeOp::Replace);
    EXPECT_EQ(data.m_vCalls[0].m_eAlloc, EQmByteArrayModeAlloc::Default);
    EXPECT_EQ(data.GetSize(), 0U);
}

TEST_F(FileMetadata, TheBlockOfTimesOfOneFrameIs8BytesThatHoldZero)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0}));
    CQmByteArray data;
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    EXPECT_EQ(data.GetSize(), 8U);
    EXPECT_EQ(DoublesOf(data), std::vector<double>{0.0});
}

TEST_F(FileMetadata, TimesConvertToDoublesOverTheWholeUnsignedRange)
{
    // Ties go to the even neighbour, and a lowest bit beyond the tie decides, also above 2^63.
    CScriptedFile file(m_format.Get(),
                       ScriptOf({0, (1ULL << 53) + 1, (1ULL << 63) + 1024, (1ULL << 63) + 1025, ~0ULL}));
    CQmByteArray data;
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    EXPECT_EQ(DoublesOf(data), (std::vector<double>{0.0, std::ldexp(1.0, 53), std::ldexp(1.0, 63),
                                                    std::ldexp(1.0, 63) + 2048.0, std::ldexp(1.0, 64)}));
}

// --- metadata of a frame ---

TEST_F(FileMetadata, AFrameHasItsTimeOneRgbPlaneAndPlainValues)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 40, 85}));
    SQmPictureMetadata metadata;
    metadata.m_dMeta1 = 5;
    metadata.m_dMeta2 = 5.0;
    metadata.m_bMeta3 = 5;
    metadata.m_strMeta4 = L"text";
    EXPECT_EQ(file.GetPictureMetadata(2, metadata, 0), QM_OK);
    EXPECT_EQ(metadata.m_dTime, 85.0);
    EXPECT_EQ(metadata.m_dMeta1, 0);
    EXPECT_EQ(metadata.m_dMeta2, 1.0);
    EXPECT_EQ(metadata.m_bMeta3, 0);
    EXPECT_STREQ(metadata.m_strMeta4.GetString(), L"");
    ASSERT_EQ(metadata.m_Planes.m_uiCount, 1U);
    EXPECT_TRUE(metadata.m_Planes.m_pPlanes[0].m_bRGB);
}

TEST_F(FileMetadata, AnIndexPastTheEndReturnsZeroAndTheDefaultTime)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 40}));
    SQmPictureMetadata fresh;
    fresh.SetToDefault();
    SQmPictureMetadata metadata;
    metadata.m_dTime = 12.0;
    EXPECT_EQ(file.GetPictureMetadata(2, metadata, 0), QM_OK);
    EXPECT_EQ(metadata.m_dTime, fresh.m_dTime);
    EXPECT_EQ(file.GetPictureMetadata(0xFFFFFFFF, metadata, 0), QM_OK);
    EXPECT_EQ(metadata.m_dTime, fresh.m_dTime);
}

TEST_F(FileMetadata, AFileThatDoesNotOpenForItsDateIsReportedWithTheRecordFilled)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 40}));
    file.m_strPath = L"no-such-file.mp4";
    SQmPictureMetadata metadata;
    EXPECT_EQ(file.GetPictureMetadata(1, metadata, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(metadata.m_dTime, 40.0);
    EXPECT_EQ(file.m_dJulianDay, -1.0);
}

TEST_F(FileMetadata, TheDateOfTheLastWritingIsTakenOnce)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 40}));
    SQmPictureMetadata metadata;
    {
        const test_support::TemporaryFile video("");
        file.m_strPath = video.Path().wstring().c_str();
        EXPECT_EQ(file.GetPictureMetadata(0, metadata, 0), QM_OK);
    }
    const double dUnixDays = static_cast<double>(std::time(nullptr)) / 86400.0;
    EXPECT_NEAR(file.m_dJulianDay, 2440587.5 + dUnixDays, 0.01);
    EXPECT_EQ(file.GetPictureMetadata(0, metadata, 0), QM_OK);  // the file is gone, and isn't asked again
}

// --- the experiment ---

TEST_F(FileMetadata, TheExperimentIsATimeLoopWithThePlainMeanAsItsPeriod)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0, 10, 500, 1000}));
    SQmExperiment experiment;
    EXPECT_EQ(file.GetExperiment(experiment), QM_OK);
    EXPECT_EQ(experiment.m_eType, EQmExperimentType::TimeLoop);
    EXPECT_EQ(experiment.m_uiCount, 4U);
    EXPECT_EQ(experiment.m_uiFirst, 0U);
    EXPECT_EQ(experiment.m_dDuration, 1000.0);
    EXPECT_EQ(experiment.m_dPeriod, 1000.0 / 3.0);
    EXPECT_EQ(experiment.m_dPeriod2, experiment.m_dPeriod);
    EXPECT_EQ(experiment.m_dPeriod3, experiment.m_dPeriod);
}

TEST_F(FileMetadata, TheExperimentOfOneFrameHasNoDurationAndAPeriodThatIsNotANumber)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0}));
    SQmExperiment experiment;
    EXPECT_EQ(file.GetExperiment(experiment), QM_OK);
    EXPECT_EQ(experiment.m_uiCount, 1U);
    EXPECT_EQ(experiment.m_dDuration, 0.0);
    EXPECT_TRUE(std::isnan(experiment.m_dPeriod));
    EXPECT_TRUE(std::isnan(experiment.m_dPeriod3));
}

TEST_F(FileMetadata, TheExperimentOfNoFramesHasNoDuration)
{
    CScriptedFile file(m_format.Get(), ScriptOf({}));
    SQmExperiment experiment;
    EXPECT_EQ(file.GetExperiment(experiment), QM_OK);
    EXPECT_EQ(experiment.m_uiCount, 0U);
    EXPECT_EQ(experiment.m_dDuration, 0.0);
    EXPECT_EQ(experiment.m_dPeriod, 0.0);
}

// --- shape ---

TEST_F(FileMetadata, ThePictureFormatOfAFreshObjectIsZeros)
{
    CQmMP4InputFile file(m_format.Get(), CQmStringW(L"no-such-file.mp4"), false, nullptr);
    std::uint32_t auiFormat[4] = {1, 2, 3, 4};
    EXPECT_EQ(file.GetPictureFormat(&auiFormat[0], &auiFormat[1], &auiFormat[2], &auiFormat[3]), QM_OK);
    EXPECT_EQ(auiFormat[0] | auiFormat[1] | auiFormat[2] | auiFormat[3], 0U);
}

TEST_F(FileMetadata, ThePictureFormatOfAnOpenFileIsItsOwn)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0}));
    std::uint32_t auiFormat[4] = {};
    EXPECT_EQ(file.GetPictureFormat(&auiFormat[0], &auiFormat[1], &auiFormat[2], &auiFormat[3]), QM_OK);
    EXPECT_EQ(auiFormat[0], 4U);
    EXPECT_EQ(auiFormat[1], 2U);
    EXPECT_EQ(auiFormat[2], 8U);
    EXPECT_EQ(auiFormat[3], 3U);
}

TEST_F(FileMetadata, AFileHasTheSevenCapabilitiesOfTheFormat)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0}));
    std::vector<int> vServed;
    for (int i = -3; i < 100; ++i)
    {
        const QmStatus nStatus = file.HasCapability(i);
        if (nStatus == QM_OK)
            vServed.push_back(i);
        else
            EXPECT_EQ(nStatus, QM_ERR_NOTSUPPORTED) << i;
    }
    EXPECT_EQ(vServed, (std::vector<int>{6, 8, 9, 13, 15, 20, 21}));
}

TEST_F(FileMetadata, PlacesWithoutUseGiveTheirFixedResults)
{
    CScriptedFile file(m_format.Get(), ScriptOf({0}));
    for (const QmStatus nStatus : {file.InputOperationA(), file.InputOperationB(), file.InputOperationC(),
                                   file.InputOperationE(), file.InputOperationG(), file.InputOperationH(),
                                   file.InputOperationI(), file.InputOperationJ(), file.InputOperationK()})
    {
        EXPECT_EQ(nStatus, QM_ERR_NOTSUPPORTED);
    }
    for (const QmStatus nStatus :
         {file.InputOperationD(), file.InputOperationM(), file.InputOperationN(), file.InputOperationP(),
          file.InputOperationQ(), file.InputOperationR(), file.InputOperationS(), file.InputOperationT()})
    {
        EXPECT_EQ(nStatus, QM_ERR_NOTIMPL);
    }
    EXPECT_EQ(file.InputOperationF(), QM_OK);
    EXPECT_EQ(file.InputOperationU(), QM_OK);
    EXPECT_FALSE(file.InputOperationO());
    file.InputOperationV();
    void* pCleared = &file;
    EXPECT_EQ(file.InputOperationL(&pCleared), QM_ERR_NOTSUPPORTED);
    EXPECT_EQ(pCleared, nullptr);
}

}  // namespace
