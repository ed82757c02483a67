// The factory, with the trace and the debug object. They live as long as the file is loaded and are not counted.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "runtimes/amf/trace.h"

namespace amfruntime
{

// Two switches. Nothing is measured and nothing asserted, whatever they say.
class Debug final : public AMFDebug
{
public:
    virtual ~Debug() = default;

    void EnablePerformanceMonitor(amf_bool enable) override { m_bMonitor = enable; }
    amf_bool PerformanceMonitorEnabled() override { return m_bMonitor; }
    void AssertsEnable(amf_bool enable) override { m_bAsserts = enable; }
    amf_bool AssertsEnabled() override { return m_bAsserts; }

private:
    std::atomic<bool> m_bMonitor = false;
    std::atomic<bool> m_bAsserts = false;
};

// Any thread.
class Factory final : public AMFFactory
{
public:
    static Factory& Get();
    virtual ~Factory() = default;

    AMF_RESULT CreateContext(AMFContext** ppContext) override;
    // "AMFVideoConverter" and "AMFVideoEncoderVCE_AVC". The context is one of this factory's.
    AMF_RESULT CreateComponent(AMFContext* pContext, const wchar_t* id, AMFComponent** ppComponent) override;
    // Kept and given back: there is no cache.
    AMF_RESULT SetCacheFolder(const wchar_t* path) override;
    // Good until the next SetCacheFolder.
    const wchar_t* GetCacheFolder() override;
    AMF_RESULT GetDebug(AMFDebug** ppDebug) override;
    AMF_RESULT GetTrace(AMFTrace** ppTrace) override;
    AMF_RESULT GetPrograms(AMFPrograms** ppPrograms) override;

private:
    Debug m_debug;
    TraceLog m_trace;
    std::mutex m_mutex;
    std::wstring m_cacheFolder;
};

}  // namespace amfruntime
