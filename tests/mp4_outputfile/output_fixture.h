// An output object over a scripted encoder runtime and a scripted Direct3D, with a real format object and a real file.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "fake_runtime_loader.h"
#include "mp4_outputfile/mp4outputfile.h"
#include "mp4_outputfile/nvencwriter.h"
#include "mp4filesimpl/imageformatmp4.h"
#include "mp4filesimpl/mp4inputfile.h"
#include "muxer/muxing.h"
#include "scripted_direct3d.h"
#include "support/diagnostics_capture.h"
#include "support/muxed_file.h"

// The lines of the source that the diagnostics name.
inline constexpr int g_nLineEndEncode = 241;
inline constexpr int g_nLineEncodeFrame = 965;
inline constexpr int g_nLineFrameTime = 978;
inline constexpr int g_nLineOpenSession = 2409;
inline constexpr int g_nLineParameters = 2433;
inline constexpr int g_nLineCreateEncoder = 2440;

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

struct SFileOfAWriter
{
    CMp4FileWriter m_muxedFile;
};

// An NVENC back end without an output object: its insides open, with a file and the settings of a 64 x 48 picture.
class OpenNvencWriter : public SFileOfAWriter, public CNvencWriter
{
public:
    OpenNvencWriter() : CNvencWriter(m_muxedFile) {}

    HRESULT OpenAt(const CQmStringW& strPath) { return Open({strPath, 64, 48, 64, 48, 1, L"NVENC1"}); }

    using CNvencWriter::m_pEncoder;
};

struct SReleaser
{
    void operator()(OpenOutputFile* pFile) const { pFile->Release(); }
};
using OutputPtr = std::unique_ptr<OpenOutputFile, SReleaser>;

class OutputTest : public testing::Test
{
protected:
    // The codec is NVENC1, and all of its neighbours work.
    void SetUp() override;
    // The runtime's rules were kept, and every reference but the lost ones was released.
    void TearDown() override;

    // A new format object in the place of one that is gone.
    void RenewFormat();

    // For m_target, or with a path of the test's own, with one reference.
    OutputPtr MakeFile();
    OutputPtr MakeFile(const std::wstring& wszPath);
    // With 24-bit pictures of that size announced.
    OutputPtr MakeFile(std::uint32_t uiWidth, std::uint32_t uiHeight);

    static SQmImageAttributes Attributes(std::uint32_t uiWidth, std::uint32_t uiHeight);
    // SetImageAttributes, whose reference on the format object is counted as lost.
    QmStatus Announce(OpenOutputFile& file, const SQmImageAttributes* pAttributes);
    // A frame of m_vPixels.
    QmStatus WriteAt(OpenOutputFile& file, double dTimeMs);
    // Frames at 0, 10, 20, ... ms, all of which succeed.
    void WriteFrames(OpenOutputFile& file, int nCount);

    // What the scripted encoder makes of a picture: SPS, PPS and an IDR slice for the first, one slice for others.
    static Bytes PacketOf(std::int32_t iPicture);
    // That packet as it lies in a finished file.
    static Bytes SampleOf(std::int32_t iPicture);

    FakeRuntime m_runtime;
    FakeRuntimeLoader m_runtimeFile;
    ScriptedDirect3D m_d3d;
    CDiagnosticsCapture m_diagnostics;
    TemporaryFile m_target;
    CScriptedFormat* m_pFormat = nullptr;  // one reference
    int m_nLostReferences = 0;             // on m_pFormat
    std::vector<std::string> m_vOrder;     // for what the neighbours' hooks see
    Bytes m_vPixels = Bytes(64 * 3 * 48, 0x80);
};
