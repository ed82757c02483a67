// The Media Foundation objects that read one file: a source, a grabber of samples, and the session between them.
#pragma once

#include <atomic>

#include <windows.h>

#include <mfidl.h>

#include "hostapi/iqminputimagefile.h"
#include "mp4filesimpl/samplegrabber.h"

// One reference each, null where there is none. A failed operation leaves what it made so far.
class CReadGraph
{
public:
    CReadGraph() = default;
    // Precondition: ShutDown was called if a session or a source is there.
    ~CReadGraph() { Release(); }
    CReadGraph(const CReadGraph&) = delete;
    CReadGraph& operator=(const CReadGraph&) = delete;

    // A graph that counts samples, for a sink that asks for guidSubtype. The session has its topology.
    HRESULT MakeForCounting(const wchar_t* pwszPath, REFGUID guidSubtype);

    // A graph that stores frames. *pbStop is the flag that says that the input file is closing. Fills in the shape of
    // the pictures; *pbShape says whether the file has one. The session gets the topology with SetTopology.
    HRESULT MakeForFrames(const wchar_t* pwszPath, std::atomic<bool>* pbStop, SQmImageAttributes* pAttributes,
                          bool* pbShape);
    HRESULT SetTopology();

    // Takes over a session and a grabber that the caller made, with its references, and connects them. Tests read
    // through scripted sessions this way.
    void Adopt(IMFMediaSession* pSession, SampleGrabberCB* pGrabber, std::atomic<bool>* pbStop, bool bNV12);

    // Source first, then session.
    void ShutDown();
    void Release();

    // Whether a source could be made of the file.
    bool HasSource() const { return m_pSource != nullptr; }
    IMFMediaSession* GetSession() const { return m_pSession; }
    // Null without a grabber.
    CFrameStore* GetStore() const { return m_pGrabber != nullptr ? &m_pGrabber->GetStore() : nullptr; }

private:
    HRESULT MakeSink();

    IMFMediaSession* m_pSession = nullptr;
    IMFMediaSource* m_pSource = nullptr;     // the file
    SampleGrabberCB* m_pGrabber = nullptr;   // holds the frame store
    IMFActivate* m_pSinkActivate = nullptr;  // creates the sink that calls the grabber
    IMFTopology* m_pTopology = nullptr;      // from the video stream to the sink
    IMFMediaType* m_pMediaType = nullptr;    // what the sink asks for
};
