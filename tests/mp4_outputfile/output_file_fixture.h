// An output object with a real format object and a real file. What it writes through is the fixtures' that derive from
// this one.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mp4_outputfile/mp4outputfile.h"
#include "mp4filesimpl/imageformatmp4.h"
#include "mp4filesimpl/mp4inputfile.h"
#include "muxer/muxing.h"
#include "support/muxed_file.h"
#include "support/picture_attributes.h"

// A format object whose answers about codecs can be changed, and that records what it is asked.
class CScriptedFormat : public CQmImageFormatMP4
{
public:
    CScriptedFormat() : CQmClass(true) {}
    ~CScriptedFormat() override
    {
        if (m_funcDestroyed) m_funcDestroyed();
    }

    std::int32_t Release() override;
    QmStatus GetActiveCodec(std::uint32_t* puiIndex) override;
    QmStatus GetCodecInfo(std::uint32_t uiIndex, SQmCodecInfo* pInfo) override;

    // Makes the row with that code the active one.
    void Choose(const std::wstring& wszCode);
    std::int32_t CountReferences();

    const wchar_t* m_pwszCode = nullptr;  // the code of every row, if not null
    std::vector<std::string> m_vCalls;
    std::vector<std::uint32_t> m_vRowsAsked;
    std::function<void()> m_funcReleased;
    std::function<void()> m_funcDestroyed;
};

// An output object with its insides open.
class OpenOutputFile : public CQmMP4OutputFile
{
public:
    explicit OpenOutputFile(IQmImageFormat* pFormat, const CQmStringW& strFileName = CQmStringW())
        : CQmMP4OutputFile(pFormat, strFileName, CQmMP4InputFile::MakeForWrittenFile)
    {}

    using CQmMP4OutputFile::IsAmf;
    using CQmMP4OutputFile::IsNvenc;
    using CQmMP4OutputFile::m_attrEncoded;
    using CQmMP4OutputFile::m_attrSource;
    using CQmMP4OutputFile::m_bFrameTimeSet;
    using CQmMP4OutputFile::m_muxedFile;
    using CQmMP4OutputFile::m_nFrameCounter;
    using CQmMP4OutputFile::m_pEncoder;
    using CQmMP4OutputFile::m_pReader;
    using CQmMP4OutputFile::m_times;

    std::vector<double> GetTimes() const { return ToVector(m_times.m_vecFrameTimes); }
};

struct SReleaser
{
    void operator()(OpenOutputFile* pFile) const { pFile->Release(); }
};
using OutputPtr = std::unique_ptr<OpenOutputFile, SReleaser>;

class OutputObjectTest : public testing::Test
{
protected:
    // The fixture makes the format object with RenewFormat when its runtime is there.
    OutputObjectTest() = default;

    // Every reference on the format object but the lost ones was released; gives it up.
    void TearDown() override;

    // A new format object with that active codec. A former one has been given up.
    void RenewFormat(const std::wstring& wszCode);

    // For m_target, or with a path of the test's own, with one reference.
    OutputPtr MakeFile();
    OutputPtr MakeFile(const std::wstring& wszPath);
    // With 24-bit pictures of that size announced.
    OutputPtr MakeFile(std::uint32_t uiWidth, std::uint32_t uiHeight);

    // SetImageAttributes, whose reference on the format object is counted as lost.
    QmStatus Announce(OpenOutputFile& file, const SQmImageAttributes* pAttributes);
    // A frame of m_vPixels.
    QmStatus WriteAt(OpenOutputFile& file, double dTimeMs);
    // Frames at 0, 10, 20, ... ms, all of which succeed.
    void WriteFrames(OpenOutputFile& file, int nCount);

    TemporaryFile m_target;
    CScriptedFormat* m_pFormat = nullptr;  // one reference
    int m_nLostReferences = 0;             // on m_pFormat
    Bytes m_vPixels = Bytes(64 * 3 * 48, 0x80);
};
