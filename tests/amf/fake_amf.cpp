#include "fake_amf.h"

namespace
{

#if defined(_WIN32)
constexpr bool FILE_IS_HELD = true;
#else
constexpr bool FILE_IS_HELD = false;
#endif

// On Windows no folder takes the place of the system's. But there a bare name also means the file of that name that the
// process has already, so this program holds it: the one of the fake that was made last.
class CHeldFile
{
public:
    void Hold(const std::wstring& strFile)
    {
        Drop();
        m_vFiles.push_back(strFile);
        Take();
    }
    void LetGo()
    {
        Drop();
        m_vFiles.pop_back();
        Take();
    }
    bool IsLoadedByOthers()
    {
        Drop();
        const bool bLoaded = GetModuleHandleW(AMF_DLL_NAME) != nullptr;
        Take();
        return bLoaded;
    }

private:
    void Take()
    {
        if (FILE_IS_HELD && !m_vFiles.empty()) m_hFile = LoadLibraryW(m_vFiles.back().c_str());
    }
    void Drop()
    {
        if (m_hFile != nullptr) FreeLibrary(m_hFile);
        m_hFile = nullptr;
    }

    std::vector<std::wstring> m_vFiles;
    HMODULE m_hFile = nullptr;
};
CHeldFile g_heldFile;

FakeAmf& FakeOf(void* pContext)
{
    return *static_cast<FakeAmf*>(pContext);
}

AMF_RESULT Init(void* pContext, amf_uint64 uiVersion, bool* pbFactory)
{
    FakeAmf& fake = FakeOf(pContext);
    fake.m_vCalls.push_back("AMFInit");
    fake.m_vVersionsAsked.push_back(uiVersion);
    *pbFactory = fake.m_bFactory;
    return fake.m_eInit;
}

AMF_RESULT QueryVersion(void* pContext, amf_uint64* puiVersion)
{
    FakeAmf& fake = FakeOf(pContext);
    fake.m_vCalls.push_back("AMFQueryVersion");
    if (fake.m_eQueryVersion == AMF_OK) *puiVersion = fake.m_uiVersion;
    return fake.m_eQueryVersion;
}

AMF_RESULT GetSingleton(void* pContext, const char* pszName)
{
    FakeAmf& fake = FakeOf(pContext);
    fake.m_vCalls.push_back(pszName);
    return pszName == std::string("trace") ? fake.m_eGetTrace : fake.m_eGetDebug;
}

bool EnableWriter(void* pContext, const wchar_t* pwszWriter, bool bEnable)
{
    FakeAmf& fake = FakeOf(pContext);
    fake.m_vWriters.push_back((bEnable ? L"+" : L"-") + std::wstring(pwszWriter));
    return fake.m_bWriterWasEnabled;
}

void TraceW(void* pContext, const wchar_t* pwszSource, amf_int32 nLine, amf_int32 nLevel, const wchar_t* pwszScope,
            amf_int32 nArguments, const wchar_t* pwszFormat)
{
    FakeOf(pContext).m_vLines.push_back({pwszSource, nLine, nLevel, pwszScope, nArguments, pwszFormat});
}

AMF_RESULT CreateContext(void* pContext, AMFContext** ppContext)
{
    FakeAmf& fake = FakeOf(pContext);
    return fake.m_funcCreateContext ? fake.m_funcCreateContext(ppContext) : AMF_NOT_IMPLEMENTED;
}

AMF_RESULT CreateComponent(void* pContext, AMFContext* pAmfContext, const wchar_t* pwszId, AMFComponent** ppComponent)
{
    FakeAmf& fake = FakeOf(pContext);
    return fake.m_funcCreateComponent ? fake.m_funcCreateComponent(pAmfContext, pwszId, ppComponent)
                                      : AMF_NOT_IMPLEMENTED;
}

}  // namespace

std::wstring FakeAmf::FolderOf(const std::wstring& strBuild)
{
    wchar_t wszProgram[4096] = {};
    GetModuleFileNameW(nullptr, wszProgram, 4095);
    std::wstring strFolder = wszProgram;
    strFolder.resize(strFolder.find_last_of(L"/\\") + 1);
    return strFolder + L"fakeamf/" + strBuild;
}

FakeAmf::FakeAmf(const std::wstring& strBuild)
    : m_calls{this, Init, QueryVersion, GetSingleton, EnableWriter, TraceW, CreateContext, CreateComponent},
      m_folder(L"IMAGEFORMAT_MP4_RUNTIMES", FolderOf(strBuild)),
      m_address(FAKE_AMF_VARIABLE, std::to_wstring(reinterpret_cast<std::uintptr_t>(&m_calls)))
{
    EXPECT_FALSE(IsLoaded()) << "left by an earlier test";
    g_heldFile.Hold(FolderOf(strBuild) + L"/" + AMF_DLL_NAME);
}

FakeAmf::~FakeAmf()
{
    g_heldFile.LetGo();
}

bool FakeAmf::IsLoaded()
{
    return g_heldFile.IsLoadedByOthers();
}
