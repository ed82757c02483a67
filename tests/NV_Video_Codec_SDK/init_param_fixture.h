// Records for an option set to write to, and how its failures read.
#pragma once

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderInitParam.h"

class InitParamTest : public testing::Test
{
protected:
    InitParamTest() { m_params.encodeConfig = &m_config; }

    void Apply(const std::string& strOptions, NV_ENC_BUFFER_FORMAT eFormat = NV_ENC_BUFFER_FORMAT_ARGB)
    {
        NvEncoderInitParam(strOptions).SetInitParams(&m_params, eFormat);
    }
    // The options are refused, and the failure names strToken.
    void ExpectRefused(const std::string& strOptions, const std::string& strToken)
    {
        try
        {
            Apply(strOptions);
            ADD_FAILURE() << strOptions << " was taken";
        }
        catch (const std::invalid_argument& exception)
        {
            EXPECT_EQ(std::string(exception.what()),
                      "Incorrect parameter: " + strToken +
                          "\nRe-run the application with the -h option to get a list of the supported options.\n");
        }
    }
    void ExpectOutOfRange(const std::string& strOptions, const std::string& strText)
    {
        try
        {
            Apply(strOptions);
            ADD_FAILURE() << strOptions << " was taken";
        }
        catch (const std::out_of_range& exception)
        {
            EXPECT_EQ(std::string(exception.what()), strText) << strOptions;
        }
    }

    NV_ENC_RC_PARAMS& Rc() { return m_config.rcParams; }
    NV_ENC_CONFIG_H264& H264() { return m_config.encodeCodecConfig.h264Config; }
    NV_ENC_CONFIG_HEVC& Hevc() { return m_config.encodeCodecConfig.hevcConfig; }

    NV_ENC_INITIALIZE_PARAMS m_params = {};
    NV_ENC_CONFIG m_config = {};
};
