#include "recorded_topology.h"

#include <atomic>

#include <mfapi.h>

#include "support/no_attributes.h"

namespace
{

CTopologyRecord* g_pRecord = nullptr;

std::string NameOfKey(REFGUID guidKey)
{
    if (guidKey == MF_TOPONODE_SOURCE) return "MF_TOPONODE_SOURCE";
    if (guidKey == MF_TOPONODE_PRESENTATION_DESCRIPTOR) return "MF_TOPONODE_PRESENTATION_DESCRIPTOR";
    if (guidKey == MF_TOPONODE_STREAM_DESCRIPTOR) return "MF_TOPONODE_STREAM_DESCRIPTOR";
    if (guidKey == MF_TOPONODE_WORKQUEUE_ID) return "MF_TOPONODE_WORKQUEUE_ID";
    if (guidKey == MF_TOPONODE_NOSHUTDOWN_ON_REMOVE) return "MF_TOPONODE_NOSHUTDOWN_ON_REMOVE";
    return "another key";
}

std::string NameOfType(MF_TOPOLOGY_TYPE eType)
{
    if (eType == MF_TOPOLOGY_SOURCESTREAM_NODE) return "source node";
    if (eType == MF_TOPOLOGY_TRANSFORM_NODE) return "transform node";
    if (eType == MF_TOPOLOGY_OUTPUT_NODE) return "output node";
    return "another node";
}

// Begins with one reference and is gone after its last release.
template <typename TInterface>
class CRecorded : public TInterface
{
public:
    explicit CRecorded(const std::string& strName) : m_strName(strName)
    {
        ++g_pRecord->m_nObjects;
        g_pRecord->Name(this, strName);
    }
    virtual ~CRecorded() { --g_pRecord->m_nObjects; }

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG nLeft = --m_nRefCount;
        if (nLeft == 0) delete this;
        return nLeft;
    }

protected:
    HRESULT Note(const std::string& strCall) { return g_pRecord->Note(m_strName + ": " + strCall); }

private:
    const std::string m_strName;
    std::atomic<ULONG> m_nRefCount{1};
};

// --- the source's descriptors ---

class CHandler : public CRecorded<IMFMediaTypeHandler>
{
public:
    CHandler(const std::string& strName, REFGUID guidMajorType) : CRecorded(strName), m_guidMajorType(guidMajorType) {}

    STDMETHODIMP IsMediaTypeSupported(IMFMediaType*, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeCount(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeByIndex(DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP SetCurrentMediaType(IMFMediaType*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCurrentMediaType(IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetMajorType(GUID* pguidMajorType) override
    {
        const HRESULT hr = Note("GetMajorType");
        if (SUCCEEDED(hr)) *pguidMajorType = m_guidMajorType;
        return hr;
    }

private:
    const GUID m_guidMajorType;
};

class CStream : public CRecorded<CNoAttributes<IMFStreamDescriptor>>
{
public:
    CStream(const std::string& strName, REFGUID guidMajorType)
        : CRecorded(strName), m_strHandler("handler of " + strName), m_guidMajorType(guidMajorType)
    {}

    STDMETHODIMP GetStreamIdentifier(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler** ppHandler) override
    {
        const HRESULT hr = Note("GetMediaTypeHandler");
        if (SUCCEEDED(hr)) *ppHandler = new CHandler(m_strHandler, m_guidMajorType);
        return hr;
    }

private:
    const std::string m_strHandler;
    const GUID m_guidMajorType;
};

class CPresentation : public CRecorded<CNoAttributes<IMFPresentationDescriptor>>
{
public:
    CPresentation() : CRecorded("presentation") {}

    STDMETHODIMP GetStreamDescriptorCount(DWORD* pdwCount) override
    {
        const HRESULT hr = Note("GetStreamDescriptorCount");
        if (SUCCEEDED(hr)) *pdwCount = static_cast<DWORD>(g_pRecord->m_vStreams.size());
        return hr;
    }
    STDMETHODIMP GetStreamDescriptorByIndex(DWORD dwIndex, BOOL* pbSelected, IMFStreamDescriptor** ppStream) override
    {
        const HRESULT hr = Note("GetStreamDescriptorByIndex " + std::to_string(dwIndex));
        if (FAILED(hr)) return hr;
        const SRecordedStream& stream = g_pRecord->m_vStreams.at(dwIndex);
        *pbSelected = stream.m_bSelected ? TRUE : FALSE;
        *ppStream = new CStream("stream " + std::to_string(dwIndex), stream.m_guidMajorType);
        return S_OK;
    }
    STDMETHODIMP SelectStream(DWORD dwIndex) override { return Note("SelectStream " + std::to_string(dwIndex)); }
    STDMETHODIMP DeselectStream(DWORD dwIndex) override { return Note("DeselectStream " + std::to_string(dwIndex)); }
    STDMETHODIMP Clone(IMFPresentationDescriptor**) override { return E_NOTIMPL; }
};

// --- the topology ---

class CNode : public CRecorded<CNoAttributes<IMFTopologyNode>>
{
public:
    explicit CNode(const std::string& strName) : CRecorded(strName) {}

    STDMETHODIMP SetUINT32(REFGUID guidKey, UINT32 uiValue) override
    {
        return Note("SetUINT32 " + NameOfKey(guidKey) + " " + std::to_string(uiValue));
    }
    STDMETHODIMP SetUnknown(REFGUID guidKey, IUnknown* pObject) override
    {
        return Note("SetUnknown " + NameOfKey(guidKey) + " " + g_pRecord->NameOf(pObject));
    }

    STDMETHODIMP SetObject(IUnknown* pObject) override { return Note("SetObject " + g_pRecord->NameOf(pObject)); }
    STDMETHODIMP GetObject(IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP GetNodeType(MF_TOPOLOGY_TYPE*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTopoNodeID(TOPOID*) override { return E_NOTIMPL; }
    STDMETHODIMP SetTopoNodeID(TOPOID) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputCount(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputCount(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP ConnectOutput(DWORD dwOutput, IMFTopologyNode* pNode, DWORD dwInput) override
    {
        const HRESULT hr = Note("ConnectOutput " + std::to_string(dwOutput) + " to " + g_pRecord->NameOf(pNode) + " " +
                                std::to_string(dwInput));
        return SUCCEEDED(hr) && pNode == nullptr ? E_INVALIDARG : hr;
    }
    STDMETHODIMP DisconnectOutput(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetInput(DWORD, IMFTopologyNode**, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutput(DWORD, IMFTopologyNode**, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP SetOutputPrefType(DWORD, IMFMediaType*) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputPrefType(DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP SetInputPrefType(DWORD, IMFMediaType*) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputPrefType(DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP CloneFrom(IMFTopologyNode*) override { return E_NOTIMPL; }
};

class CTopology : public CRecorded<CNoAttributes<IMFTopology>>
{
public:
    CTopology() : CRecorded("topology") {}
    ~CTopology() override
    {
        for (IMFTopologyNode* pNode : m_vNodes)
            pNode->Release();
    }

    STDMETHODIMP GetTopologyID(TOPOID*) override { return E_NOTIMPL; }
    STDMETHODIMP AddNode(IMFTopologyNode* pNode) override
    {
        const HRESULT hr = Note("AddNode " + g_pRecord->NameOf(pNode));
        if (FAILED(hr)) return hr;
        pNode->AddRef();
        m_vNodes.push_back(pNode);
        return S_OK;
    }
    STDMETHODIMP RemoveNode(IMFTopologyNode*) override { return E_NOTIMPL; }
    STDMETHODIMP GetNodeCount(WORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetNode(WORD, IMFTopologyNode**) override { return E_NOTIMPL; }
    STDMETHODIMP Clear() override { return E_NOTIMPL; }
    STDMETHODIMP CloneFrom(IMFTopology*) override { return E_NOTIMPL; }
    STDMETHODIMP GetNodeByID(TOPOID, IMFTopologyNode**) override { return E_NOTIMPL; }
    STDMETHODIMP GetSourceNodeCollection(IMFCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputNodeCollection(IMFCollection**) override { return E_NOTIMPL; }

private:
    std::vector<IMFTopologyNode*> m_vNodes;
};

}  // namespace

class CTopologyRecord::CSource : public IMFMediaSource
{
public:
    virtual ~CSource() = default;

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_nRefCount; }

    STDMETHODIMP GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCharacteristics(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP CreatePresentationDescriptor(IMFPresentationDescriptor** ppPresentation) override
    {
        const HRESULT hr = g_pRecord->Note("source: CreatePresentationDescriptor");
        if (SUCCEEDED(hr)) *ppPresentation = new CPresentation;
        return hr;
    }
    STDMETHODIMP Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override { return E_NOTIMPL; }

    std::atomic<ULONG> m_nRefCount{1};
};

CTopologyRecord::CTopologyRecord(std::vector<SRecordedStream> vStreams)
    : m_vStreams(std::move(vStreams)), m_pSource(std::make_unique<CSource>())
{
    g_pRecord = this;
    Name(m_pSource.get(), "source");
}

CTopologyRecord::~CTopologyRecord()
{
    g_pRecord = nullptr;
}

IMFMediaSource* CTopologyRecord::Source()
{
    return m_pSource.get();
}

ULONG CTopologyRecord::CountSourceReferences() const
{
    return m_pSource->m_nRefCount;
}

void CTopologyRecord::FailCall(std::size_t uiCall, HRESULT hr)
{
    m_uiFailedCall = uiCall;
    m_hrFailed = hr;
}

HRESULT CTopologyRecord::Note(const std::string& strCall)
{
    m_vCalls.push_back(strCall);
    return m_vCalls.size() - 1 == m_uiFailedCall ? m_hrFailed : S_OK;
}

std::string CTopologyRecord::NameOf(IUnknown* pObject) const
{
    const auto itName = m_mapNames.find(pObject);
    return itName != m_mapNames.end() ? itName->second : "another object";
}

// --- in place of the system's ---

STDAPI MFCreateTopology(IMFTopology** ppTopology)
{
    const HRESULT hr = g_pRecord->Note("MFCreateTopology");
    if (SUCCEEDED(hr)) *ppTopology = new CTopology;
    return hr;
}

STDAPI MFCreateTopologyNode(MF_TOPOLOGY_TYPE eType, IMFTopologyNode** ppNode)
{
    const HRESULT hr = g_pRecord->Note("MFCreateTopologyNode " + NameOfType(eType));
    if (SUCCEEDED(hr)) *ppNode = new CNode(NameOfType(eType));
    return hr;
}
