// The place of every operation in its table, which is what a library of another maker is called by. Compiled against
// the platform's headers here and against Windows' in the Windows build: what holds in both is true.
#include <windows.h>

#include <d3d9.h>
#include <dxva2api.h>

#include <gtest/gtest.h>

#include "support/slot_of.h"

using test_support::SlotOf;

namespace
{

// QueryInterface has a typed overload besides.
using QueryInterfaceOperation = HRESULT (STDMETHODCALLTYPE IUnknown::*)(REFIID, void**);

TEST(D3D9Slots, Unknown)
{
    EXPECT_EQ(SlotOf(static_cast<QueryInterfaceOperation>(&IUnknown::QueryInterface)), 0U);
    EXPECT_EQ(SlotOf(&IUnknown::AddRef), 1U);
    EXPECT_EQ(SlotOf(&IUnknown::Release), 2U);
}

TEST(D3D9Slots, Direct3D)
{
    EXPECT_EQ(SlotOf(&IDirect3D9::RegisterSoftwareDevice), 3U);
    EXPECT_EQ(SlotOf(&IDirect3D9::GetAdapterCount), 4U);
    EXPECT_EQ(SlotOf(&IDirect3D9::GetAdapterIdentifier), 5U);
    EXPECT_EQ(SlotOf(&IDirect3D9::GetAdapterModeCount), 6U);
    EXPECT_EQ(SlotOf(&IDirect3D9::EnumAdapterModes), 7U);
    EXPECT_EQ(SlotOf(&IDirect3D9::GetAdapterDisplayMode), 8U);
    EXPECT_EQ(SlotOf(&IDirect3D9::CheckDeviceType), 9U);
    EXPECT_EQ(SlotOf(&IDirect3D9::CheckDeviceFormat), 10U);
    EXPECT_EQ(SlotOf(&IDirect3D9::CheckDeviceMultiSampleType), 11U);
    EXPECT_EQ(SlotOf(&IDirect3D9::CheckDepthStencilMatch), 12U);
    EXPECT_EQ(SlotOf(&IDirect3D9::CheckDeviceFormatConversion), 13U);
    EXPECT_EQ(SlotOf(&IDirect3D9::GetDeviceCaps), 14U);
    EXPECT_EQ(SlotOf(&IDirect3D9::GetAdapterMonitor), 15U);
    EXPECT_EQ(SlotOf(&IDirect3D9::CreateDevice), 16U);
}

TEST(D3D9Slots, Direct3DEx)
{
    EXPECT_EQ(SlotOf(&IDirect3D9Ex::GetAdapterModeCountEx), 17U);
    EXPECT_EQ(SlotOf(&IDirect3D9Ex::EnumAdapterModesEx), 18U);
    EXPECT_EQ(SlotOf(&IDirect3D9Ex::GetAdapterDisplayModeEx), 19U);
    EXPECT_EQ(SlotOf(&IDirect3D9Ex::CreateDeviceEx), 20U);
    EXPECT_EQ(SlotOf(&IDirect3D9Ex::GetAdapterLUID), 21U);
}

TEST(D3D9Slots, Surface)
{
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetDevice), 3U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::SetPrivateData), 4U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetPrivateData), 5U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::FreePrivateData), 6U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::SetPriority), 7U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetPriority), 8U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::PreLoad), 9U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetType), 10U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetContainer), 11U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetDesc), 12U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::LockRect), 13U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::UnlockRect), 14U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::GetDC), 15U);
    EXPECT_EQ(SlotOf(&IDirect3DSurface9::ReleaseDC), 16U);
}

TEST(D3D9Slots, Device)
{
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::TestCooperativeLevel), 3U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetAvailableTextureMem), 4U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::EvictManagedResources), 5U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetDirect3D), 6U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetDeviceCaps), 7U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetDisplayMode), 8U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetCreationParameters), 9U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetCursorProperties), 10U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetCursorPosition), 11U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::ShowCursor), 12U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateAdditionalSwapChain), 13U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetSwapChain), 14U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetNumberOfSwapChains), 15U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::Reset), 16U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::Present), 17U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetBackBuffer), 18U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetRasterStatus), 19U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetDialogBoxMode), 20U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetGammaRamp), 21U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetGammaRamp), 22U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateTexture), 23U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateVolumeTexture), 24U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateCubeTexture), 25U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateVertexBuffer), 26U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateIndexBuffer), 27U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateRenderTarget), 28U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateDepthStencilSurface), 29U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::UpdateSurface), 30U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::UpdateTexture), 31U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetRenderTargetData), 32U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetFrontBufferData), 33U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::StretchRect), 34U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::ColorFill), 35U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateOffscreenPlainSurface), 36U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetRenderTarget), 37U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetRenderTarget), 38U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetDepthStencilSurface), 39U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetDepthStencilSurface), 40U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::BeginScene), 41U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::EndScene), 42U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::Clear), 43U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetTransform), 44U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetTransform), 45U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::MultiplyTransform), 46U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetViewport), 47U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetViewport), 48U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetMaterial), 49U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetMaterial), 50U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetLight), 51U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetLight), 52U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::LightEnable), 53U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetLightEnable), 54U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetClipPlane), 55U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetClipPlane), 56U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetRenderState), 57U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetRenderState), 58U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateStateBlock), 59U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::BeginStateBlock), 60U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::EndStateBlock), 61U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetClipStatus), 62U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetClipStatus), 63U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetTexture), 64U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetTexture), 65U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetTextureStageState), 66U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetTextureStageState), 67U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetSamplerState), 68U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetSamplerState), 69U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::ValidateDevice), 70U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetPaletteEntries), 71U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetPaletteEntries), 72U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetCurrentTexturePalette), 73U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetCurrentTexturePalette), 74U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetScissorRect), 75U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetScissorRect), 76U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetSoftwareVertexProcessing), 77U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetSoftwareVertexProcessing), 78U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetNPatchMode), 79U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetNPatchMode), 80U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DrawPrimitive), 81U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DrawIndexedPrimitive), 82U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DrawPrimitiveUP), 83U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DrawIndexedPrimitiveUP), 84U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::ProcessVertices), 85U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateVertexDeclaration), 86U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetVertexDeclaration), 87U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetVertexDeclaration), 88U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetFVF), 89U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetFVF), 90U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateVertexShader), 91U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetVertexShader), 92U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetVertexShader), 93U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetVertexShaderConstantF), 94U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetVertexShaderConstantF), 95U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetVertexShaderConstantI), 96U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetVertexShaderConstantI), 97U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetVertexShaderConstantB), 98U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetVertexShaderConstantB), 99U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetStreamSource), 100U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetStreamSource), 101U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetStreamSourceFreq), 102U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetStreamSourceFreq), 103U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetIndices), 104U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetIndices), 105U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreatePixelShader), 106U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetPixelShader), 107U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetPixelShader), 108U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetPixelShaderConstantF), 109U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetPixelShaderConstantF), 110U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetPixelShaderConstantI), 111U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetPixelShaderConstantI), 112U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::SetPixelShaderConstantB), 113U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::GetPixelShaderConstantB), 114U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DrawRectPatch), 115U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DrawTriPatch), 116U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::DeletePatch), 117U);
    EXPECT_EQ(SlotOf(&IDirect3DDevice9::CreateQuery), 118U);
}

TEST(D3D9Slots, VideoProcessorService)
{
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::CreateSurface), 3U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::RegisterVideoProcessorSoftwareDevice), 4U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::GetVideoProcessorDeviceGuids), 5U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::GetVideoProcessorRenderTargets), 6U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::GetVideoProcessorSubStreamFormats), 7U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::GetVideoProcessorCaps), 8U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::GetProcAmpRange), 9U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::GetFilterPropertyRange), 10U);
    EXPECT_EQ(SlotOf(&IDirectXVideoProcessorService::CreateVideoProcessor), 11U);
}

}  // namespace
