// The output object without its encoders: the host's table of operations, references, times, the reader.
#include "output_fixture.h"

#include "common/modulestate.h"
#ifndef _WIN32
#include "platform/mediafoundation/startup_probe.h"
#endif
#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;

using OutputFileTest = OutputTest;

namespace
{
// Notes what WriteFrame is called with, and fails.
class RecordingFile : public OpenOutputFile
{
public:
    using OpenOutputFile::OpenOutputFile;

    struct SCall
    {
        std::uint32_t m_uiIndex;
        const void* m_pPixels;
        const void* m_pPass1;
        const void* m_pPass2;
        bool operator==(const SCall&) const = default;
    };
    QmStatus WriteFrame(std::uint32_t uiIndex, const void* pPixels, void* pPass1, void* pPass2) override
    {
        m_vCalls.push_back({uiIndex, pPixels, pPass1, pPass2});
        return -77;
    }
    std::vector<SCall> m_vCalls;
};
}  // namespace

TEST_F(OutputFileTest, EveryOperationWithoutAPurposeGivesItsFixedStatus)
{
    struct SOperation
    {
        QmStatus (IQmOutputImageFile::*m_pfnOperation)();
        QmStatus m_nStatus;
    };
    using I = IQmOutputImageFile;
    const OutputPtr pFile = MakeFile();
    int nOperation = 0;
    for (const SOperation& operation :
         {SOperation{&I::OutputOperationA, 0},     SOperation{&I::OutputOperationB, 0},
          SOperation{&I::OutputOperationC, 0},     SOperation{&I::OutputOperationD, -1506},
          SOperation{&I::OutputOperationE, 0},     SOperation{&I::OutputOperationF, 0},
          SOperation{&I::OutputOperationG, 0},     SOperation{&I::OutputOperationH, 0},
          SOperation{&I::OutputOperationI, -2},    SOperation{&I::OutputOperationJ, 0},
          SOperation{&I::OutputOperationK, 0},     SOperation{&I::OutputOperationL, -2},
          SOperation{&I::OutputOperationM, -1506}, SOperation{&I::OutputOperationN, -1506},
          SOperation{&I::OutputOperationO, -1506}, SOperation{&I::OutputOperationP, -2},
          SOperation{&I::OutputOperationQ, -2},    SOperation{&I::OutputOperationR, -2},
          SOperation{&I::OutputOperationS, -2},    SOperation{&I::OutputOperationT, 0},
          SOperation{&I::OutputOperationU, -2}})
    {
        EXPECT_EQ((static_cast<I&>(*pFile).*operation.m_pfnOperation)(), operation.m_nStatus)
            << "operation " << static_cast<char>('A' + nOperation);
        ++nOperation;
    }
}

// --- references

TEST_F(OutputFileTest, ReferencesAreCountedFromZeroAndTheLastReleaseEndsTheObject)
{
    auto* const pFile = new OpenOutputFile(m_pFormat, CQmStringW(L"nowhere"));
    EXPECT_EQ(pFile->AddRef(), 1);
    EXPECT_EQ(pFile->AddRef(), 2);
    EXPECT_EQ(m_pFormat->CountReferences(), 2);
    pFile->Release();
    EXPECT_EQ(m_pFormat->CountReferences(), 2);
    pFile->Release();
    EXPECT_EQ(m_pFormat->CountReferences(), 1);
}

TEST_F(OutputFileTest, BothFormsHoldOneReferenceOnTheFormat)
{
    {
        const OpenOutputFile file(m_pFormat, CQmStringW(L"nowhere"));
        EXPECT_EQ(m_pFormat->CountReferences(), 2);
        const OpenOutputFile fileWithoutPath(m_pFormat);
        EXPECT_EQ(m_pFormat->CountReferences(), 3);
    }
    EXPECT_EQ(m_pFormat->CountReferences(), 1);
}

TEST_F(OutputFileTest, GetFormatGivesTheFormatWithAReference)
{
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(pFile->GetFormat(), m_pFormat);
    EXPECT_EQ(m_pFormat->CountReferences(), 3);
    m_pFormat->Release();
}

TEST_F(OutputFileTest, TheFormatGivesOutAnObjectWithOneReference)
{
    IQmOutputImageFile* pFile = nullptr;
    ASSERT_EQ(m_pFormat->CreateOutputFileForPath(CQmStringW(L"nowhere"), &pFile), QM_OK);
    EXPECT_EQ(pFile->AddRef(), 2);
    pFile->Release();
    pFile->Release();
    ASSERT_EQ(m_pFormat->CreateOutputFile(nullptr, &pFile), QM_OK);
    EXPECT_EQ(pFile->AddRef(), 2);
    pFile->Release();
    pFile->Release();
}

TEST_F(OutputFileTest, EveryObjectMadeIsCountedOnceAndForGood)
{
    const std::uint32_t uiBefore = g_uiInputFileCount;
    {
        const OpenOutputFile file(m_pFormat, CQmStringW(L"nowhere"));
        EXPECT_EQ(g_uiInputFileCount, uiBefore + 1);
        const OpenOutputFile fileWithoutPath(m_pFormat);
        EXPECT_EQ(g_uiInputFileCount, uiBefore + 2);
    }
    EXPECT_EQ(g_uiInputFileCount, uiBefore + 2);
}

TEST_F(OutputFileTest, TheEndGivesTheFormatBackBeforeItClosesTheFile)
{
    OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    m_pFormat->m_funcReleased = [this] { m_vOrder.emplace_back("format released"); };
    m_runtime.m_funcEntered = [this](const std::string& strEntry) { m_vOrder.push_back(strEntry); };
    m_d3d.m_funcCalled = [this](const std::string& strCall) {
        if (strCall.find("released") != std::string::npos) m_vOrder.push_back(strCall);
    };
    pFile.reset();

    ASSERT_FALSE(m_vOrder.empty());
    EXPECT_EQ(m_vOrder.front(), "format released");
    EXPECT_THAT(m_vOrder, testing::Contains("nvEncDestroyEncoder"));
    // Of Direct3D the object's own references go last: surface, Direct3D, device.
    ASSERT_GE(m_vOrder.size(), 4U);
    EXPECT_EQ(
        std::vector(m_vOrder.end() - 4, m_vOrder.end()),
        (std::vector<std::string>{"nvEncDestroyEncoder", "surface released", "Direct3D released", "device released"}));
}

#ifndef _WIN32
// The file object may hold the last reference on the last format object.
TEST_F(OutputFileTest, WhatACloseNeedsStaysStartedUntilItIsDone)
{
    OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    const unsigned uiBefore = mediafoundation::GetStartupCounts().m_uiShutdowns;
    unsigned uiAtTheEndOfTheSession = uiBefore;
    m_runtime.m_funcEntered = [&](const std::string& strEntry) {
        if (strEntry == "nvEncDestroyEncoder")
            uiAtTheEndOfTheSession = mediafoundation::GetStartupCounts().m_uiShutdowns;
    };
    bool bFormatGone = false;
    m_pFormat->m_funcDestroyed = [&bFormatGone] { bFormatGone = true; };
    while (m_pFormat->CountReferences() > 1)
        m_pFormat->Release();
    pFile.reset();
    EXPECT_TRUE(bFormatGone);
    EXPECT_EQ(uiAtTheEndOfTheSession, uiBefore);
    EXPECT_EQ(mediafoundation::GetStartupCounts().m_uiShutdowns, uiBefore + 1);
    RenewFormat();
}
#endif

TEST_F(OutputFileTest, WithoutMemoryThereIsNoObject)
{
    // What an object sets aside for samples from the start doesn't fit in less.
    const OutputPtr pHeld = MakeFile();
    IQmOutputImageFile* pFile = pHeld.get();
    const CShortMemory memory(100'000, 10'000'000);
    EXPECT_EQ(m_pFormat->CreateOutputFileForPath(CQmStringW(L"nowhere"), &pFile), QM_ERR_FAIL);
    EXPECT_EQ(pFile, nullptr);
    EXPECT_GT(memory.GetRefused(), 0U);
}

// A copy of the path that finds no memory is empty, and a file without a path would accept every frame and write none.
TEST_F(OutputFileTest, WithoutMemoryForItsPathThereIsNoObject)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "strings take their memory from another allocator here";
    const std::wstring wszPath = std::filesystem::path(m_target.Path()).wstring();
    unsigned uiRefused = 1;
    unsigned uiFailed = 0;
    for (unsigned uiRequest = 1; uiRefused != 0; ++uiRequest)
    {
        IQmOutputImageFile* pFile = nullptr;
        QmStatus nStatus = QM_OK;
        const std::uint32_t uiBefore = g_uiInputFileCount;
        {
            const CShortMemory memory(uiRequest);
            nStatus = m_pFormat->OpenOutputFileForPath(CQmStringW(wszPath.c_str()), &pFile);
            uiRefused = memory.GetRefused();
        }
        EXPECT_EQ(nStatus, uiRefused == 0 ? QM_OK : QM_ERR_FAIL) << uiRequest;
        EXPECT_EQ(pFile == nullptr, uiRefused != 0) << uiRequest;
        EXPECT_EQ(m_pFormat->CountReferences(), uiRefused == 0 ? 2 : 1) << uiRequest;
        EXPECT_EQ(g_uiInputFileCount, uiBefore + (uiRefused == 0 ? 1 : 0)) << uiRequest;
        if (uiRefused != 0) ++uiFailed;
        if (pFile != nullptr) pFile->Release();
    }
    EXPECT_GE(uiFailed, 4U);  // three copies of the path on the way to the object, and the object
}

// --- what the object begins with

TEST_F(OutputFileTest, EverythingElseIsUnsetAtTheBeginning)
{
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(pFile->m_nFrameCounter, 0U);
    EXPECT_EQ(pFile->m_pReader, nullptr);
    EXPECT_FALSE(pFile->m_bFrameTimeSet);
    EXPECT_FALSE(pFile->IsAmf());
    EXPECT_FALSE(pFile->IsNvenc());
    EXPECT_EQ(pFile->m_times.m_dFrameTime, -1.0);
    EXPECT_THAT(pFile->GetTimes(), IsEmpty());
}

TEST_F(OutputFileTest, RoomForTwoHundredThousandSamplesAndNalsIsSetAside)
{
    const OutputPtr pFile = MakeFile();
    const SSampleLog& log = pFile->m_muxedFile.GetLog();
    EXPECT_GE(log.m_vecSampleSizes.capacity(), 200'000U);
    EXPECT_GE(log.m_vecNalPatches.capacity(), 200'000U);
    EXPECT_TRUE(log.m_vecSampleSizes.empty());
    EXPECT_TRUE(log.m_vecNalPatches.empty());
}

// --- times and indices

TEST_F(OutputFileTest, BothWaysToSetATimeSetTheSame)
{
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(pFile->SetFrameTime(33.5), QM_OK);
    EXPECT_TRUE(pFile->m_bFrameTimeSet);
    EXPECT_EQ(pFile->m_times.m_dFrameTime, 33.5);
    SQmPictureMetadata metadata;
    metadata.m_dTime = 1234.25;
    EXPECT_EQ(pFile->SetPictureMetadata(99, &metadata), QM_OK);  // of whichever picture
    EXPECT_EQ(pFile->m_times.m_dFrameTime, 1234.25);
}

TEST_F(OutputFileTest, MetadataAloneMarksTheTimeAsSet)
{
    const OutputPtr pFile = MakeFile();
    const SQmPictureMetadata metadata;
    EXPECT_EQ(pFile->SetPictureMetadata(0, &metadata), QM_OK);
    EXPECT_TRUE(pFile->m_bFrameTimeSet);
    EXPECT_EQ(pFile->SetPictureMetadata(0, nullptr), QM_ERR_FAIL);
}

TEST_F(OutputFileTest, TheNextFramesIndexMovesOnWhateverBecameOfTheFrame)
{
    RecordingFile file(m_pFormat, CQmStringW(L"nowhere"));
    const int nPixels = 0;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(file.WriteNextFrame(&nPixels), -77);
    EXPECT_THAT(file.m_vCalls, ElementsAre(RecordingFile::SCall{0, &nPixels, nullptr, nullptr},
                                           RecordingFile::SCall{1, &nPixels, nullptr, nullptr},
                                           RecordingFile::SCall{2, &nPixels, nullptr, nullptr}));
}

TEST_F(OutputFileTest, AFrameWithAnIndexOfItsOwnLeavesTheNextOneAlone)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteFrame(41, m_vPixels.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->m_nFrameCounter, 0U);
    EXPECT_EQ(pFile->WriteNextFrame(m_vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->m_nFrameCounter, 1U);
}

TEST_F(OutputFileTest, TheForwardingOperationHandsAllOfItOn)
{
    RecordingFile file(m_pFormat, CQmStringW(L"nowhere"));
    int anPass[2] = {};
    EXPECT_EQ(file.WriteFrameForward(41, &file, &anPass[0], &anPass[1]), -77);
    EXPECT_THAT(file.m_vCalls, ElementsAre(RecordingFile::SCall{41, &file, &anPass[0], &anPass[1]}));
}

TEST_F(OutputFileTest, EveryFrameHasATimeAlsoOneThatFails)
{
    m_d3d.m_hrCreate = E_FAIL;
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {100.0, 133.5, 200.25})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_ERR_FAIL);
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 33.5, 100.25));
}

TEST_F(OutputFileTest, ATimeBeforeTheLastOneIsNoFailure)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {100.0, 200.0, 150.0, 50.0, 250.0})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_OK);
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 100.0, 50.0, 0.0, 150.0));
}

// --- a reader of the file that is being written

TEST_F(OutputFileTest, AReaderIsGivenOutWithOneReference)
{
    const OutputPtr pFile = MakeFile();
    IQmInputImageFile* pReader = nullptr;
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_OK);
    EXPECT_EQ(static_cast<IQmInputImageFile*>(pFile->m_pReader), pReader);
    EXPECT_EQ(m_pFormat->CountReferences(), 3);  // the reader's is one of them
    EXPECT_EQ(pReader->AddRef(), 2);
    pReader->Release();
    pReader->Release();
    EXPECT_EQ(m_pFormat->CountReferences(), 2);
}

TEST_F(OutputFileTest, TheReaderRefusesFrames)
{
    const OutputPtr pFile = MakeFile();
    IQmInputImageFile* pReader = nullptr;
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_OK);
    EXPECT_EQ(pReader->ReadFrame(0, m_vPixels.data(), nullptr, nullptr), QM_ERR_FAIL);
    pReader->Release();
}

TEST_F(OutputFileTest, ASecondReaderTakesTheFirstOnesPlaceWithoutAnyRelease)
{
    const OutputPtr pFile = MakeFile();
    IQmInputImageFile* apReaders[2] = {};
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &apReaders[0]), QM_OK);
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &apReaders[1]), QM_OK);
    EXPECT_NE(apReaders[0], apReaders[1]);
    EXPECT_EQ(static_cast<IQmInputImageFile*>(pFile->m_pReader), apReaders[1]);
    for (IQmInputImageFile* pReader : apReaders)
    {
        EXPECT_EQ(pReader->AddRef(), 2);
        pReader->Release();
        pReader->Release();
    }
    EXPECT_EQ(static_cast<IQmInputImageFile*>(pFile->m_pReader), apReaders[1]);  // nothing clears it
}

TEST_F(OutputFileTest, TheReaderOutlivesTheFileObject)
{
    OutputPtr pFile = MakeFile();
    IQmInputImageFile* pReader = nullptr;
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_OK);
    pFile.reset();
    EXPECT_EQ(m_pFormat->CountReferences(), 2);
    EXPECT_EQ(pReader->AddRef(), 2);
    pReader->Release();
    pReader->Release();
}

TEST_F(OutputFileTest, WithoutMemoryThereIsNoReader)
{
    const OutputPtr pFile = MakeFile();
    IQmInputImageFile* pReader = nullptr;
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_OK);
    pReader->Release();
    pReader = nullptr;
    const CShortMemory memory(sizeof(CQmMP4InputFile), sizeof(CQmMP4InputFile));
    EXPECT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_ERR_FAIL);
    EXPECT_EQ(memory.GetRefused(), 1U);
    EXPECT_EQ(pReader, nullptr);
    EXPECT_EQ(pFile->m_pReader, nullptr);
}

TEST_F(OutputFileTest, WithoutMemoryAReaderThatTheCallerHoldsIsGivenOnceMore)
{
    const OutputPtr pFile = MakeFile();
    IQmInputImageFile* pReader = nullptr;
    ASSERT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_OK);
    IQmInputImageFile* const pHeld = pReader;
    {
        const CShortMemory memory(sizeof(CQmMP4InputFile), sizeof(CQmMP4InputFile));
        EXPECT_EQ(pFile->GetWrittenFileReader(nullptr, &pReader), QM_OK);
    }
    EXPECT_EQ(pReader, pHeld);
    EXPECT_EQ(pFile->m_pReader, nullptr);
    EXPECT_EQ(pHeld->AddRef(), 3);
    for (int i = 0; i < 3; ++i)
        pHeld->Release();
}
