#include "runtime.h"

namespace
{

class Lines : public AMFTraceWriter
{
public:
    virtual ~Lines() = default;
    void Write(const wchar_t* scope, const wchar_t* message) override
    {
        m_text += std::wstring(scope) + L"|" + message + L"\n";
    }
    void Flush() override { ++m_nFlushes; }

    std::wstring Take() { return std::exchange(m_text, {}); }

    int m_nFlushes = 0;

private:
    std::wstring m_text;
};

class AmfTrace : public AmfRuntime
{
protected:
    AmfTrace()
    {
        EXPECT_EQ(m_factory.GetTrace(&m_pTrace), AMF_OK);
        m_pTrace->RegisterWriter(L"Test", &m_lines, true);
    }
    ~AmfTrace() override
    {
        m_pTrace->UnregisterWriter(L"Test");
        m_pTrace->SetGlobalLevel(AMF_TRACE_INFO);
    }

    AMFTrace* m_pTrace = nullptr;
    Lines m_lines;
};

}  // namespace

TEST_F(AmfTrace, ALineGoesToTheWritersThatAreEnabled)
{
    m_pTrace->TraceW(L"file.cpp", 12, AMF_TRACE_ERROR, L"Scope", 0, L"100%s");
    EXPECT_EQ(m_lines.Take(), L"Scope|file.cpp(12): 100%s\n");
    m_pTrace->TraceW(nullptr, 0, AMF_TRACE_ERROR, nullptr, 5, L"%d %s %S %I64d %5.1f%%", 7, L"wide", "narrow",
                     std::int64_t{1} << 40, 2.25);
    EXPECT_EQ(m_lines.Take(), L"|7 wide narrow 1099511627776   2.2%\n");
    EXPECT_TRUE(m_pTrace->EnableWriter(L"Test", false));
    EXPECT_FALSE(m_pTrace->WriterEnabled(L"Test"));
    m_pTrace->TraceW(L"file.cpp", 12, AMF_TRACE_ERROR, L"Scope", 0, L"text");
    EXPECT_EQ(m_lines.Take(), L"");
    EXPECT_FALSE(m_pTrace->EnableWriter(L"Test", true));
    EXPECT_EQ(m_pTrace->TraceFlush(), AMF_OK);
    EXPECT_EQ(m_lines.m_nFlushes, 1);
}

TEST_F(AmfTrace, LevelsDecideWhichLinesAreWritten)
{
    const auto write = [&](amf_int32 nLevel, const wchar_t* pwszScope) {
        m_pTrace->TraceW(nullptr, 0, nLevel, pwszScope, 0, L"x");
        return !m_lines.Take().empty();
    };
    EXPECT_EQ(m_pTrace->GetGlobalLevel(), AMF_TRACE_INFO);
    EXPECT_EQ(m_pTrace->GetWriterLevel(L"Test"), AMF_TRACE_INFO);
    EXPECT_TRUE(write(AMF_TRACE_INFO, L"a"));
    EXPECT_FALSE(write(AMF_TRACE_DEBUG, L"a"));
    EXPECT_EQ(m_pTrace->SetWriterLevel(L"Test", AMF_TRACE_DEBUG), AMF_TRACE_INFO);
    EXPECT_FALSE(write(AMF_TRACE_DEBUG, L"a"));
    EXPECT_EQ(m_pTrace->SetGlobalLevel(AMF_TRACE_TEST), AMF_TRACE_INFO);
    EXPECT_TRUE(write(AMF_TRACE_DEBUG, L"a"));
    EXPECT_EQ(m_pTrace->SetWriterLevelForScope(L"Test", L"a", AMF_TRACE_ERROR), AMF_TRACE_DEBUG);
    EXPECT_EQ(m_pTrace->GetWriterLevelForScope(L"Test", L"a"), AMF_TRACE_ERROR);
    EXPECT_EQ(m_pTrace->GetWriterLevelForScope(L"Test", L"b"), AMF_TRACE_DEBUG);
    EXPECT_FALSE(write(AMF_TRACE_WARNING, L"a"));
    EXPECT_TRUE(write(AMF_TRACE_WARNING, L"b"));
}

TEST_F(AmfTrace, LinesAreIndented)
{
    m_pTrace->Indent(2);
    EXPECT_EQ(m_pTrace->GetIndentation(), 2);
    m_pTrace->TraceW(nullptr, 0, AMF_TRACE_ERROR, L"", 0, L"x");
    EXPECT_EQ(m_lines.Take(), L"|    x\n");
    m_pTrace->Indent(-2);
    EXPECT_EQ(m_pTrace->GetIndentation(), 0);
}

TEST_F(AmfTrace, ItsOwnWritersAreOffAtFirst)
{
    EXPECT_FALSE(m_pTrace->WriterEnabled(L"Console"));
    EXPECT_FALSE(m_pTrace->EnableWriter(L"Console", true));
    EXPECT_TRUE(m_pTrace->WriterEnabled(L"Console"));
    testing::internal::CaptureStderr();
    m_pTrace->TraceW(L"f", 1, AMF_TRACE_ERROR, L"s", 0, L"on the console");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "f(1): on the console\n");
    EXPECT_TRUE(m_pTrace->EnableWriter(L"Console", false));
    EXPECT_FALSE(m_pTrace->EnableWriter(L"DebugOutput", true));
    EXPECT_TRUE(m_pTrace->EnableWriter(L"DebugOutput", false));
    EXPECT_FALSE(m_pTrace->EnableWriter(L"File", true));
    EXPECT_FALSE(m_pTrace->WriterEnabled(L"File"));
}

TEST_F(AmfTrace, NamesNumbers)
{
    EXPECT_STREQ(m_pTrace->GetResultText(AMF_OK), L"AMF_OK");
    EXPECT_STREQ(m_pTrace->GetResultText(AMF_EOF), L"AMF_EOF");
    EXPECT_STREQ(m_pTrace->GetResultText(AMF_INPUT_FULL), L"AMF_INPUT_FULL");
    EXPECT_STREQ(m_pTrace->GetResultText(AMF_DECODER_NO_FREE_SURFACES), L"AMF_DECODER_NO_FREE_SURFACES");
    EXPECT_STREQ(m_pTrace->GetResultText(AMF_NEED_MORE_INPUT), L"AMF_NEED_MORE_INPUT");
    EXPECT_STREQ(m_pTrace->GetResultText(static_cast<AMF_RESULT>(45)), L"AMF_UNKNOWN");
    EXPECT_STREQ(m_pTrace->GetResultText(static_cast<AMF_RESULT>(-1)), L"AMF_UNKNOWN");
    EXPECT_STREQ(m_pTrace->SurfaceGetFormatName(AMF_SURFACE_NV12), L"NV12");
    EXPECT_STREQ(m_pTrace->SurfaceGetFormatName(AMF_SURFACE_UYVY), L"UYVY");
    EXPECT_EQ(m_pTrace->SurfaceGetFormatByName(L"BGRA"), AMF_SURFACE_BGRA);
    EXPECT_EQ(m_pTrace->SurfaceGetFormatByName(L"none"), AMF_SURFACE_UNKNOWN);
    EXPECT_STREQ(m_pTrace->GetMemoryTypeName(AMF_MEMORY_DX9), L"DX9");
    EXPECT_EQ(m_pTrace->GetMemoryTypeByName(L"VULKAN"), AMF_MEMORY_VULKAN);
    EXPECT_STREQ(m_pTrace->GetSampleFormatName(AMFAF_S16P), L"S16P");
    EXPECT_EQ(m_pTrace->GetSampleFormatByName(L"DBLP"), AMFAF_DBLP);
    EXPECT_EQ(m_pTrace->GetSampleFormatByName(nullptr), AMFAF_UNKNOWN);
}

TEST_F(AmfTrace, KeepsAPath)
{
    EXPECT_EQ(m_pTrace->SetPath(L"log.txt"), AMF_OK);
    amf_size uiSize = 0;
    EXPECT_EQ(m_pTrace->GetPath(nullptr, &uiSize), AMF_OUT_OF_RANGE);
    EXPECT_EQ(uiSize, 8u);
    wchar_t wszPath[8];
    EXPECT_EQ(m_pTrace->GetPath(wszPath, &uiSize), AMF_OK);
    EXPECT_STREQ(wszPath, L"log.txt");
}
