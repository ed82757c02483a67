// An output object over a scripted encoder runtime and a scripted Direct3D, with a real format object and a real file.
#pragma once

#include <string>
#include <vector>

#include "fake_runtime.h"
#include "fake_runtime_loader.h"
#include "mp4_outputfile/nvencwriter.h"
#include "output_file_fixture.h"
#include "scripted_direct3d.h"
#include "support/diagnostics_capture.h"

// The lines of the source that the diagnostics name.
inline constexpr int g_nLineEndEncode = 241;
inline constexpr int g_nLineEncodeFrame = 965;
inline constexpr int g_nLineFrameTime = 978;
inline constexpr int g_nLineOpenSession = 2409;
inline constexpr int g_nLineParameters = 2433;
inline constexpr int g_nLineCreateEncoder = 2440;

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

class OutputTest : public OutputObjectTest
{
protected:
    // The codec is NVENC1, and all of its neighbours work.
    void SetUp() override;
    // The runtime's rules were kept, and every reference but the lost ones was released.
    void TearDown() override;

    // A new format object in the place of one that is gone.
    void RenewFormat();

    // What the scripted encoder makes of a picture: SPS, PPS and an IDR slice for the first, one slice for others.
    static Bytes PacketOf(std::int32_t iPicture);
    // That packet as it lies in a finished file.
    static Bytes SampleOf(std::int32_t iPicture);

    FakeRuntime m_runtime;
    FakeRuntimeLoader m_runtimeFile;
    ScriptedDirect3D m_d3d;
    CDiagnosticsCapture m_diagnostics;
    std::vector<std::string> m_vOrder;  // for what the neighbours' hooks see
};
