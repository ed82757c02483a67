// The Media Foundation graph that encodes and writes one file.
#pragma once

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>

class CPictureHandover;

// One reference each, null where there is none.
struct SWriteGraph
{
    IMFMediaSession* m_pSession = nullptr;
    IMFMediaSource* m_pSource = nullptr;
    IMFTopology* m_pTopology = nullptr;
};

// Makes a graph whose source takes its pictures from handover. The session isn't started. No call of the source is
// under way any more when source and session have been shut down and released: handover goes then.
//
// S_OK, or what failed: MF_E_TOPO_CODEC_NOT_FOUND where there is no H.264 encoder to write with. May throw
// std::bad_alloc. What the graph holds after a failure is the caller's to end.
HRESULT BuildWriteGraph(SWriteGraph& graph, CPictureHandover& handover);

// Gives the references back.
void ReleaseWriteGraph(SWriteGraph& graph);

// Asks the session to start, or to start again after a stop.
HRESULT StartFromBeginning(IMFMediaSession* pSession);

// Plays the topology until the session ends or fails. Sets hStarted each time that the session tells it has started,
// after a restart too. The failing call's result or the session's own status; S_OK when it ended by itself.
HRESULT RunSession(IMFMediaSession* pSession, IMFTopology* pTopology, HANDLE hStarted);
