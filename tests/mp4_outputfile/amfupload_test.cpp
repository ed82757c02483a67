// From the host's pixels to the surface that AMF's encoder takes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "common/saferelease.h"
#include "mp4_outputfile/amfupload.h"
#include "scripted_amf.h"
#include "support/bytes.h"
#include "support/bytes_at_page_end.h"
#include "support/short_memory.h"

using testing::Each;
using testing::ElementsAre;

namespace
{
class AmfUploadTest : public testing::Test
{
protected:
    void SetUp() override
    {
        AMFContext* pContext = nullptr;
        AMFComponent* pConverter = nullptr;
        m_amf.CreateContext(&pContext);
        m_amf.CreateComponent(pContext, L"AMFVideoConverter", &pConverter);
        m_pContext.reset(pContext);
        m_pConverter.reset(pConverter);
    }
    void TearDown() override
    {
        m_pSurface.reset();
        m_pConverter.reset();
        m_pContext.reset();
        EXPECT_EQ(m_amf.m_nLiving, 0);
        EXPECT_EQ(m_d3d.m_device.m_uiReferences, 0U);
        for (const auto& pSurface : m_d3d.m_vSurfaces)
            EXPECT_EQ(pSurface->m_uiReferences, 0U);
    }

    // Into a new surface of the encoder. Without a size of its own the picture is as large as it is encoded.
    void Upload(const void* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiOwnWidth = 0,
                std::uint32_t uiOwnHeight = 0)
    {
        SQmImageAttributes attributes;
        attributes.m_uiWidth = uiOwnWidth == 0 ? uiWidth : uiOwnWidth;
        attributes.m_uiHeight = uiOwnHeight == 0 ? uiHeight : uiOwnHeight;
        attributes.m_uiWidthBytes = (attributes.m_uiWidth * 3 + 3) / 4 * 4;
        AMFSurface* pSurface = nullptr;
        m_pContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_NV12, static_cast<amf_int32>(uiWidth),
                                 static_cast<amf_int32>(uiHeight), &pSurface);
        m_pSurface.reset(pSurface);
        m_uiBefore = m_amf.GetCalls().size();
        m_d3d.m_vCalls.clear();
        UploadFrameToAmfSurface(*m_pContext, *m_pConverter, *pSurface, {pPixels, attributes, attributes}, uiWidth,
                                uiHeight);
    }
    std::vector<std::string> Calls() const
    {
        const std::vector<std::string> vCalls = m_amf.GetCalls();
        return {vCalls.begin() + static_cast<std::ptrdiff_t>(m_uiBefore), vCalls.end()};
    }
    // The encoder's surface was painted, in the planes' rows, and nothing was copied into it.
    void ExpectPainted(const MemorySurface& nv12, std::uint32_t uiWidth, std::uint32_t uiRows)
    {
        EXPECT_THAT(m_d3d.m_vCalls,
                    testing::IsSupersetOf({"ColorFill(set, null, 4294922280)", "LockRect(null, 0)", "UnlockRect()"}));
        EXPECT_EQ(m_amf.Count("surface.CopySurfaceRegion"), 0);
        EXPECT_THAT(Calls(), testing::Contains("context.GetDX9Device(90)"));
        for (std::uint32_t y = 0; y < uiRows; ++y)
        {
            const std::vector<std::uint8_t> vRow = nv12.GetRow(y);
            EXPECT_THAT(Bytes(vRow.begin(), vRow.begin() + uiWidth), Each(0)) << "row " << y;
            EXPECT_THAT(Bytes(vRow.begin() + uiWidth, vRow.end()), Each(MemorySurface::s_bUnwritten));
        }
    }

    ScriptedDirect3D m_d3d;
    ScriptedAmf m_amf{m_d3d};
    COwned<AMFContext> m_pContext;
    COwned<AMFComponent> m_pConverter;
    COwned<AMFSurface> m_pSurface;
    std::size_t m_uiBefore = 0;
    const Bytes m_vPixels = {10, 20, 30, 11, 21, 31, 0xEE, 0xEE, 12, 22, 32, 13, 23, 33, 0xEE, 0xEE};
};
}  // namespace

TEST_F(AmfUploadTest, ThePictureGoesThroughASurfaceOfFourBytesAndTheConverter)
{
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_THAT(Calls(),
                ElementsAre("context.AllocSurface BGRA(2, 3, 2, 2)", "converter.SubmitInput()", "converter.Drain()",
                            "converter.QueryOutput()", "surface.CopySurfaceRegion(1, 0, 0, 0, 0, 2, 2)"));
    EXPECT_THAT(m_d3d.m_vCalls, ElementsAre("LockRect(null, 0)", "UnlockRect()", "surface released"));
    ASSERT_EQ(m_d3d.m_vSurfaces.size(), 2U);
    const MemorySurface& bgra = *m_d3d.m_vSurfaces[1];
    EXPECT_THAT(bgra.GetRow(0), ElementsAre(10, 20, 30, 255, 11, 21, 31, 255));
    EXPECT_THAT(bgra.GetRow(1), ElementsAre(12, 22, 32, 255, 13, 23, 33, 255));
    for (const UINT y : {0U, 1U})
        EXPECT_THAT(bgra.GetAfterRow(y), Each(MemorySurface::s_bUnwritten));
}

TEST_F(AmfUploadTest, WhatTheConverterAnswersDoesNotMatterWhileItGivesOutput)
{
    m_amf.FailAlways("converter.Drain", AMF_FAIL);
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("surface.CopySurfaceRegion"), 1);
}

TEST_F(AmfUploadTest, ACopyThatFailsLeavesTheSurfaceAsItIs)
{
    m_amf.FailAlways("surface.CopySurfaceRegion", AMF_FAIL);
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("context.GetDX9Device"), 0);
    EXPECT_THAT(m_d3d.m_vSurfaces[0]->GetRow(0), Each(MemorySurface::s_bUnwritten));
}

// --- an odd picture

TEST_F(AmfUploadTest, BytesPastAnOddPictureComeFromTheRowAbove)
{
    const Bytes vPixels = {10, 20, 30, 40};
    Upload(vPixels.data(), 2, 2, 1, 1);
    for (const UINT y : {0U, 1U})
        EXPECT_THAT(m_d3d.m_vSurfaces.at(1)->GetRow(y), ElementsAre(10, 20, 30, 255, 40, 0, 0, 255));
}

TEST_F(AmfUploadTest, NothingIsReadPastThePictureThatTheHostDescribed)
{
    const CBytesAtPageEnd pixels(Bytes(16 * 1001, 0x11));
    Upload(pixels.Get(), 6, 1002, 5, 1001);
    EXPECT_EQ(m_amf.Count("surface.CopySurfaceRegion"), 1);
}

// Only rows that the host's picture doesn't hold need memory of their own.
TEST_F(AmfUploadTest, WithoutMemoryForARowNothingStaysLockedOrHeld)
{
    const Bytes vPixels(192 * 47, 0x80);
    {
        const CShortMemory memory(64 * 3, 64 * 3);
        EXPECT_THROW(Upload(vPixels.data(), 64, 48, 63, 47), std::bad_alloc);
    }
    EXPECT_THAT(m_d3d.m_vCalls, ElementsAre("LockRect(null, 0)", "UnlockRect()", "surface released"));
    EXPECT_EQ(m_amf.Count("converter.SubmitInput"), 0);
}

// --- without the picture: the surface is painted

TEST_F(AmfUploadTest, WithoutAConvertedPictureTheSurfaceIsPainted)
{
    m_amf.m_bConverted = false;
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("converter.QueryOutput"), 1);
    ExpectPainted(*m_d3d.m_vSurfaces[0], 2, 3);
}

TEST_F(AmfUploadTest, APictureThatTheConverterRefusesIsAskedForAllTheSame)
{
    m_amf.FailAlways("converter.SubmitInput", AMF_INPUT_FULL);
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("converter.Drain"), 1);
    EXPECT_EQ(m_amf.Count("converter.QueryOutput"), 1);
    ExpectPainted(*m_d3d.m_vSurfaces[0], 2, 3);
}

TEST_F(AmfUploadTest, WithoutASurfaceOfFourBytesTheOtherIsPainted)
{
    m_amf.m_bBgraSurface = false;
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("converter.SubmitInput"), 0);
    ExpectPainted(*m_d3d.m_vSurfaces[0], 2, 3);
}

TEST_F(AmfUploadTest, WithoutANativeSurfaceOfFourBytesTheOtherIsPainted)
{
    m_amf.m_bNativeBgra = false;
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("converter.SubmitInput"), 0);
    ExpectPainted(*m_d3d.m_vSurfaces[0], 2, 3);
}

TEST_F(AmfUploadTest, ASurfaceThatCannotBeLockedIsNotConverted)
{
    m_d3d.m_hrLock = D3DERR_DEVICELOST;
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_EQ(m_amf.Count("converter.SubmitInput"), 0);
    EXPECT_THAT(m_d3d.m_vCalls, ElementsAre("LockRect(null, 0)", "surface released", "ColorFill(set, null, 4294922280)",
                                            "LockRect(null, 0)"));
}

TEST_F(AmfUploadTest, WithoutADeviceTheRowsAreClearedAllTheSame)
{
    m_amf.m_bConverted = false;
    m_amf.m_bDevice = false;
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_THAT(m_d3d.m_vSurfaces[0]->GetRow(2), ElementsAre(0, 0, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A));
    EXPECT_THAT(m_d3d.m_vCalls, testing::Not(testing::Contains(testing::StartsWith("ColorFill"))));
}

TEST_F(AmfUploadTest, WithoutANativeSurfaceOfTheEncoderNothingIsPainted)
{
    m_amf.m_bConverted = false;
    m_amf.m_bNativeNv12 = false;
    Upload(m_vPixels.data(), 2, 2);
    EXPECT_THAT(m_d3d.m_vCalls, ElementsAre("LockRect(null, 0)", "UnlockRect()"));  // of the picture for the converter
}
