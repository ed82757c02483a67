// The software AMF runtime next to the ffmpeg program with the same encoder and settings: 24-bit pictures from a file,
// converted, encoded and written as a byte stream.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include <windows.h>

#include <d3d9.h>

#include "bench/measure.h"
#include "runtimes/amf/amf_script.h"
#include "support/ffmpeg.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

constexpr amf_int32 g_nWidth = 1920;
constexpr amf_int32 g_nHeight = 1080;
constexpr std::size_t g_uiPictureSize = std::size_t{3} * g_nWidth * g_nHeight;
constexpr int g_nPictures = 150;
constexpr int g_nRounds = 3;

void Check(bool bOk, const char* pszWhat)
{
    if (!bOk) throw std::runtime_error(pszWhat);
}

void Check(AMF_RESULT eResult, const char* pszWhat)
{
    Check(eResult == AMF_OK, pszWhat);
}

// Stays loaded as long as the process lives.
struct Runtime
{
    Runtime()
    {
        const HMODULE hRuntime = LoadLibraryW(AMF_DLL_NAME);
        Check(hRuntime != nullptr, "no AMF runtime");
        const auto find = [&](const char* pszName) {
            return reinterpret_cast<void*>(GetProcAddress(hRuntime, pszName));
        };
        Check(reinterpret_cast<AMFInit_Fn>(find(AMF_INIT_FUNCTION_NAME))(AMF_FULL_VERSION, &pFactory), "no factory");
        pScript = reinterpret_cast<PAMFRUNTIMEGETSCRIPT>(find("AmfRuntimeGetScript"))();
    }

    AMFFactory* pFactory = nullptr;
    const AmfRuntimeScript* pScript = nullptr;
};

AMFVariantStruct Number(std::int64_t nValue)
{
    AMFVariantStruct value{};
    value.type = AMF_VARIANT_INT64;
    value.int64Value = nValue;
    return value;
}

void PaintSurface(AMFSurface& surface, const std::uint8_t* pPicture)
{
    auto* const pNative = static_cast<IDirect3DSurface9*>(surface.GetPlaneAt(0)->GetNative());
    D3DLOCKED_RECT locked{};
    Check(SUCCEEDED(pNative->LockRect(&locked, nullptr, 0)), "a surface isn't locked");
    for (amf_int32 y = 0; y < g_nHeight; ++y)
    {
        auto* pTo = static_cast<std::uint8_t*>(locked.pBits) + std::ptrdiff_t{y} * locked.Pitch;
        for (amf_int32 x = 0; x < g_nWidth; ++x, pTo += 4, pPicture += 3)
        {
            std::memcpy(pTo, pPicture, 3);
            pTo[3] = 255;
        }
    }
    pNative->UnlockRect();
}

// The picture as the encoder's surface: through the converter and a copy, as clients of both components do.
AMFSurface* Upload(AMFContext& context, AMFComponent& converter, const std::uint8_t* pPicture)
{
    AMFSurface* pSource = nullptr;
    AMFSurface* pTarget = nullptr;
    Check(converter.Init(AMF_SURFACE_BGRA, g_nWidth, g_nHeight), "the converter isn't initialised");
    Check(context.AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_NV12, g_nWidth, g_nHeight, &pTarget), "no surface");
    Check(context.AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, g_nWidth, g_nHeight, &pSource), "no surface");
    PaintSurface(*pSource, pPicture);
    Check(converter.SubmitInput(pSource), "the converter takes no picture");
    pSource->Release();
    Check(converter.Drain(), "the converter isn't drained");
    AMFData* pData = nullptr;
    Check(converter.QueryOutput(&pData), "the converter gives no picture");
    void* pConverted = nullptr;
    Check(pData->QueryInterface(AMFSurface::IID(), &pConverted), "the converter gives no surface");
    Check(static_cast<AMFSurface*>(pConverted)->CopySurfaceRegion(pTarget, 0, 0, 0, 0, g_nWidth, g_nHeight), "no copy");
    static_cast<AMFSurface*>(pConverted)->Release();
    pData->Release();
    return pTarget;
}

void WriteBuffers(AMFComponent& encoder, const std::filesystem::path& path)
{
    std::ofstream stream(path, std::ios::binary);
    for (;;)
    {
        AMFData* pData = nullptr;
        if (encoder.QueryOutput(&pData) == AMF_EOF) return;
        if (!pData)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            continue;
        }
        void* p = nullptr;
        Check(pData->QueryInterface(AMFBuffer::IID(), &p), "no buffer");
        auto* const pBuffer = static_cast<AMFBuffer*>(p);
        stream.write(static_cast<const char*>(pBuffer->GetNative()), static_cast<std::streamsize>(pBuffer->GetSize()));
        pBuffer->Release();
        pData->Release();
    }
}

void Encode(const Runtime& runtime, const std::filesystem::path& frames, const std::filesystem::path& path)
{
    AMFContext* pContext = nullptr;
    AMFComponent* pConverter = nullptr;
    AMFComponent* pEncoder = nullptr;
    Check(runtime.pFactory->CreateContext(&pContext), "no context");
    Check(pContext->InitDX9(nullptr), "no device");
    Check(runtime.pFactory->CreateComponent(pContext, AMFVideoConverter, &pConverter), "no converter");
    Check(runtime.pFactory->CreateComponent(pContext, AMFVideoEncoderVCE_AVC, &pEncoder), "no encoder");
    using namespace AmfEncoderProperty;
    Check(pEncoder->SetProperty(QualityPreset, Number(AMF_VIDEO_ENCODER_QUALITY_PRESET_SPEED)), "no property");
    Check(pEncoder->SetProperty(TargetBitrate, Number(20000000)), "no property");
    Check(pEncoder->Init(AMF_SURFACE_NV12, g_nWidth, g_nHeight), "the encoder isn't initialised");

    std::thread writer([&] { WriteBuffers(*pEncoder, path); });
    std::ifstream stream(frames, std::ios::binary);
    std::vector<char> vPicture(g_uiPictureSize);
    for (int n = 0; n < g_nPictures; ++n)
    {
        Check(bool(stream.read(vPicture.data(), static_cast<std::streamsize>(vPicture.size()))), "no more pictures");
        AMFSurface* const pSurface =
            Upload(*pContext, *pConverter, reinterpret_cast<const std::uint8_t*>(vPicture.data()));
        AMF_RESULT eResult = pEncoder->SubmitInput(pSurface);
        for (; eResult == AMF_INPUT_FULL; eResult = pEncoder->SubmitInput(pSurface))
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        Check(eResult, "the encoder takes no picture");
        pSurface->Release();
    }
    pEncoder->Drain();
    writer.join();
    for (AMFComponent* pComponent : {pEncoder, pConverter})
    {
        pComponent->Terminate();
        pComponent->Release();
    }
    pContext->Terminate();
    pContext->Release();
}

}  // namespace

int main()
try
{
    const TemporaryFolder folder;
    const auto frames = folder / "frames.bgr";
    const auto ours = folder / "ours.h264";
    const auto peers = folder / "peers.h264";
    RunFfmpeg("-f lavfi -i testsrc2=size=1920x1080:rate=30 -vf noise=alls=6:allf=t -frames:v " +
              std::to_string(g_nPictures) + " -pix_fmt bgr24 -f rawvideo " + Quoted(frames));
    const Runtime runtime;
    Encode(runtime, frames, ours);
    RuntimeX264Settings settings{};
    runtime.pScript->GetX264Settings(&settings);
    // The key pictures are the runtime's own choice, so the peer is asked for the same.
    const std::string strArguments = std::string("-f rawvideo -pix_fmt bgr24 -video_size 1920x1080 -framerate 30 -i ") +
                                     Quoted(frames) + " -c:v libx264 -preset " + settings.szPreset + " -profile:v " +
                                     settings.szProfile + " -forced-idr 1 -force_key_frames expr:not(mod(n,60))" +
                                     " -x264-params '" + settings.szOptions + "' -pix_fmt yuv420p ";
    const auto encode = [&] { Encode(runtime, frames, ours); };
    const auto encodeWithFfmpeg = [&] { RunFfmpeg(strArguments + Quoted(peers)); };
    bench::Compare(
        "converting and encoding 150 of 1920 x 1080", g_nRounds, [&] { return bench::SecondsOf(encode); },
        "ffmpeg, libx264 set the same", [&] { return bench::SecondsOf(encodeWithFfmpeg); });
    bench::Compare(
        "the same, processor time", g_nRounds, [&] { return bench::CpuSecondsOf(encode); },
        "ffmpeg, libx264 set the same", [&] { return bench::CpuSecondsOf(encodeWithFfmpeg); });
    std::printf("    streams of %.1f and %.1f MB\n", static_cast<double>(std::filesystem::file_size(ours)) / 1e6,
                static_cast<double>(std::filesystem::file_size(peers)) / 1e6);
    return EXIT_SUCCESS;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "bench_amf_runtime: %s\n", error.what());
    return EXIT_FAILURE;
}
