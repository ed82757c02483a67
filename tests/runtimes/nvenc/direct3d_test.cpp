// The surfaces that callers really have.
#include <algorithm>

#include "ffmpeg_tool.h"
#include "ring_client.h"

namespace
{

constexpr std::uint32_t c_uiWidth = 176;
constexpr std::uint32_t c_uiHeight = 144;

struct Device
{
    Device()
    {
        EXPECT_EQ(Direct3DCreate9Ex(D3D_SDK_VERSION, &pD3D), D3D_OK);
        D3DPRESENT_PARAMETERS parameters{};
        parameters.BackBufferWidth = c_uiWidth;
        parameters.BackBufferHeight = c_uiHeight;
        parameters.BackBufferFormat = D3DFMT_A8R8G8B8;
        parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
        parameters.Windowed = TRUE;
        EXPECT_EQ(
            pD3D->CreateDevice(0, D3DDEVTYPE_HAL, nullptr, D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters, &pDevice),
            D3D_OK);
        EXPECT_EQ(pDevice->CreateOffscreenPlainSurface(c_uiWidth, c_uiHeight, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT,
                                                       &pSurface, nullptr),
                  D3D_OK);
    }
    ~Device()
    {
        EXPECT_EQ(pSurface->Release(), 0u);
        EXPECT_EQ(pDevice->Release(), 0u);
        EXPECT_EQ(pD3D->Release(), 0u);
    }

    IDirect3D9Ex* pD3D = nullptr;
    IDirect3DDevice9* pDevice = nullptr;
    IDirect3DSurface9* pSurface = nullptr;
};

}  // namespace

TEST_F(NvencRuntime, ASurfaceOfADeviceIsEncoded)
{
    const Device device;
    const BgrPicture picture = NaturalPicture(c_uiWidth, c_uiHeight, 0);
    D3DLOCKED_RECT locked{};
    ASSERT_EQ(device.pSurface->LockRect(&locked, nullptr, 0), D3D_OK);
    for (std::size_t i = 0; i < std::size_t{c_uiWidth} * c_uiHeight; ++i)
    {
        auto* const pRow =
            static_cast<std::uint8_t*>(locked.pBits) + static_cast<std::ptrdiff_t>(i / c_uiWidth) * locked.Pitch;
        std::copy_n(picture.bytes.data() + 3 * i, 3, pRow + 4 * (i % c_uiWidth));
    }
    ASSERT_EQ(device.pSurface->UnlockRect(), D3D_OK);

    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.config.rcParams.constQP = {24, 28, 21};
    OpenSession session(device.pDevice);
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    auto record = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
    record.width = c_uiWidth;
    record.height = c_uiHeight;
    record.resourceToRegister = device.pSurface;
    record.bufferFormat = NV_ENC_BUFFER_FORMAT_ARGB;
    ASSERT_EQ(m_api.nvEncRegisterResource(session.Handle(), &record), NV_ENC_SUCCESS);
    void* const pBuffer = session.CreateBuffer();
    ASSERT_EQ(session.Encode(session.Picture(session.Map(record.registeredResource), pBuffer, c_uiWidth, c_uiHeight)),
              NV_ENC_SUCCESS);
    NV_ENC_LOCK_BITSTREAM lock{};
    ASSERT_EQ(session.Lock(pBuffer, &lock), NV_ENC_SUCCESS);
    const auto* const pBytes = static_cast<const std::uint8_t*>(lock.bitstreamBufferPtr);
    const std::vector<BgrPicture> shown =
        DecodeWithFfmpeg({pBytes, pBytes + lock.bitstreamSizeInBytes}, c_uiWidth, c_uiHeight);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_GT(Psnr(picture, shown[0]), 35);
    EXPECT_EQ(session.Unlock(pBuffer), NV_ENC_SUCCESS);
}
