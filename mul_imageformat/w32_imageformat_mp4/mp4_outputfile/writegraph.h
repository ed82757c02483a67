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

// Makes a graph whose source takes its pictures from handover, which outlives it. The session isn't started. A negative
// result leaves the graph empty: MF_E_TOPO_CODEC_NOT_FOUND where there is no H.264 encoder to write with.
HRESULT BuildWriteGraph(SWriteGraph& graph, CPictureHandover& handover);

// Gives the references back.
void ReleaseWriteGraph(SWriteGraph& graph);

// Asks the session to start, or to start again after a stop.
HRESULT StartFromBeginning(IMFMediaSession* pSession);

// Plays the topology until the session ends or fails. Sets hStarted each time that the session tells it has started,
// after a restart too. The failing call's result or the session's own status; S_OK when it ended by itself.
HRESULT RunSession(IMFMediaSession* pSession, IMFTopology* pTopology, HANDLE hStarted);
