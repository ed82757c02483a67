// Failures of the writing side on demand, for tests of what uses it.
#pragma once

#include "windef.h"

enum class MediaWriteCall
{
    CreateMediaType,  // MFCreateMediaType, also for what reads
    CreateFile,       // MFCreateFile
    CreateSession,    // MFCreateMediaSession, also for what reads
    FindEncoder,      // MFTEnumEx; S_FALSE: it finds none
    ActivateEncoder,  // IMFActivate::ActivateObject of what it finds
    SetOutputType,    // of the encoder
    SetInputType,     // of the encoder
    EncodeSample,     // IMFTransform::ProcessInput of the encoder
    CreateSink,       // MFCreateMPEG4MediaSink
    GetStreamSink,    // IMFMediaSink::GetStreamSinkByIndex of the sink
    CreateTopology,   // MFCreateTopology, also for what reads
    SetTopology,      // IMFMediaSession::SetTopology, also for what reads
    WriteSample,      // IMFStreamSink::ProcessSample of the sink
    BeginFinalize,    // of the sink
    Finalize,         // the sink's work between BeginFinalize and its callback
    Count
};

// Before a test, and after it: no call fails on demand any more, nothing is held, and the counts start at 0 again.
EXTERN_C WINBASEAPI void MediaWriteScript_Reset();
// The n-th call from now on (1 is the next) of that operation, in any object, gives hr and has no effect; those before
// and after it work. One failure per operation is under way at a time, the last one asked for. Safe from any thread.
EXTERN_C WINBASEAPI void MediaWriteScript_FailCall(MediaWriteCall eCall, unsigned uiNth, HRESULT hr);
// Calls of that operation since the last reset, failed ones included.
EXTERN_C WINBASEAPI unsigned MediaWriteScript_CallCount(MediaWriteCall eCall);
// While it is held, the work between BeginFinalize and its callback waits before it does anything.
EXTERN_C WINBASEAPI void MediaWriteScript_HoldFinalize(BOOL bHold);
