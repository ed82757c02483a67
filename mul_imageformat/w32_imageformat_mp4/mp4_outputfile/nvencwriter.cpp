#include "mp4_outputfile/nvencwriter.h"

#include <new>

#include "common/saferelease.h"
#include "hostapi/hostplatform.h"
#include "mp4_outputfile/hostpixels.h"

namespace
{

constexpr std::size_t g_uiExpectedPackets = 100000;  // of one call; memory for them is taken at every frame

constexpr std::uint32_t g_uiExtraOutputDelay = 3;
constexpr std::uint32_t g_uiPresetsAskedFor = 100;
const GUID g_guidPreset = NV_ENC_PRESET_LOW_LATENCY_HQ_GUID;

// Quality is constant, no bit rate is aimed at.
constexpr NV_ENC_QP g_constantQp{24, 28, 21};  // P, B, I

// The line that a text of the diagnostics gives as its place. The numbers are part of the text's
// interface and stay as they are while the code around them moves.
enum EDiagnosticsLine : int
{
    LINE_END_ENCODE = 241,
    LINE_ENCODE_FRAME = 965,
    LINE_FRAME_TIME = 978,
    LINE_OPEN_SESSION = 2409,
    LINE_PARAMETERS = 2433,
    LINE_CREATE_ENCODER = 2440
};

void ReportPlace(EDiagnosticsLine eLine)
{
    DiagOutputExW_hlp("mul_imageformat/w32_imageformat_mp4/mp4_outputfile", eLine, 0);
}

// The text is the format itself: the host decides what a % in it does, and a nul ends it.
void Report(EDiagnosticsLine eLine, const std::string& strText)
{
    ReportPlace(eLine);
    DiagOutputExW(CQmStringW(strText.c_str(), 0));
}

}  // namespace

CNvencWriter::~CNvencWriter()
{
    delete m_pEncoder;
    SafeRelease(&m_pD3DSurface);
    SafeRelease(&m_pD3D);
    SafeRelease(&m_pD3DDevice);
}

// --- set-up ---

HRESULT CNvencWriter::Open(const SEncoderSettings& settings)
{
    m_uiWidth = settings.m_uiWidth;
    m_uiHeight = settings.m_uiHeight;
    return InitNvencEncoder(settings.m_strFileName);
}

HRESULT CNvencWriter::InitNvencEncoder(const CQmStringW& strFileName)
{
    HRESULT hr = MakeDevice();
    if (hr == S_OK) hr = OpenSession();
    if (hr == S_OK) hr = CreateEncoder();
    if (hr == S_OK) m_file.Open(strFileName, EPacketLayout::Nvenc, m_uiWidth, m_uiHeight);
    return hr;
}

// Takes the first adapter, whatever it is; one that can't encode fails when the session is opened.
HRESULT CNvencWriter::MakeDevice()
{
    HRESULT hr = Direct3DCreate9Ex(D3D_SDK_VERSION, &m_pD3D);
    if (hr != S_OK) return hr;

    D3DPRESENT_PARAMETERS present{};
    present.BackBufferWidth = m_uiWidth;
    present.BackBufferHeight = m_uiHeight;
    present.BackBufferFormat = D3DFMT_A8R8G8B8;
    present.SwapEffect = D3DSWAPEFFECT_DISCARD;
    present.Windowed = TRUE;
    present.PresentationInterval = D3DPRESENT_INTERVAL_IMMEDIATE;
    hr = m_pD3D->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, nullptr, D3DCREATE_HARDWARE_VERTEXPROCESSING,
                              &present, &m_pD3DDevice);
    if (hr != S_OK) return hr;

    D3DADAPTER_IDENTIFIER9 identifier{};
    m_pD3D->GetAdapterIdentifier(D3DADAPTER_DEFAULT, 0, &identifier);  // neither status nor answer is used

    return m_pD3DDevice->CreateOffscreenPlainSurface(m_uiWidth, m_uiHeight, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT,
                                                     &m_pD3DSurface, nullptr);
}

HRESULT CNvencWriter::OpenSession()
{
    try
    {
        m_pEncoder = new NvEncoderD3D9(m_pD3DDevice, m_uiWidth, m_uiHeight, NV_ENC_BUFFER_FORMAT_ARGB, nullptr,
                                       g_uiExtraOutputDelay, false);
        return S_OK;
    }
    catch (const NVENCException& exception)
    {
        Report(LINE_OPEN_SESSION, exception.GetErrorString());
        return S_FALSE;
    }
}

HRESULT CNvencWriter::CreateEncoder()
{
    NV_ENC_CONFIG config{};
    config.version = NV_ENC_CONFIG_VER;
    NV_ENC_INITIALIZE_PARAMS params{};
    params.version = NV_ENC_INITIALIZE_PARAMS_VER;
    params.encodeConfig = &config;
    params.presetGUID = g_guidPreset;
    m_pEncoder->CreateDefaultEncoderParams(&params, m_encoderInitParam.GetEncodeGUID(), g_guidPreset);

    // Asked as a matter of form; neither answer is used.
    const NV_ENCODE_API_FUNCTION_LIST& nvenc = m_pEncoder->GetFunctionTable();
    std::uint32_t uiPresets = 0;
    GUID aguidPresets[g_uiPresetsAskedFor] = {};
    nvenc.nvEncGetEncodePresetCount(m_pEncoder->GetSession(), NV_ENC_CODEC_H264_GUID, &uiPresets);
    nvenc.nvEncGetEncodePresetGUIDs(m_pEncoder->GetSession(), NV_ENC_CODEC_H264_GUID, aguidPresets, g_uiPresetsAskedFor,
                                    &uiPresets);

    m_encoderInitParam.SetInitParams(&params, NV_ENC_BUFFER_FORMAT_ARGB);
    if (params.encodeConfig != nullptr) params.encodeConfig->rcParams.constQP = g_constantQp;
    Report(LINE_PARAMETERS, m_encoderInitParam.FullParamToString(&params));

    try
    {
        m_pEncoder->CreateEncoder(&params);
        return S_OK;
    }
    catch (const NVENCException& exception)
    {
        Report(LINE_CREATE_ENCODER, exception.GetErrorString());
        return S_FALSE;
    }
}

// --- frames ---

EPictureFate CNvencWriter::WriteFrame(std::uint32_t /*uiIndex*/, const SHostPicture& picture,
                                      const SFrameTimes& /*times*/)
{
    const double dBegin = QM_GetTimeCounter();
    if (m_pEncoder == nullptr) return EPictureFate::Lost;

    std::vector<std::vector<std::uint8_t>> vPackets;
    vPackets.reserve(g_uiExpectedPackets);
    try
    {
        if (!FillNextInputFrame(picture)) return EPictureFate::Lost;
        m_pEncoder->EncodeFrame(vPackets, nullptr);
    }
    catch (const NVENCException& exception)
    {
        Report(LINE_ENCODE_FRAME, exception.GetErrorString());
        return EPictureFate::Refused;
    }
    if (!LogPackets(vPackets)) return EPictureFate::Lost;

    ReportPlace(LINE_FRAME_TIME);
    DiagOutputExW(L"NVENC %.2lf ms", QM_GetTimeCounter() - dBegin);
    return EPictureFate::Taken;
}

// Widens the picture straight into the encoder's surface.
bool CNvencWriter::FillNextInputFrame(const SHostPicture& picture)
{
    auto* const pSurface = static_cast<IDirect3DSurface9*>(m_pEncoder->GetNextInputFrame()->inputPtr);
    return FillSurface(*pSurface, picture, m_uiWidth, m_uiHeight);
}

// False when there was no memory for one of them.
bool CNvencWriter::LogPackets(const std::vector<std::vector<std::uint8_t>>& vPackets)
{
    for (const std::vector<std::uint8_t>& packet : vPackets)
    {
        if (!m_file.LogPacket(packet)) return false;
    }
    return true;
}

// --- end ---

void CNvencWriter::Close(const SFrameTimes& times)
{
    if (m_pEncoder != nullptr) DrainAndEndSession();
    if (!m_file.IsOpen()) return;
    m_file.WriteNalLengths();
    m_file.Finish(times.m_vecFrameTimes);
}

// The encoder's object stays allocated, with its hold on the runtime: ending the session is all that the file needs.
void CNvencWriter::DrainAndEndSession()
{
    std::vector<std::vector<std::uint8_t>> vPackets;
    vPackets.reserve(g_uiExpectedPackets);
    try
    {
        EndEncode(vPackets);
        LogPackets(vPackets);
    }
    catch (const std::bad_alloc&)
    {
        m_file.Abandon();
    }
    m_pEncoder->DestroyEncoder();
    NvEncoderD3D9::LeaveAllocated(m_pEncoder);
    m_pEncoder = nullptr;
}

void CNvencWriter::EndEncode(std::vector<std::vector<std::uint8_t>>& vPackets)
try
{
    m_pEncoder->EndEncode(vPackets);
}
catch (const NVENCException& exception)
{
    Report(LINE_END_ENCODE, exception.GetErrorString());  // what came before it is still worth a file
}
