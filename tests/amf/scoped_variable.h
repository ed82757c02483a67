// A variable of the environment for the length of a test.
#pragma once

#include <string>

#include <windows.h>

#include <gtest/gtest.h>

// Sets it as long as it lives, and restores what was there.
class CScopedVariable
{
public:
    CScopedVariable(const wchar_t* pwszName, const std::wstring& strValue) : m_pwszName(pwszName)
    {
        wchar_t wszBefore[16384] = {};
        m_bWasSet = GetEnvironmentVariableW(pwszName, wszBefore, 16384) != 0;
        m_strBefore = wszBefore;
        EXPECT_TRUE(SetEnvironmentVariableW(pwszName, strValue.c_str()));
    }
    ~CScopedVariable() { SetEnvironmentVariableW(m_pwszName, m_bWasSet ? m_strBefore.c_str() : nullptr); }
    CScopedVariable(const CScopedVariable&) = delete;
    CScopedVariable& operator=(const CScopedVariable&) = delete;

private:
    const wchar_t* m_pwszName;
    bool m_bWasSet;
    std::wstring m_strBefore;
};
