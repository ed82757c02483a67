// A scripted AMF runtime: what it answers, and what it was asked.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fake_amf_file.h"
#include "scoped_variable.h"

// The module finds it by its bare name as long as this object lives.
class FakeAmf
{
public:
    // The build of the file: "full", "noinit", "noversion"; or "none" for a machine without the runtime.
    explicit FakeAmf(const std::wstring& strBuild = L"full");
    ~FakeAmf();
    FakeAmf(const FakeAmf&) = delete;
    FakeAmf& operator=(const FakeAmf&) = delete;

    // Where the file of a build lies.
    static std::wstring FolderOf(const std::wstring& strBuild);
    // Whether any caller has the runtime in the process.
    static bool IsLoaded();

    // --- what it answers
    AMF_RESULT m_eInit = AMF_OK;
    AMF_RESULT m_eQueryVersion = AMF_OK;
    AMF_RESULT m_eGetTrace = AMF_OK;
    AMF_RESULT m_eGetDebug = AMF_OK;
    bool m_bFactory = true;  // false: AMFInit succeeds and gives none
    amf_uint64 m_uiVersion = AMF_MAKE_FULL_VERSION(1, 4, 14, 3);
    bool m_bWriterWasEnabled = false;
    // Of the factory; without one it makes nothing.
    std::function<AMF_RESULT(AMFContext** ppContext)> m_funcCreateContext;
    std::function<AMF_RESULT(AMFContext* pContext, const wchar_t* pwszId, AMFComponent** ppComponent)>
        m_funcCreateComponent;

    // --- what it saw
    struct SLine
    {
        std::wstring m_strSource;
        amf_int32 m_nLine;
        amf_int32 m_nLevel;
        std::wstring m_strScope;
        amf_int32 m_nArguments;
        std::wstring m_strText;
    };
    std::vector<std::string> m_vCalls;  // of the entries and the factory, in order
    std::vector<amf_uint64> m_vVersionsAsked;
    std::vector<std::wstring> m_vWriters;  // each with "+" or "-" in front, for on and off
    std::vector<SLine> m_vLines;

private:
    SFakeAmfCalls m_calls;
    CScopedVariable m_folder;
    CScopedVariable m_address;
};
