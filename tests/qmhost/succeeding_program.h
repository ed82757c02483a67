// The built program where it has to succeed.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/run_program.h"

// Runs qmhost, which ends with status 0. Returns its standard output. strErr: what it says on standard error.
inline std::string Succeed(const std::vector<std::string>& vArguments, const std::string& strErr = "")
{
    const test_support::ProgramResult result = test_support::RunProgram(QMHOST_PROGRAM, vArguments);
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, strErr);
    return result.m_strOut;
}
