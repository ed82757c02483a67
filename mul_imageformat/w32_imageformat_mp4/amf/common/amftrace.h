// The trace of the AMF runtime, for callers that have no factory.
//
// The runtime is found at the first call, and the object is kept while an AMFFactoryHelper keeps the runtime loaded.
// When none does, each call loads it for itself. Without a runtime the functions do nothing. For any thread that keeps
// the helper from ending.
#pragma once

#include <atomic>
#include <string>

#include "abi/amf/amf.h"

// The singletons found so far. Null at first, and again when the runtime is unloaded.
extern std::atomic<AMFTrace*> g_AMFTrace;
extern std::atomic<AMFDebug*> g_AMFDebug;

// Switches a writer of the trace on or off. The writer's former state; false without a runtime.
bool AMFTraceEnableWriter(const wchar_t* pwszWriter, bool bEnable);

// Writes a line. It holds no per cent sign: the runtime takes it as a format.
void AMFTraceW(const wchar_t* pwszSource, std::int32_t nLine, std::int32_t nLevel, const wchar_t* pwszScope,
               const wchar_t* pwszText);

// Whether the runtime checks its own assertions, and the switch for it.
bool AMFAssertsEnabled();
void AMFAssertsEnable(bool bEnable);

// "AMF_ERROR %d : %s: " of the result and the runtime's text for it, which is empty without a runtime. May throw
// std::bad_alloc.
std::wstring AMFFormatResult(AMF_RESULT eResult);

// For the helper, around the time in which it keeps the runtime loaded. The second forgets what was found.
void AMFTraceRuntimeLoaded();
void AMFTraceRuntimeUnloads();
