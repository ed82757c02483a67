#include <algorithm>
#include <span>

#include "runtimes/nvenc/capabilities.h"
#include "runtimes/nvenc/entries.h"
#include "runtimes/nvenc/entry_call.h"
#include "runtimes/nvenc/presets.h"
#include "runtimes/nvenc/records.h"

namespace nvencruntime
{
namespace
{

NVENCSTATUS CheckCodec(const GUID& encodeGUID)
{
    return encodeGUID == NV_ENC_CODEC_H264_GUID ? NV_ENC_SUCCESS : NV_ENC_ERR_UNSUPPORTED_PARAM;
}

template <typename Item>
NVENCSTATUS GiveCount(std::span<const Item> items, std::uint32_t* pCount)
{
    if (!pCount)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    *pCount = static_cast<std::uint32_t>(items.size());
    return NV_ENC_SUCCESS;
}

// As many as the array holds; the count says how many that are.
template <typename Item>
NVENCSTATUS GiveItems(std::span<const Item> items, Item* pArray, std::uint32_t uiArraySize, std::uint32_t* pCount)
{
    if (!pArray || !pCount)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    const std::size_t uiGiven = std::min<std::size_t>(items.size(), uiArraySize);
    std::copy_n(items.begin(), uiGiven, pArray);
    *pCount = static_cast<std::uint32_t>(uiGiven);
    return NV_ENC_SUCCESS;
}

std::span<const GUID> PresetGuids()
{
    static const std::vector<GUID> s_guids = [] {
        std::vector<GUID> guids;
        std::ranges::transform(Presets(), std::back_inserter(guids), &Preset::guid);
        return guids;
    }();
    return s_guids;
}

NVENCSTATUS GetEncodeGUIDCount(void* encoder, std::uint32_t* encodeGUIDCount)
{
    return AnswerFor(NVENC_ENTRY_GET_ENCODE_GUID_COUNT, encoder,
                     [&](Session&) { return GiveCount(EncodeGuids(), encodeGUIDCount); });
}

NVENCSTATUS GetEncodeGUIDs(void* encoder, GUID* GUIDs, std::uint32_t guidArraySize, std::uint32_t* GUIDCount)
{
    return AnswerFor(NVENC_ENTRY_GET_ENCODE_GUIDS, encoder,
                     [&](Session&) { return GiveItems(EncodeGuids(), GUIDs, guidArraySize, GUIDCount); });
}

// work does it for H.264.
template <typename Work>
NVENCSTATUS AnswerForCodec(NvencRuntimeEntry eEntry, void* encoder, const GUID& encodeGUID, Work&& work) noexcept
{
    return AnswerFor(eEntry, encoder, [&](Session&) {
        const NVENCSTATUS eStatus = CheckCodec(encodeGUID);
        return eStatus == NV_ENC_SUCCESS ? work() : eStatus;
    });
}

NVENCSTATUS GetEncodeProfileGUIDCount(void* encoder, GUID encodeGUID, std::uint32_t* count)
{
    return AnswerForCodec(NVENC_ENTRY_GET_ENCODE_PROFILE_GUID_COUNT, encoder, encodeGUID,
                          [&] { return GiveCount(ProfileGuids(), count); });
}

NVENCSTATUS GetEncodeProfileGUIDs(void* encoder, GUID encodeGUID, GUID* guids, std::uint32_t guidArraySize,
                                  std::uint32_t* count)
{
    return AnswerForCodec(NVENC_ENTRY_GET_ENCODE_PROFILE_GUIDS, encoder, encodeGUID,
                          [&] { return GiveItems(ProfileGuids(), guids, guidArraySize, count); });
}

NVENCSTATUS GetInputFormatCount(void* encoder, GUID encodeGUID, std::uint32_t* inputFmtCount)
{
    return AnswerForCodec(NVENC_ENTRY_GET_INPUT_FORMAT_COUNT, encoder, encodeGUID,
                          [&] { return GiveCount(InputFormats(), inputFmtCount); });
}

NVENCSTATUS GetInputFormats(void* encoder, GUID encodeGUID, NV_ENC_BUFFER_FORMAT* inputFmts,
                            std::uint32_t inputFmtArraySize, std::uint32_t* inputFmtCount)
{
    return AnswerForCodec(NVENC_ENTRY_GET_INPUT_FORMATS, encoder, encodeGUID,
                          [&] { return GiveItems(InputFormats(), inputFmts, inputFmtArraySize, inputFmtCount); });
}

NVENCSTATUS GetEncodeCaps(void* encoder, GUID encodeGUID, NV_ENC_CAPS_PARAM* capsParam, int* capsVal)
{
    return AnswerForCodec(NVENC_ENTRY_GET_ENCODE_CAPS, encoder, encodeGUID, [&] {
        if (!capsParam || !capsVal)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        const NVENCSTATUS eStatus = CheckRecord(*capsParam, NV_ENC_CAPS_PARAM_VER);
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
        const std::optional<std::int32_t> value = AskCapability(capsParam->capsToQuery);
        *capsVal = value.value_or(0);
        return value ? NV_ENC_SUCCESS : NV_ENC_ERR_INVALID_PARAM;
    });
}

NVENCSTATUS GetEncodePresetCount(void* encoder, GUID encodeGUID, std::uint32_t* count)
{
    return AnswerForCodec(NVENC_ENTRY_GET_ENCODE_PRESET_COUNT, encoder, encodeGUID,
                          [&] { return GiveCount(PresetGuids(), count); });
}

NVENCSTATUS GetEncodePresetGUIDs(void* encoder, GUID encodeGUID, GUID* guids, std::uint32_t guidArraySize,
                                 std::uint32_t* count)
{
    return AnswerForCodec(NVENC_ENTRY_GET_ENCODE_PRESET_GUIDS, encoder, encodeGUID,
                          [&] { return GiveItems(PresetGuids(), guids, guidArraySize, count); });
}

NVENCSTATUS GetEncodePresetConfig(void* encoder, GUID encodeGUID, GUID presetGUID, NV_ENC_PRESET_CONFIG* presetConfig)
{
    return AnswerForCodec(NVENC_ENTRY_GET_ENCODE_PRESET_CONFIG, encoder, encodeGUID, [&] {
        if (!presetConfig)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        if (presetConfig->presetCfg.version != NV_ENC_CONFIG_VER)
        {
            return NV_ENC_ERR_INVALID_VERSION;
        }
        const NVENCSTATUS eStatus = CheckRecord(*presetConfig, NV_ENC_PRESET_CONFIG_VER);
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
        const Preset* const pPreset = FindPreset(presetGUID);
        if (!pPreset)
        {
            return NV_ENC_ERR_UNSUPPORTED_PARAM;
        }
        presetConfig->presetCfg = MakePresetConfig(*pPreset);
        return NV_ENC_SUCCESS;
    });
}

}  // namespace

void AddQueryEntries(NV_ENCODE_API_FUNCTION_LIST& list)
{
    list.nvEncGetEncodeGUIDCount = GetEncodeGUIDCount;
    list.nvEncGetEncodeGUIDs = GetEncodeGUIDs;
    list.nvEncGetEncodeProfileGUIDCount = GetEncodeProfileGUIDCount;
    list.nvEncGetEncodeProfileGUIDs = GetEncodeProfileGUIDs;
    list.nvEncGetInputFormatCount = GetInputFormatCount;
    list.nvEncGetInputFormats = GetInputFormats;
    list.nvEncGetEncodeCaps = GetEncodeCaps;
    list.nvEncGetEncodePresetCount = GetEncodePresetCount;
    list.nvEncGetEncodePresetGUIDs = GetEncodePresetGUIDs;
    list.nvEncGetEncodePresetConfig = GetEncodePresetConfig;
}

}  // namespace nvencruntime
