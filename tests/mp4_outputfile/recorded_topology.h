// A media source and topologies whose calls are recorded, and of which one fails where a test asks for it. A program
// that links this has these topologies in the place of the system's.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include <mfidl.h>

struct SRecordedStream
{
    bool m_bSelected = true;
    GUID m_guidMajorType;
};

// As long as it lives, one at a time: what the source and the topologies are asked, in order, each call as "object:
// call arguments". Not safe from several threads.
class CTopologyRecord
{
public:
    explicit CTopologyRecord(std::vector<SRecordedStream> vStreams);
    ~CTopologyRecord();
    CTopologyRecord(const CTopologyRecord&) = delete;
    CTopologyRecord& operator=(const CTopologyRecord&) = delete;

    // A source with the streams, owned by this object. Only its presentation can be asked for.
    IMFMediaSource* Source();
    ULONG CountSourceReferences() const;
    // The name of an object that isn't made here, in the arguments of calls.
    void Name(IUnknown* pObject, const std::string& strName) { m_mapNames[pObject] = strName; }
    // The call of that number, counted from 0, does nothing and gives hr.
    void FailCall(std::size_t uiCall, HRESULT hr);

    std::vector<std::string> m_vCalls;
    int m_nObjects = 0;  // topologies, nodes, descriptors and handlers that live

    // --- for the objects ---

    // Notes a call. S_OK, or what it is to fail with.
    HRESULT Note(const std::string& strCall);
    std::string NameOf(IUnknown* pObject) const;
    const std::vector<SRecordedStream> m_vStreams;

private:
    class CSource;
    std::map<IUnknown*, std::string> m_mapNames{{nullptr, "nothing"}};
    std::size_t m_uiFailedCall = static_cast<std::size_t>(-1);
    HRESULT m_hrFailed = S_OK;
    std::unique_ptr<CSource> m_pSource;
};
