// An input object without memory: every request finds none once, and every call ends in a status.
#include <atomic>
#include <functional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/modulestate.h"
#include "sample_video.h"
#include "scripted_file.h"
#include "support/short_memory.h"

namespace
{

using testing::AnyOf;

class MissingMemory : public testing::Test
{
protected:
    static constexpr std::uint32_t WIDTH = 16;
    static constexpr std::uint32_t HEIGHT = 16;

    // How far an object came. What wasn't called is QM_OK.
    struct SStatuses
    {
        QmStatus m_nCreated = QM_OK;
        QmStatus m_nOpened = QM_OK;
        QmStatus m_nRead = QM_OK;
    };

    // Makes an object, reads its second frame and destroys it.
    SStatuses UseFile(const CQmStringW& strPath)
    {
        SStatuses statuses;
        IQmInputImageFile* pFile = nullptr;
        statuses.m_nCreated = m_format.Get()->CreateInputFileForPath(strPath, &pFile);
        if (pFile == nullptr) return statuses;
        SQmImageAttributes attributes;
        statuses.m_nOpened = pFile->GetImageAttributes(&attributes);
        statuses.m_nRead = pFile->ReadFrame(1, m_vPixels.data(), nullptr, nullptr);
        pFile->Release();
        return statuses;
    }

    CFormatReference m_format;
    std::vector<unsigned char> m_vPixels = std::vector<unsigned char>(WIDTH * HEIGHT * 3);
};

// The session's thread takes memory too, so the number of a request says little about which one it is.
TEST_F(MissingMemory, WhicheverRequestIsRefusedEveryCallEndsInAStatusAndTheNextFileIsRead)
{
    const auto path = MakeVideo("tiny.mp4", TestPicture(3, "16x16") + "-profile:v high");
    const CQmStringW strPath(path.wstring().c_str());
    unsigned uiRefused = 1;
    unsigned uiFailed = 0;
    for (unsigned uiRequest = 1; uiRefused != 0; ++uiRequest)
    {
        SStatuses statuses;
        {
            const CShortMemory memory(uiRequest, CShortMemory::ERequests::New);
            statuses = UseFile(strPath);
            uiRefused = memory.GetRefused();
        }
        EXPECT_THAT(statuses.m_nCreated, AnyOf(QM_OK, QM_ERR_FAIL)) << uiRequest;
        EXPECT_THAT(statuses.m_nOpened, AnyOf(QM_OK, QM_ERR_FAIL)) << uiRequest;
        EXPECT_THAT(statuses.m_nRead, AnyOf(QM_OK, QM_ERR_FAIL)) << uiRequest;
        if (statuses.m_nCreated != QM_OK || statuses.m_nOpened != QM_OK || statuses.m_nRead != QM_OK) ++uiFailed;
    }
    EXPECT_GT(uiFailed, 50U);
    const SStatuses statuses = UseFile(strPath);
    EXPECT_EQ(statuses.m_nCreated, QM_OK);
    EXPECT_EQ(statuses.m_nOpened, QM_OK);
    EXPECT_EQ(statuses.m_nRead, QM_OK);
}

// Each form, and the reader of a file that is being written: null, or an object.
TEST_F(MissingMemory, WithoutMemoryThereIsNoInputObject)
{
    const CQmStringW strPath(L"nowhere");
    CQmByteArray data;
    const std::vector<std::function<QmStatus(IQmInputImageFile**)>> vForms = {
        [&](IQmInputImageFile** ppFile) { return m_format.Get()->CreateInputFileForPath(strPath, ppFile); },
        [&](IQmInputImageFile** ppFile) { return m_format.Get()->CreateInputFileFromByteArray(&data, ppFile); },
        [&](IQmInputImageFile** ppFile) { return m_format.Get()->CreateInputFileFromMemory("", 0, ppFile); },
        [&](IQmInputImageFile** ppFile) {
            *ppFile = CQmMP4InputFile::MakeForWrittenFile(m_format.Get(), strPath, nullptr);
            if (*ppFile != nullptr) (*ppFile)->AddRef();
            return *ppFile != nullptr ? QM_OK : QM_ERR_FAIL;
        },
    };
    for (std::size_t uiForm = 0; uiForm < vForms.size(); ++uiForm)
    {
        const std::uint32_t uiBefore = g_uiInputFileCount;
        unsigned uiRefused = 1;
        unsigned uiFailed = 0;
        unsigned uiMade = 0;
        for (unsigned uiRequest = 1; uiRefused != 0; ++uiRequest)
        {
            CQmMP4InputFile other(m_format.Get(), &data);
            IQmInputImageFile* pFile = &other;
            QmStatus nStatus = QM_OK;
            {
                const CShortMemory memory(uiRequest, CShortMemory::ERequests::New);
                nStatus = vForms[uiForm](&pFile);
                uiRefused = memory.GetRefused();
            }
            EXPECT_NE(pFile, &other);
            EXPECT_EQ(nStatus, pFile != nullptr ? QM_OK : QM_ERR_FAIL) << uiForm << ", " << uiRequest;
            if (pFile == nullptr)
            {
                ++uiFailed;
                continue;
            }
            ++uiMade;
            EXPECT_EQ(pFile->Release(), 0);
        }
        EXPECT_GT(uiFailed, 0U) << uiForm;
        // Every object that was made counts once, and each of the others as well.
        EXPECT_EQ(g_uiInputFileCount - uiBefore, uiMade + uiMade + uiFailed) << uiForm;
    }
}

// --- an open file, on a scripted session ---

class MissingMemoryOfAnOpenFile : public testing::Test
{
protected:
    static SScript Script()
    {
        SScript script;
        script.m_vTimesMs = EvenTimes(300, 40);
        script.m_uiWidth = 64;
        script.m_uiHeight = 48;
        return script;
    }

    int Read(CScriptedFile& file, std::uint32_t uiIndex)
    {
        const QmStatus nStatus = file.ReadFrame(uiIndex, m_vPixels.data(), nullptr, nullptr);
        return nStatus != QM_OK ? nStatus : NumberInPicture(m_vPixels.data());
    }

    // Requests of this size are for the pixels of frames, and for nothing else.
    static constexpr std::size_t LEAST_PIXELS = 64 * 48 * 3 + 1;
    static constexpr std::size_t MOST_PIXELS = 64 * 48 * 3 + 1000;

    CFormatReference m_format;
    std::vector<unsigned char> m_vPixels = std::vector<unsigned char>(64 * 48 * 3, 0xFF);
};

TEST_F(MissingMemoryOfAnOpenFile, AFrameIsRefusedWhileThereIsNoneForItsPixelsAndReadLater)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "the pixels are a library's";
    // While there is no memory, the session goes on after a picture only when it is called: each play must be paused.
    std::atomic<bool> bShort{true};
    SScript script = Script();
    script.m_fnHold = [&bShort](std::size_t) { return bShort.load(); };
    CScriptedFile file(m_format.Get(), script);
    {
        const CShortMemory memory(LEAST_PIXELS, MOST_PIXELS);
        EXPECT_EQ(Read(file, 100), QM_ERR_FAIL);
        EXPECT_EQ(Read(file, 0), QM_ERR_FAIL);
        EXPECT_GT(memory.GetRefused(), 0U);
        EXPECT_GT(file.Session().CountCalls("Pause"), 0);
    }
    bShort = false;
    EXPECT_EQ(Read(file, 0), 0);
    EXPECT_EQ(Read(file, 100), 100);
}

TEST_F(MissingMemoryOfAnOpenFile, WithoutAnyForTheFramesAheadTheSessionIsNotStartedForEver)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "the pixels are a library's";
    CScriptedFile file(m_format.Get(), Script());
    EXPECT_EQ(Read(file, 0), 0);
    file.WaitForRest();
    const CShortMemory memory(LEAST_PIXELS, MOST_PIXELS);
    EXPECT_EQ(Read(file, 1), 1);  // near the tail: more is to be played
    Sleep(200);
    const int nStarts = file.Session().CountStarts();
    Sleep(100);
    EXPECT_EQ(file.Session().CountStarts(), nStarts);
}

TEST_F(MissingMemoryOfAnOpenFile, APreviewAndTheBlockOfTimesEndInAStatus)
{
    CScriptedFile file(m_format.Get(), Script());
    EXPECT_EQ(Read(file, 0), 0);
    file.WaitForRest();
    CQmByteArray data;
    {
        const CShortMemory memory(1, CShortMemory::ERequests::New);
        std::uint32_t uiWidth = 64;
        std::uint32_t uiHeight = 48;
        EXPECT_EQ(file.GetPreviewBitmap(&uiWidth, &uiHeight, m_vPixels.data(), nullptr, false, nullptr, nullptr),
                  QM_OK);
    }
    {
        const CShortMemory memory(1, CShortMemory::ERequests::New);
        EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_EQ(data.GetSize(), 0U);
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    EXPECT_EQ(data.GetSize(), 300U * 8);
}

}  // namespace
