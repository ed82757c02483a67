// The scripted module's output object. The file that it writes is an MP4 file whose `mdat` is a record of what the
// object was given, a line for each call: "codec", "attributes" and, for each frame, "frame" with its time and the
// bytes of all rows. Like the real one it opens the file at the first frame, and finishes it when it is closed.
#include <cstdio>
#include <string>

#include "hostapi/hostplatform.h"
#include "hostapi/iqmimageformat.h"
#include "hostapi/iqmoutputimagefile.h"
#include "scripted.h"
#include "support/box_builder.h"

namespace
{

using namespace test_support;

class ScriptedOutputFile : public IQmOutputImageFile
{
public:
    ScriptedOutputFile(IQmImageFormat* pFormat, CQmStringW strPath, std::uint32_t uiCodec)
        : m_pFormat(pFormat), m_strPath(strPath), m_strRecord("codec " + std::to_string(uiCodec) + "\n")
    {
        ++g_objects.m_nObjects;
        m_pFormat->GetQmClass()->AddRef();
    }
    ~ScriptedOutputFile() override
    {
        m_pFormat->GetQmClass()->Release();
        ScriptedOutputFile::CloseOutput();
        --g_objects.m_nObjects;
    }

    std::int32_t AddRef() override { return ++m_nRefCount; }
    std::int32_t Release() override
    {
        const std::int32_t nCount = --m_nRefCount;
        if (nCount == 0) delete this;
        return nCount;
    }
    QmStatus CloseOutput() override
    {
        if (m_hFile) Finish();
        m_hFile = nullptr;
        return Status("CloseOutput");
    }
    QmStatus SetImageAttributes(const SQmImageAttributes* p) override
    {
        m_pFormat->GetQmClass()->AddRef();  // left with the host
        m_uiFrameBytes = std::size_t{p->m_uiWidthBytes} * p->m_uiHeight;
        char acLine[120];
        std::snprintf(acLine, sizeof acLine, "attributes %u(%u)x%u %ux%u/%u count %u\n", p->m_uiWidth,
                      p->m_uiWidthBytes, p->m_uiHeight, p->m_uiComponents, unsigned{p->m_uiBitsInMemory},
                      unsigned{p->m_uiBitsSignificant}, p->m_uiSequenceCount);
        m_strRecord += acLine;
        return Status("SetImageAttributes");
    }
    QmStatus SetFrameTime(double dTimeMs) override
    {
        m_dTimeMs = dTimeMs;
        return Status("SetFrameTime");
    }
    QmStatus WriteNextFrame(const void* pPixels) override
    {
        const std::uint32_t uiFrame = m_uiFrames++;
        HangAt(uiFrame);
        DiagOutputExW_hlp("scripted.cpp", 34, 0);
        DiagOutputExW(L"frame %u", uiFrame);
        if (Number("frame", static_cast<int>(uiFrame)) == uiFrame && Status("WriteNextFrame") != QM_OK)
        {
            if (Scripted("reason", 1) != 0) DiagOutputExW(L"the encoder\nis \u00E9mpty\n");
            return Status("WriteNextFrame");
        }
        if (uiFrame == 0 && Scripted("makesfile", 1) != 0)
            QM_OpenFile(m_strPath.GetString(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &m_hFile);
        if (uiFrame == 0) Write(Box("mdat", ""));
        RecordFrame(static_cast<const unsigned char*>(pPixels));
        return QM_OK;
    }

    IQmImageFormat* GetFormat() override { return nullptr; }
    QmStatus SetPictureMetadata(std::uint32_t, const SQmPictureMetadata*) override { return QM_ERR_NOTIMPL; }
    QmStatus WriteFrame(std::uint32_t, const void*, void*, void*) override { return QM_ERR_NOTIMPL; }
    QmStatus GetWrittenFileReader(void*, IQmInputImageFile**) override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationA() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationB() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationC() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationD() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationE() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationF() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationG() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationH() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationI() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationJ() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationK() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationL() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationM() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationN() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationO() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationP() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationQ() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationR() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationS() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationT() override { return QM_ERR_NOTIMPL; }

private:
    void RecordFrame(const unsigned char* pPixels)
    {
        char acText[40];
        std::snprintf(acText, sizeof acText, "frame %.17g ", m_dTimeMs);
        m_strRecord += acText;
        for (std::size_t i = 0; i < m_uiFrameBytes; ++i)
        {
            std::snprintf(acText, sizeof acText, "%02x", unsigned{pPixels[i]});
            m_strRecord += acText;
        }
        m_strRecord += '\n';
        Write(m_strRecord);
        m_strRecord.clear();
    }

    void Write(const std::string& bytes)
    {
        if (m_hFile) QM_WriteFile(m_hFile, bytes.data(), bytes.size(), nullptr, nullptr);
    }

    // Above 4 GiB. The gap before the index is a hole, and the size of `mdat` keeps its low 32 bits.
    static constexpr std::uint64_t LARGE = 0x1'4000'0000;

    // Pictures of one byte are enough for an index.
    void Finish()
    {
        std::uint64_t uiSize = 0;
        QM_GetFileSize(m_hFile, &uiSize);
        if (Scripted("large", 0) != 0) uiSize = LARGE;
        QM_SeekFile(m_hFile, static_cast<std::int64_t>(uiSize), QM_SEEK_BEGIN);
        if (Scripted("index", 1) != 0)
        {
            const std::string sizes = Word(0) + Word(1) + Word(Number("listed", static_cast<int>(m_uiFrames)));
            Write(Movie(TrackOfSizes(Box("stsz", sizes))));
        }
        QM_SeekFile(m_hFile, 0, QM_SEEK_BEGIN);
        Write(Word(static_cast<std::uint32_t>(uiSize)));
        QM_CloseFile(m_hFile);
    }

    std::int32_t m_nRefCount = 0;
    IQmImageFormat* m_pFormat;
    CQmStringW m_strPath;
    QmFileHandle m_hFile = nullptr;
    std::string m_strRecord;  // not in the file yet
    std::size_t m_uiFrameBytes = 0;
    double m_dTimeMs = -1;
    std::uint32_t m_uiFrames = 0;
};

}  // namespace

IQmOutputImageFile* MakeScriptedOutput(IQmImageFormat* pFormat, CQmStringW strPath, std::uint32_t uiCodec)
{
    auto* const pFile = new ScriptedOutputFile(pFormat, strPath, uiCodec);
    pFile->AddRef();
    return pFile;
}
