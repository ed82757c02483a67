#include "runtimes/amf/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <utility>
#include <vector>

#include "runtimes/amf/names.h"

namespace amfruntime
{
namespace
{

class ConsoleWriter final : public AMFTraceWriter
{
public:
    static ConsoleWriter& Get()
    {
        static ConsoleWriter s_writer;
        return s_writer;
    }
    virtual ~ConsoleWriter() = default;

    void Write(const wchar_t*, const wchar_t* message) override { std::fprintf(stderr, "%ls\n", message); }
    void Flush() override { std::fflush(stderr); }
};

// The same format for this C library: %s and %c take wide text there, %S and %C narrow text, and I64 is a long long.
std::wstring NativeFormat(const wchar_t* pwszFormat)
{
    std::wstring native;
    for (const wchar_t* p = pwszFormat; *p != L'\0';)
    {
        native += *p;
        if (*p++ != L'%')
        {
            continue;
        }
        const std::size_t uiFlags = std::wcsspn(p, L"-+ #0123456789.*");
        native.append(p, uiFlags);
        p += uiFlags;
        if (std::wcsncmp(p, L"I64", 3) == 0)
        {
            native += L"ll";
            p += 3;
        }
        else if (*p == L's' || *p == L'c')
        {
            native += L'l';
        }
        else if (*p == L'S' || *p == L'C')
        {
            native += *p++ == L'S' ? L's' : L'c';
        }
        else if (*p == L'%')
        {
            native += *p++;
        }
    }
    return native;
}

std::wstring Format(const wchar_t* pwszFormat, std::va_list arguments)
{
    constexpr std::size_t c_uiMost = 1 << 20;
    const std::wstring native = NativeFormat(pwszFormat);
    for (std::vector<wchar_t> text(512); text.size() <= c_uiMost; text.resize(4 * text.size()))
    {
        std::va_list copy;
        va_copy(copy, arguments);
        const int nLength = std::vswprintf(text.data(), text.size(), native.c_str(), copy);
        va_end(copy);
        if (nLength >= 0)
        {
            return {text.data(), static_cast<std::size_t>(nLength)};
        }
    }
    // A text that can't be made, or is too long: the format says what it was about.
    return pwszFormat;
}

const wchar_t* TextOf(const wchar_t* pwszText)
{
    return pwszText ? pwszText : L"";
}

}  // namespace

TraceLog::TraceLog()
{
    m_writers[AMF_TRACE_WRITER_CONSOLE].pWriter = &ConsoleWriter::Get();
    m_writers[AMF_TRACE_WRITER_DEBUG_OUTPUT] = {};
}

TraceLog::Writer* TraceLog::Find(const wchar_t* pwszName)
{
    const auto it = m_writers.find(TextOf(pwszName));
    return it == m_writers.end() ? nullptr : &it->second;
}

void TraceLog::TraceW(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope,
                      amf_int32 countArgs, const wchar_t* format, ...)
{
    if (countArgs == 0)
    {
        // Nothing to fill in: a percent sign is one.
        Write(srcPath, line, level, scope, TextOf(format));
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const std::wstring text = Format(TextOf(format), arguments);
    va_end(arguments);
    Write(srcPath, line, level, scope, text);
}

void TraceLog::Trace(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope,
                     const wchar_t* message, void* arguments)
{
    if (!arguments)
    {
        Write(srcPath, line, level, scope, TextOf(message));
        return;
    }
    Write(srcPath, line, level, scope, Format(TextOf(message), *static_cast<std::va_list*>(arguments)));
}

void TraceLog::Write(const wchar_t* pwszSource, amf_int32 nLine, amf_int32 nLevel, const wchar_t* pwszScope,
                     const std::wstring& text)
{
    const std::lock_guard lock(m_mutex);
    if (nLevel > m_nGlobalLevel)
    {
        return;
    }
    const std::wstring source = pwszSource ? std::wstring(pwszSource) + L"(" + std::to_wstring(nLine) + L"): " : L"";
    const std::wstring line =
        std::wstring(2 * static_cast<std::size_t>(std::max(m_nIndentation, 0)), L' ') + source + text;
    for (const auto& [name, writer] : m_writers)
    {
        const auto it = writer.levelsOfScopes.find(TextOf(pwszScope));
        const amf_int32 nMost = it == writer.levelsOfScopes.end() ? writer.nLevel : it->second;
        if (writer.bEnabled && writer.pWriter && nLevel <= nMost)
        {
            writer.pWriter->Write(TextOf(pwszScope), line.c_str());
        }
    }
}

amf_int32 TraceLog::SetGlobalLevel(amf_int32 level)
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_nGlobalLevel, level);
}

amf_int32 TraceLog::GetGlobalLevel()
{
    const std::lock_guard lock(m_mutex);
    return m_nGlobalLevel;
}

amf_bool TraceLog::EnableWriter(const wchar_t* writerID, amf_bool enable)
{
    const std::lock_guard lock(m_mutex);
    Writer* const pWriter = Find(writerID);
    return pWriter && std::exchange(pWriter->bEnabled, enable);
}

amf_bool TraceLog::WriterEnabled(const wchar_t* writerID)
{
    const std::lock_guard lock(m_mutex);
    const Writer* const pWriter = Find(writerID);
    return pWriter && pWriter->bEnabled;
}

AMF_RESULT TraceLog::TraceEnableAsync(amf_bool /*enable*/)
{
    return AMF_OK;
}

AMF_RESULT TraceLog::TraceFlush()
{
    const std::lock_guard lock(m_mutex);
    for (const auto& [name, writer] : m_writers)
    {
        if (writer.bEnabled && writer.pWriter)
        {
            writer.pWriter->Flush();
        }
    }
    return AMF_OK;
}

AMF_RESULT TraceLog::SetPath(const wchar_t* path)
{
    const std::lock_guard lock(m_mutex);
    m_path = TextOf(path);
    return AMF_OK;
}

AMF_RESULT TraceLog::GetPath(wchar_t* path, amf_size* pSize)
{
    if (!pSize)
    {
        return AMF_INVALID_POINTER;
    }
    const std::lock_guard lock(m_mutex);
    const amf_size uiHas = std::exchange(*pSize, m_path.size() + 1);
    if (!path || uiHas < *pSize)
    {
        return AMF_OUT_OF_RANGE;
    }
    std::wmemcpy(path, m_path.c_str(), *pSize);
    return AMF_OK;
}

amf_int32 TraceLog::SetWriterLevel(const wchar_t* writerID, amf_int32 level)
{
    const std::lock_guard lock(m_mutex);
    Writer* const pWriter = Find(writerID);
    return pWriter ? std::exchange(pWriter->nLevel, level) : AMF_TRACE_NOLOG;
}

amf_int32 TraceLog::GetWriterLevel(const wchar_t* writerID)
{
    const std::lock_guard lock(m_mutex);
    const Writer* const pWriter = Find(writerID);
    return pWriter ? pWriter->nLevel : AMF_TRACE_NOLOG;
}

amf_int32 TraceLog::SetWriterLevelForScope(const wchar_t* writerID, const wchar_t* scope, amf_int32 level)
{
    const std::lock_guard lock(m_mutex);
    Writer* const pWriter = Find(writerID);
    if (!pWriter)
    {
        return AMF_TRACE_NOLOG;
    }
    const auto [it, bNew] = pWriter->levelsOfScopes.try_emplace(TextOf(scope), pWriter->nLevel);
    return std::exchange(it->second, level);
}

amf_int32 TraceLog::GetWriterLevelForScope(const wchar_t* writerID, const wchar_t* scope)
{
    const std::lock_guard lock(m_mutex);
    const Writer* const pWriter = Find(writerID);
    if (!pWriter)
    {
        return AMF_TRACE_NOLOG;
    }
    const auto it = pWriter->levelsOfScopes.find(TextOf(scope));
    return it == pWriter->levelsOfScopes.end() ? pWriter->nLevel : it->second;
}

amf_int32 TraceLog::GetIndentation()
{
    const std::lock_guard lock(m_mutex);
    return m_nIndentation;
}

void TraceLog::Indent(amf_int32 addIndent)
{
    const std::lock_guard lock(m_mutex);
    m_nIndentation += addIndent;
}

void TraceLog::RegisterWriter(const wchar_t* writerID, AMFTraceWriter* pWriter, amf_bool enable)
{
    const std::lock_guard lock(m_mutex);
    Writer& writer = m_writers[TextOf(writerID)];
    writer.pWriter = pWriter;
    writer.bEnabled = enable;
}

void TraceLog::UnregisterWriter(const wchar_t* writerID)
{
    const std::lock_guard lock(m_mutex);
    m_writers.erase(TextOf(writerID));
}

const wchar_t* TraceLog::GetResultText(AMF_RESULT result)
{
    return ResultName(result);
}

const wchar_t* TraceLog::SurfaceGetFormatName(AMF_SURFACE_FORMAT format)
{
    return SurfaceFormatName(format);
}

AMF_SURFACE_FORMAT TraceLog::SurfaceGetFormatByName(const wchar_t* name)
{
    return SurfaceFormatOf(name);
}

const wchar_t* TraceLog::GetMemoryTypeName(AMF_MEMORY_TYPE type)
{
    return MemoryTypeName(type);
}

AMF_MEMORY_TYPE TraceLog::GetMemoryTypeByName(const wchar_t* name)
{
    return MemoryTypeOf(name);
}

const wchar_t* TraceLog::GetSampleFormatName(AMF_AUDIO_FORMAT format)
{
    return AudioFormatName(format);
}

AMF_AUDIO_FORMAT TraceLog::GetSampleFormatByName(const wchar_t* name)
{
    return AudioFormatOf(name);
}

}  // namespace amfruntime
