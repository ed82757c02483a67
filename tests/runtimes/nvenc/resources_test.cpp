#include <functional>

#include "runtime.h"

namespace
{

NVENCSTATUS RegisterWith(const OpenSession& session, FakeSurface& surface,
                         const std::function<void(NV_ENC_REGISTER_RESOURCE&)>& change)
{
    auto record = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
    record.width = surface.Width();
    record.height = surface.Height();
    record.resourceToRegister = static_cast<IDirect3DSurface9*>(&surface);
    record.bufferFormat = NV_ENC_BUFFER_FORMAT_ARGB;
    change(record);
    return Runtime::Get().api.nvEncRegisterResource(session.Handle(), &record);
}

NVENCSTATUS TryMap(const OpenSession& session, void* pRegistered)
{
    auto record = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(NV_ENC_MAP_INPUT_RESOURCE_VER);
    record.registeredResource = pRegistered;
    return Runtime::Get().api.nvEncMapInputResource(session.Handle(), &record);
}

NVENCSTATUS Unmap(const OpenSession& session, void* pMapped)
{
    return Runtime::Get().api.nvEncUnmapInputResource(session.Handle(), pMapped);
}

NVENCSTATUS Unregister(const OpenSession& session, void* pRegistered)
{
    return Runtime::Get().api.nvEncUnregisterResource(session.Handle(), pRegistered);
}

}  // namespace

TEST_F(NvencRuntime, ARegisteredSurfaceIsHeldUntilItIsUnregistered)
{
    FakeSurface surface(64, 48);
    SessionSetup setup;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    void* const pRegistered = session.Register(surface);
    EXPECT_EQ(surface.References(), 2u);
    void* const pMapped = session.Map(pRegistered);
    EXPECT_EQ(Unregister(session, pRegistered), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(Unmap(session, pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(Unregister(session, pRegistered), NV_ENC_SUCCESS);
    EXPECT_EQ(surface.References(), 1u);
    EXPECT_EQ(Unregister(session, pRegistered), NV_ENC_ERR_RESOURCE_NOT_REGISTERED);
}

TEST_F(NvencRuntime, DestroyingASessionGivesBackWhatItWasGiven)
{
    FakeSurface first(64, 48);
    FakeSurface second(64, 48);
    SessionSetup setup;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    session.Register(first);
    session.Map(session.Register(second));
    session.CreateBuffer();
    EXPECT_EQ(session.Destroy(), NV_ENC_SUCCESS);
    EXPECT_EQ(first.References(), 1u);
    EXPECT_EQ(second.References(), 1u);
    const NvencRuntimeObjects objects = m_script.CountObjects();
    EXPECT_EQ(objects.uiRegisteredResources, 0u);
    EXPECT_EQ(objects.uiMappedResources, 0u);
    EXPECT_EQ(objects.uiBitstreamBuffers, 0u);
}

TEST_F(NvencRuntime, RegistrationExaminesTheSurface)
{
    FakeSurface surface(64, 48);
    FakeSurface nv12(64, 48, FakeSurface::Nv12());
    SessionSetup setup;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);

    constexpr NVENCSTATUS eFailed = NV_ENC_ERR_RESOURCE_REGISTER_FAILED;
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.width = 65; }), eFailed);
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.height = 49; }), eFailed);
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.bufferFormat = NV_ENC_BUFFER_FORMAT_NV12; }), eFailed);
    EXPECT_EQ(RegisterWith(session, nv12, [](auto&) {}), eFailed);

    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.width = 0; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.height = 0; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.resourceToRegister = nullptr; }), NV_ENC_ERR_INVALID_PTR);

    constexpr NVENCSTATUS eUnsupported = NV_ENC_ERR_UNSUPPORTED_PARAM;
    for (const NV_ENC_BUFFER_FORMAT eFormat :
         {NV_ENC_BUFFER_FORMAT_UNDEFINED, NV_ENC_BUFFER_FORMAT_YV12, NV_ENC_BUFFER_FORMAT_IYUV,
          NV_ENC_BUFFER_FORMAT_YUV444, NV_ENC_BUFFER_FORMAT_YUV420_10BIT, NV_ENC_BUFFER_FORMAT_ABGR})
    {
        EXPECT_EQ(RegisterWith(session, surface, [&](auto& r) { r.bufferFormat = eFormat; }), eUnsupported);
    }
    EXPECT_EQ(
        RegisterWith(session, surface, [](auto& r) { r.resourceType = NV_ENC_INPUT_RESOURCE_TYPE_CUDADEVICEPTR; }),
        eUnsupported);
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.bufferUsage = NV_ENC_OUTPUT_BITSTREAM; }), eUnsupported);

    // Nothing of that was kept.
    EXPECT_EQ(surface.References(), 1u);
    EXPECT_EQ(nv12.References(), 1u);
    EXPECT_EQ(RegisterWith(session, surface, [](auto& r) { r.width = 32; }), NV_ENC_SUCCESS);
    EXPECT_EQ(RegisterWith(session, nv12, [](auto& r) { r.bufferFormat = NV_ENC_BUFFER_FORMAT_NV12; }), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, ASurfaceIsRegisteredOnce)
{
    FakeSurface surface(64, 48);
    SessionSetup setup;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    session.Register(surface);
    EXPECT_EQ(RegisterWith(session, surface, [](auto&) {}), NV_ENC_ERR_RESOURCE_REGISTER_FAILED);
    EXPECT_EQ(surface.References(), 2u);
}

// A caller whose picture was refused may leave its surface mapped and map it again for the next one.
TEST_F(NvencRuntime, AResourceMayBeMappedAgain)
{
    SmallSession session;
    void* const pSecond = session.Map(session.pRegistered);
    EXPECT_NE(pSecond, session.pMapped);
    EXPECT_EQ(m_script.CountObjects().uiMappedResources, 2u);
    EXPECT_EQ(session.Encode(session.OpenSession::Picture(pSecond, session.pBuffer, 64, 48)), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);

    // Each mapping is ended on its own, and the surface is the session's until the last one is.
    EXPECT_EQ(Unmap(session, pSecond), NV_ENC_SUCCESS);
    EXPECT_EQ(Unmap(session, pSecond), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    EXPECT_EQ(Unregister(session, session.pRegistered), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(Unregister(session, session.pRegistered), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, MappingReportsTheFormat)
{
    FakeSurface nv12(64, 48, FakeSurface::Nv12());
    SessionSetup setup;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    auto record = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(NV_ENC_MAP_INPUT_RESOURCE_VER);
    record.registeredResource = session.Register(nv12, NV_ENC_BUFFER_FORMAT_NV12);
    ASSERT_EQ(m_api.nvEncMapInputResource(session.Handle(), &record), NV_ENC_SUCCESS);
    EXPECT_EQ(record.mappedBufferFmt, NV_ENC_BUFFER_FORMAT_NV12);
}

TEST_F(NvencRuntime, HandlesOfOneKindOrSessionArentThoseOfAnother)
{
    SmallSession session;
    SmallSession other;
    EXPECT_EQ(TryMap(session, session.pMapped), NV_ENC_ERR_RESOURCE_NOT_REGISTERED);
    EXPECT_EQ(TryMap(session, other.pRegistered), NV_ENC_ERR_RESOURCE_NOT_REGISTERED);
    EXPECT_EQ(Unmap(session, session.pRegistered), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    EXPECT_EQ(Unmap(session, other.pMapped), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    EXPECT_EQ(Unregister(session, session.pBuffer), NV_ENC_ERR_RESOURCE_NOT_REGISTERED);
    EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(session.Handle(), session.pMapped), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(session.Handle(), other.pBuffer), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, OnlyMappedInputIsEncoded)
{
    SmallSession session;
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.inputBuffer = session.pRegistered;
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    picture.inputBuffer = nullptr;
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, InputInFlightStaysMapped)
{
    SmallSession session;
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_ERR_ENCODER_BUSY);
    EXPECT_EQ(Unregister(session, session.pRegistered), NV_ENC_ERR_INVALID_CALL);
    m_script.HoldEncoders(0);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    // The picture is encoded. Reading its packet doesn't need the input.
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, ASurfaceThatCannotBeLockedFailsThePictureAndNothingElse)
{
    SmallSession session;
    session.surface.FailLocks(true);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_ERR_MAP_FAILED);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    session.surface.FailLocks(false);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    NV_ENC_LOCK_BITSTREAM lock{};
    EXPECT_EQ(session.Lock(session.pBuffer, &lock), NV_ENC_SUCCESS);
    EXPECT_EQ(lock.pictureType, NV_ENC_PIC_TYPE_IDR);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.surface.Locks(), 1);
}
