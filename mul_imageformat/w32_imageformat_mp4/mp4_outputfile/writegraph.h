// The Media Foundation graph that encodes and writes one file.
#pragma once

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>
#include <mftransform.h>

class CPictureHandover;
struct SEncoderSettings;

// One reference each, null where there is none.
struct SWriteGraph
{
    IMFMediaSession* m_pSession = nullptr;
    IMFMediaSource* m_pSource = nullptr;  // takes the pictures from the hand-over
    IMFMediaSink* m_pSink = nullptr;      // writes the file
    IMFStreamSink* m_pStreamSink = nullptr;
    IMFTopology* m_pTopology = nullptr;
    IMFMediaType* m_pOutputType = nullptr;  // given to nothing
    IMFTransform* m_pEncoderTransform = nullptr;
    IMFByteStream* m_pByteStream = nullptr;  // the file
};

// Makes a graph whose source takes its pictures from handover, and the target file, which replaces an existing one. The
// session isn't started. The source uses handover until it is destroyed.
//
// S_OK, or what failed: without an H.264 encoder its source can't be connected. May throw std::bad_alloc. What the
// graph holds after a failure is the caller's to end.
HRESULT BuildWriteGraph(SWriteGraph& graph, const SEncoderSettings& settings, CPictureHandover& handover);

// A graph ends in three steps, in this order: its file is finished, nothing plays any more, the references are gone.
// What a graph hasn't got is left out. pwszPath is the target.
void FinalizeWriteGraph(SWriteGraph& graph, const wchar_t* pwszPath);
void ShutDownWriteGraph(const SWriteGraph& graph, CPictureHandover& handover);
void ReleaseWriteGraph(SWriteGraph& graph);

// Gives back the caller's reference on a source that was shut down. False when others still hold the source two seconds
// later: what is left of a session may call it at any time then.
bool ReleaseLastReference(IMFMediaSource* pSource);

// Asks the session to start, or to start again after a stop.
HRESULT StartFromBeginning(IMFMediaSession* pSession);

// Plays the topology until the session ends or fails. Sets hStarted each time that the session reports a start, after a
// restart too. The failing call's result or the session's own status; S_OK when it ended by itself.
HRESULT RunSession(IMFMediaSession* pSession, IMFTopology* pTopology, HANDLE hStarted);
