// The trace: lines of clients, to the writers that are enabled for them. The runtime itself writes none.
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "abi/amf/amf.h"

namespace amfruntime
{

// Any thread. Writers are called under the trace's lock, so that a line is whole; they must not use the trace.
//
// A line goes to a writer if its level isn't above the global level, nor above that of the writer for the line's scope,
// or else of the writer. All levels are AMF_TRACE_INFO at first, and no writer is enabled. "Console" writes to standard
// error. "DebugOutput" can be enabled and leads nowhere here, where there is no debugger's window. "File" can't be
// enabled.
class TraceLog final : public AMFTrace
{
public:
    TraceLog();
    virtual ~TraceLog() = default;

    // %s takes wide text, as everywhere in this interface.
    void TraceW(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope, amf_int32 countArgs,
                const wchar_t* format, ...) override;
    void Trace(const wchar_t* srcPath, amf_int32 line, amf_int32 level, const wchar_t* scope, const wchar_t* message,
               void* arguments) override;
    // These return what was in effect before.
    amf_int32 SetGlobalLevel(amf_int32 level) override;
    amf_bool EnableWriter(const wchar_t* writerID, amf_bool enable) override;
    amf_int32 SetWriterLevel(const wchar_t* writerID, amf_int32 level) override;
    amf_int32 SetWriterLevelForScope(const wchar_t* writerID, const wchar_t* scope, amf_int32 level) override;

    amf_int32 GetGlobalLevel() override;
    amf_bool WriterEnabled(const wchar_t* writerID) override;
    amf_int32 GetWriterLevel(const wchar_t* writerID) override;
    amf_int32 GetWriterLevelForScope(const wchar_t* writerID, const wchar_t* scope) override;

    // Lines are written before the call returns, always.
    AMF_RESULT TraceEnableAsync(amf_bool enable) override;
    AMF_RESULT TraceFlush() override;
    AMF_RESULT SetPath(const wchar_t* path) override;
    // *pSize counts characters: what path has on entry, what it takes with its end on return.
    AMF_RESULT GetPath(wchar_t* path, amf_size* pSize) override;
    // Two blanks before each line for each step.
    amf_int32 GetIndentation() override;
    void Indent(amf_int32 addIndent) override;
    // In place of a writer of that name. It stays its client's.
    void RegisterWriter(const wchar_t* writerID, AMFTraceWriter* pWriter, amf_bool enable) override;
    void UnregisterWriter(const wchar_t* writerID) override;

    const wchar_t* GetResultText(AMF_RESULT result) override;
    const wchar_t* SurfaceGetFormatName(AMF_SURFACE_FORMAT format) override;
    AMF_SURFACE_FORMAT SurfaceGetFormatByName(const wchar_t* name) override;
    const wchar_t* GetMemoryTypeName(AMF_MEMORY_TYPE type) override;
    AMF_MEMORY_TYPE GetMemoryTypeByName(const wchar_t* name) override;
    const wchar_t* GetSampleFormatName(AMF_AUDIO_FORMAT format) override;
    AMF_AUDIO_FORMAT GetSampleFormatByName(const wchar_t* name) override;

private:
    struct Writer
    {
        AMFTraceWriter* pWriter = nullptr;  // null: the line goes nowhere
        bool bEnabled = false;
        amf_int32 nLevel = AMF_TRACE_INFO;
        std::map<std::wstring, amf_int32, std::less<>> levelsOfScopes;
    };

    Writer* Find(const wchar_t* pwszName);
    void Write(const wchar_t* pwszSource, amf_int32 nLine, amf_int32 nLevel, const wchar_t* pwszScope,
               const std::wstring& text);

    std::mutex m_mutex;
    std::map<std::wstring, Writer, std::less<>> m_writers;
    amf_int32 m_nGlobalLevel = AMF_TRACE_INFO;
    amf_int32 m_nIndentation = 0;
    std::wstring m_path;
};

}  // namespace amfruntime
