#include "windows_bridge/representation.h"

#include <cstdint>
#include <vector>

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>
#include <uuids.h>

#include "support/slot_of.h"
#include "windows_bridge/operation_table.h"

namespace windows_bridge
{

namespace
{

using PRepresent = HRESULT(STDMETHODCALLTYPE*)(IMFMediaType*, GUID, void**);

// Profile, compatibility and level, a byte each: after the version that begins a decoder's configuration record, or
// after the start code and the type of the parameter set that Wine's source gives instead.
constexpr std::size_t RECORD_PROFILE = 1;
constexpr BYTE START_CODE[] = {0, 0, 0, 1};
constexpr std::size_t SET_PROFILE = sizeof START_CODE + 1;
constexpr std::size_t LEVEL_AFTER_PROFILE = 2;

PRepresent g_apfnSystem[2];  // the operation of each table

AM_MEDIA_TYPE* MakeRepresentation(IMFMediaType* pType)
{
    std::vector<BYTE> vRecord;
    UINT32 uiBytes = 0;
    if (SUCCEEDED(pType->GetBlobSize(MF_MT_USER_DATA, &uiBytes)) && uiBytes > SET_PROFILE + LEVEL_AFTER_PROFILE)
    {
        vRecord.resize(uiBytes);
        pType->GetBlob(MF_MT_USER_DATA, vRecord.data(), uiBytes, nullptr);
    }
    UINT32 uiWidth = 0;
    UINT32 uiHeight = 0;
    MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &uiWidth, &uiHeight);

    const auto cbFormat = static_cast<ULONG>(sizeof(MPEG2VIDEOINFO) + vRecord.size());
    auto* pFormat = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    auto* pBlock = static_cast<MPEG2VIDEOINFO*>(CoTaskMemAlloc(cbFormat));
    if (pFormat == nullptr || pBlock == nullptr)
    {
        CoTaskMemFree(pFormat);
        CoTaskMemFree(pBlock);
        return nullptr;
    }
    *pBlock = {};
    BITMAPINFOHEADER& picture = pBlock->hdr.bmiHeader;
    picture.biSize = sizeof picture;
    picture.biWidth = static_cast<LONG>(uiWidth);
    picture.biHeight = static_cast<LONG>(uiHeight);
    picture.biPlanes = 1;
    picture.biCompression = MFVideoFormat_H264.Data1;
    if (!vRecord.empty())
    {
        const bool bSet = std::memcmp(vRecord.data(), START_CODE, sizeof START_CODE) == 0;
        const std::size_t uiProfile = bSet ? SET_PROFILE : RECORD_PROFILE;
        pBlock->dwProfile = vRecord[uiProfile];
        pBlock->dwLevel = vRecord[uiProfile + LEVEL_AFTER_PROFILE];
        pBlock->cbSequenceHeader = static_cast<DWORD>(vRecord.size());
        std::memcpy(pBlock->dwSequenceHeader, vRecord.data(), vRecord.size());
    }

    *pFormat = {};
    pFormat->majortype = MFMediaType_Video;
    pFormat->subtype = MFVideoFormat_H264;
    pFormat->formattype = FORMAT_MPEG2_VIDEO;
    pFormat->cbFormat = cbFormat;
    pFormat->pbFormat = reinterpret_cast<BYTE*>(pBlock);
    return pFormat;
}

template <int nTable>
HRESULT STDMETHODCALLTYPE Represent(IMFMediaType* pType, GUID guidRepresentation, void** ppRepresentation)
{
    GUID guidSubtype = GUID_NULL;
    pType->GetGUID(MF_MT_SUBTYPE, &guidSubtype);
    if (guidRepresentation != AM_MEDIA_TYPE_REPRESENTATION || guidSubtype != MFVideoFormat_H264)
    {
        return g_apfnSystem[nTable](pType, guidRepresentation, ppRepresentation);
    }
    *ppRepresentation = MakeRepresentation(pType);
    return *ppRepresentation != nullptr ? S_OK : E_OUTOFMEMORY;
}

IMFMediaType* MakeH264Type()
{
    IMFMediaType* pType = nullptr;
    if (FAILED(MFCreateMediaType(&pType))) return nullptr;
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, 64, 48);
    return pType;
}

}  // namespace

bool HasRepresentationGap()
{
    IMFMediaType* pType = MakeH264Type();
    if (pType == nullptr) return false;
    void* pRepresentation = nullptr;
    const HRESULT hr = pType->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, &pRepresentation);
    const bool bGap =
        FAILED(hr) || static_cast<const AM_MEDIA_TYPE*>(pRepresentation)->formattype != FORMAT_MPEG2_VIDEO;
    if (SUCCEEDED(hr)) pType->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation);
    pType->Release();
    return bGap;
}

// A type has a table for each of its two interfaces, and a caller may hold either.
void FillRepresentationGap()
{
    IMFMediaType* pType = MakeH264Type();
    if (pType == nullptr) return;
    const std::size_t uiSlot = test_support::SlotOf(&IMFMediaType::GetRepresentation);
    ReplaceOperation(pType, uiSlot, &Represent<0>, &g_apfnSystem[0]);
    IMFVideoMediaType* pVideoType = nullptr;
    if (SUCCEEDED(pType->QueryInterface(IID_IMFVideoMediaType, reinterpret_cast<void**>(&pVideoType))))
    {
        ReplaceOperation(pVideoType, uiSlot, &Represent<1>, &g_apfnSystem[1]);
        pVideoType->Release();
    }
    pType->Release();
}

}  // namespace windows_bridge
