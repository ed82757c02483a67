// The Media Foundation graph that encodes and writes one file.
#pragma once

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>

class CPictureHandover;
struct SEncoderSettings;

// One reference each, null where there is none.
struct SWriteGraph
{
    IMFMediaSession* m_pSession = nullptr;
    IMFMediaSource* m_pSource = nullptr;
    IMFTopology* m_pTopology = nullptr;
};

// Makes a graph whose source takes its pictures from handover, and the target file. The session isn't started. The
// source uses handover until source and session have been shut down and released.
//
// S_OK, or what failed: MF_E_TOPO_CODEC_NOT_FOUND where there is no H.264 encoder to write with. May throw
// std::bad_alloc. What the graph holds after a failure is the caller's to end.
HRESULT BuildWriteGraph(SWriteGraph& graph, const SEncoderSettings& settings, CPictureHandover& handover);

// A graph ends in three steps, in this order: its file is finished, nothing plays any more, the references are gone.
// What a graph hasn't got is left out.
void FinalizeWriteGraph(SWriteGraph& graph);
void ShutDownWriteGraph(const SWriteGraph& graph, CPictureHandover& handover);
void ReleaseWriteGraph(SWriteGraph& graph);

// Asks the session to start, or to start again after a stop.
HRESULT StartFromBeginning(IMFMediaSession* pSession);

// Plays the topology until the session ends or fails. Sets hStarted each time that the session reports a start, after a
// restart too. The failing call's result or the session's own status; S_OK when it ended by itself.
HRESULT RunSession(IMFMediaSession* pSession, IMFTopology* pTopology, HANDLE hStarted);
