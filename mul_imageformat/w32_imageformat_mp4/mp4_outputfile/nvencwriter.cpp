#include "mp4_outputfile/nvencwriter.h"

#include <new>

#include "hostapi/hostpicbase.h"
#include "hostapi/hostplatform.h"
#include "colour/colourconversion.h"
#include "common/saferelease.h"

namespace
{

// Samples and NALs for which there is room from the start; an hour of video at 50 frames a second grows nothing.
constexpr std::size_t g_uiExpectedSamples = 200000;
constexpr std::size_t g_uiExpectedPackets = 100000;  // of one call; room made anew for every frame

constexpr std::uint32_t g_uiExtraOutputDelay = 3;
constexpr std::uint32_t g_uiPresetsAskedFor = 100;
const GUID g_guidPreset = NV_ENC_PRESET_LOW_LATENCY_HQ_GUID;

// Quality is constant, no bit rate is aimed at.
constexpr NV_ENC_QP g_constantQp{24, 28, 21};  // P, B, I

// The line that a text of the diagnostics names as its place. Hosts sort and filter by these numbers, so they stay as
// they are while the code around them moves.
enum EDiagnosticsLine : int
{
    LINE_END_ENCODE = 241,
    LINE_ENCODE_FRAME = 965,
    LINE_FRAME_TIME = 978,
    LINE_OPEN_SESSION = 2409,
    LINE_PARAMETERS = 2433,
    LINE_CREATE_ENCODER = 2440
};

void TellPlace(EDiagnosticsLine eLine)
{
    DiagOutputExW_hlp("mul_imageformat/w32_imageformat_mp4/mp4_outputfile", eLine, 0);
}

// The text is the format itself: what a % in it does is the host's business, and a nul in it is where it ends.
void Tell(EDiagnosticsLine eLine, const std::string& strText)
{
    TellPlace(eLine);
    DiagOutputExW(CQmStringW(strText.c_str(), 0));
}

}  // namespace

CNvencWriter::CNvencWriter()
{
    m_log.m_vecSampleSizes.reserve(g_uiExpectedSamples);
    m_nals.m_vecNalPatches.reserve(g_uiExpectedSamples);
}

CNvencWriter::~CNvencWriter()
{
    AbandonFile();  // nothing to do after a close
    delete m_pEncoder;
    SafeRelease(&m_pD3DSurface);
    SafeRelease(&m_pD3D);
    SafeRelease(&m_pD3DDevice);
}

// --- set-up ---

HRESULT CNvencWriter::InitNvencEncoder(std::uint32_t uiWidth, std::uint32_t uiHeight, const CQmStringW& strFileName)
{
    HRESULT hr = MakeDevice(uiWidth, uiHeight);
    if (hr == S_OK) hr = OpenSession(uiWidth, uiHeight);
    if (hr == S_OK) hr = CreateEncoder();
    if (hr != S_OK) return hr;

    QM_OpenFile(strFileName, QM_FILE_CREATE, QM_SHARE_NONE, -1, &m_log.m_hFile);
    if (m_log.m_hFile != nullptr) WriteMp4Preamble(m_log.m_hFile);
    return S_OK;
}

// Takes the first adapter, whatever it is; one that can't encode fails when the session is opened.
HRESULT CNvencWriter::MakeDevice(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    HRESULT hr = Direct3DCreate9Ex(D3D_SDK_VERSION, &m_pD3D);
    if (hr != S_OK) return hr;

    D3DPRESENT_PARAMETERS present{};
    present.BackBufferWidth = uiWidth;
    present.BackBufferHeight = uiHeight;
    present.BackBufferFormat = D3DFMT_A8R8G8B8;
    present.SwapEffect = D3DSWAPEFFECT_DISCARD;
    present.Windowed = TRUE;
    present.PresentationInterval = D3DPRESENT_INTERVAL_IMMEDIATE;
    hr = m_pD3D->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, nullptr, D3DCREATE_HARDWARE_VERTEXPROCESSING,
                              &present, &m_pD3DDevice);
    if (hr != S_OK) return hr;

    D3DADAPTER_IDENTIFIER9 identifier{};
    m_pD3D->GetAdapterIdentifier(D3DADAPTER_DEFAULT, 0, &identifier);  // neither status nor answer is used

    return m_pD3DDevice->CreateOffscreenPlainSurface(uiWidth, uiHeight, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT,
                                                     &m_pD3DSurface, nullptr);
}

HRESULT CNvencWriter::OpenSession(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    try
    {
        m_pEncoder = new NvEncoderD3D9(m_pD3DDevice, uiWidth, uiHeight, NV_ENC_BUFFER_FORMAT_ARGB, nullptr,
                                       g_uiExtraOutputDelay, false);
        return S_OK;
    }
    catch (const NVENCException& exception)
    {
        Tell(LINE_OPEN_SESSION, exception.GetErrorString());
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
    Tell(LINE_PARAMETERS, m_encoderInitParam.FullParamToString(&params));

    try
    {
        m_pEncoder->CreateEncoder(&params);
        return S_OK;
    }
    catch (const NVENCException& exception)
    {
        Tell(LINE_CREATE_ENCODER, exception.GetErrorString());
        return S_FALSE;
    }
}

// --- frames ---

QmStatus CNvencWriter::WriteFrame(const void* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const double dBegin = QM_GetTimeCounter();
    if (m_pEncoder == nullptr || m_bFileAbandoned) return QM_ERR_FAIL;

    std::vector<std::vector<std::uint8_t>> vPackets;
    vPackets.reserve(g_uiExpectedPackets);
    try
    {
        if (FillNextInputFrame(pPixels, uiWidth, uiHeight) != S_OK) return QM_ERR_FAIL;
        m_pEncoder->EncodeFrame(vPackets, nullptr);
        LogPackets(vPackets);
    }
    catch (const NVENCException& exception)
    {
        Tell(LINE_ENCODE_FRAME, exception.GetErrorString());
        return QM_ERR_FAIL;
    }
    catch (const std::bad_alloc&)
    {
        AbandonFile();
        return QM_ERR_FAIL;
    }

    TellPlace(LINE_FRAME_TIME);
    DiagOutputExW(L"NVENC %.2lf ms", QM_GetTimeCounter() - dBegin);
    return QM_OK;
}

// Widens the picture straight into the encoder's surface.
HRESULT CNvencWriter::FillNextInputFrame(const void* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    auto* const pSurface = static_cast<IDirect3DSurface9*>(m_pEncoder->GetNextInputFrame()->inputPtr);
    const std::uint32_t uiPitch = SQmPicBufAPI_Base::CalcWidthBytes(uiWidth, 8, 3, 4);
    D3DLOCKED_RECT locked{};
    pSurface->LockRect(&locked, nullptr, 0);
    if (locked.pBits == nullptr) return E_FAIL;  // a lock that failed gives no place to write to
    CopyBgrToBgra(locked.pBits, locked.Pitch, pPixels, uiPitch, uiWidth, uiHeight);
    pSurface->UnlockRect();
    return S_OK;
}

void CNvencWriter::LogPackets(const std::vector<std::vector<std::uint8_t>>& vPackets)
{
    for (const std::vector<std::uint8_t>& packet : vPackets)
    {
        LogNvencPacket(m_log, m_nals, packet);
    }
}

// --- end ---

void CNvencWriter::Close(const CGrowingArray<double>& vecFrameTimes, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    if (m_pEncoder != nullptr) FlushEncoder();
    if (m_log.m_hFile == nullptr) return;
    WriteNalLengths(m_log, m_nals);
    FinishMp4File(m_log, vecFrameTimes, uiWidth, uiHeight, g_uiNvencSpsLengthOffset);
}

// The encoder's object is let go without being deleted: ending the session is all that the file needs, and the object
// stays allocated with its hold on the runtime.
void CNvencWriter::FlushEncoder()
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
        AbandonFile();
    }
    m_pEncoder->DestroyEncoder();
    m_pEncoder = nullptr;
}

void CNvencWriter::EndEncode(std::vector<std::vector<std::uint8_t>>& vPackets)
try
{
    m_pEncoder->EndEncode(vPackets);
}
catch (const NVENCException& exception)
{
    Tell(LINE_END_ENCODE, exception.GetErrorString());  // what came before it is still worth a file
}

// A file that lacks a packet in the middle would show every later picture at another one's time. So it ends here, with
// the placeholder that tells it from a finished one.
void CNvencWriter::AbandonFile()
{
    if (m_log.m_hFile != nullptr) QM_CloseFile(m_log.m_hFile);
    m_log.m_hFile = nullptr;
    m_bFileAbandoned = true;
}
