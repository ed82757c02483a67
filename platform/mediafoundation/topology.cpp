// IMFTopology and IMFTopologyNode.
#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/with_attributes.h"
#include "platform/mediafoundation/writing/script.h"

namespace mediafoundation
{
namespace
{

using platform::Answers;
using platform::ComObject;
using platform::ComPtr;
using platform::Implements;

TOPOID NextId()
{
    static std::atomic<TOPOID> s_uiLast{0};
    return ++s_uiLast;
}

// All nodes share one lock: a connection is written at both of its ends.
std::recursive_mutex& GraphLock()
{
    static std::recursive_mutex s_lock;
    return s_lock;
}

// The upstream node owns the one downstream; the way back is a plain pointer, or the two would keep each other alive.
class TopologyNode final : public WithAttributes<ComObject<Implements<IMFTopologyNode>, Answers<IMFAttributes>>>
{
public:
    explicit TopologyNode(MF_TOPOLOGY_TYPE type) : m_type(type) {}
    ~TopologyNode() override
    {
        const std::lock_guard lock(GraphLock());
        for (Output& output : m_outputs)
        {
            Unhook(output);
        }
    }

    HRESULT STDMETHODCALLTYPE SetObject(IUnknown* pObject) override
    {
        const std::lock_guard lock(GraphLock());
        m_object = ComPtr<IUnknown>(pObject);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetObject(IUnknown** ppObject) override
    {
        if (ppObject == nullptr) return E_POINTER;
        const std::lock_guard lock(GraphLock());
        m_object.CopyTo(ppObject);
        return *ppObject != nullptr ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE GetNodeType(MF_TOPOLOGY_TYPE* pType) override
    {
        if (pType == nullptr) return E_POINTER;
        *pType = m_type;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTopoNodeID(TOPOID* pID) override
    {
        if (pID == nullptr) return E_POINTER;
        const std::lock_guard lock(GraphLock());
        *pID = m_uiId;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetTopoNodeID(TOPOID ullTopoID) override
    {
        const std::lock_guard lock(GraphLock());
        m_uiId = ullTopoID;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetInputCount(DWORD* pcInputs) override
    {
        if (pcInputs == nullptr) return E_POINTER;
        const std::lock_guard lock(GraphLock());
        *pcInputs = static_cast<DWORD>(m_inputs.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetOutputCount(DWORD* pcOutputs) override
    {
        if (pcOutputs == nullptr) return E_POINTER;
        const std::lock_guard lock(GraphLock());
        *pcOutputs = static_cast<DWORD>(m_outputs.size());
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE ConnectOutput(DWORD dwOutputIndex, IMFTopologyNode* pDownstreamNode,
                                            DWORD dwInputIndexOnDownstreamNode) override
    {
        auto* pTo = dynamic_cast<TopologyNode*>(pDownstreamNode);
        if (pTo == nullptr || pTo == this) return E_INVALIDARG;
        if (m_type == MF_TOPOLOGY_OUTPUT_NODE || pTo->m_type == MF_TOPOLOGY_SOURCESTREAM_NODE) return E_FAIL;
        if (dwOutputIndex >= MAX_CONNECTIONS || dwInputIndexOnDownstreamNode >= MAX_CONNECTIONS) return E_INVALIDARG;
        return WithoutExceptions([&] {
            const std::lock_guard lock(GraphLock());
            m_outputs.resize(std::max<std::size_t>(m_outputs.size(), dwOutputIndex + std::size_t{1}));
            pTo->m_inputs.resize(
                std::max<std::size_t>(pTo->m_inputs.size(), dwInputIndexOnDownstreamNode + std::size_t{1}));
            Unhook(m_outputs[dwOutputIndex]);
            pTo->UnhookInput(dwInputIndexOnDownstreamNode);
            m_outputs[dwOutputIndex] = {ComPtr<TopologyNode>(pTo), dwInputIndexOnDownstreamNode};
            pTo->m_inputs[dwInputIndexOnDownstreamNode] = {this, dwOutputIndex};
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE DisconnectOutput(DWORD dwOutputIndex) override
    {
        const std::lock_guard lock(GraphLock());
        if (dwOutputIndex >= m_outputs.size()) return E_INVALIDARG;
        if (!m_outputs[dwOutputIndex].m_to) return MF_E_NOT_FOUND;
        Unhook(m_outputs[dwOutputIndex]);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetInput(DWORD dwInputIndex, IMFTopologyNode** ppUpstreamNode,
                                       DWORD* pdwOutputIndexOnUpstreamNode) override
    {
        if (ppUpstreamNode == nullptr || pdwOutputIndexOnUpstreamNode == nullptr) return E_POINTER;
        const std::lock_guard lock(GraphLock());
        if (dwInputIndex >= m_inputs.size()) return E_INVALIDARG;
        const Input& input = m_inputs[dwInputIndex];
        if (input.m_pFrom == nullptr) return MF_E_NOT_FOUND;
        input.m_pFrom->AddRef();
        *ppUpstreamNode = input.m_pFrom;
        *pdwOutputIndexOnUpstreamNode = input.m_dwOutput;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetOutput(DWORD dwOutputIndex, IMFTopologyNode** ppDownstreamNode,
                                        DWORD* pdwInputIndexOnDownstreamNode) override
    {
        if (ppDownstreamNode == nullptr || pdwInputIndexOnDownstreamNode == nullptr) return E_POINTER;
        const std::lock_guard lock(GraphLock());
        if (dwOutputIndex >= m_outputs.size()) return E_INVALIDARG;
        const Output& output = m_outputs[dwOutputIndex];
        if (!output.m_to) return MF_E_NOT_FOUND;
        *ppDownstreamNode = ComPtr<TopologyNode>(output.m_to).Detach();
        *pdwInputIndexOnDownstreamNode = output.m_dwInput;
        return S_OK;
    }

    // Preferred types are for transforms that offer several; the nodes here have none.
    HRESULT STDMETHODCALLTYPE SetOutputPrefType(DWORD, IMFMediaType*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetOutputPrefType(DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetInputPrefType(DWORD, IMFMediaType*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetInputPrefType(DWORD, IMFMediaType**) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE CloneFrom(IMFTopologyNode* pNode) override
    {
        auto* pOther = dynamic_cast<TopologyNode*>(pNode);
        if (pOther == nullptr || pOther->m_type != m_type) return E_INVALIDARG;
        const std::lock_guard lock(GraphLock());
        m_object = pOther->m_object;
        m_uiId = pOther->m_uiId;
        return pOther->CopyAllItems(this);
    }

private:
    static constexpr DWORD MAX_CONNECTIONS = 64;  // per node and direction

    struct Output
    {
        ComPtr<TopologyNode> m_to;
        DWORD m_dwInput = 0;
    };
    struct Input
    {
        TopologyNode* m_pFrom = nullptr;
        DWORD m_dwOutput = 0;
    };

    static void Unhook(Output& output)
    {
        if (output.m_to) output.m_to->m_inputs[output.m_dwInput] = {};
        output = {};
    }
    void UnhookInput(DWORD dwInput)
    {
        const Input input = m_inputs[dwInput];
        if (input.m_pFrom != nullptr) Unhook(input.m_pFrom->m_outputs[input.m_dwOutput]);
    }

    const MF_TOPOLOGY_TYPE m_type;
    TOPOID m_uiId = NextId();
    ComPtr<IUnknown> m_object;
    std::vector<Output> m_outputs;
    std::vector<Input> m_inputs;
};

class Topology final : public WithAttributes<ComObject<Implements<IMFTopology>, Answers<IMFAttributes>>>
{
public:
    HRESULT STDMETHODCALLTYPE GetTopologyID(TOPOID* pID) override
    {
        if (pID == nullptr) return E_POINTER;
        *pID = m_uiId;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE AddNode(IMFTopologyNode* pNode) override
    {
        if (pNode == nullptr) return E_POINTER;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            if (m_nodes.size() >= MAX_NODES || Locate(pNode) != m_nodes.end()) return E_INVALIDARG;
            m_nodes.emplace_back(pNode);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE RemoveNode(IMFTopologyNode* pNode) override
    {
        const std::lock_guard lock(m_lock);
        const auto it = Locate(pNode);
        if (it == m_nodes.end()) return E_INVALIDARG;
        m_nodes.erase(it);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetNodeCount(WORD* pwNodes) override
    {
        if (pwNodes == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        *pwNodes = static_cast<WORD>(m_nodes.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetNode(WORD wIndex, IMFTopologyNode** ppNode) override
    {
        if (ppNode == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        return wIndex < m_nodes.size() ? m_nodes[wIndex].CopyTo(ppNode) : MF_E_INVALIDINDEX;
    }
    HRESULT STDMETHODCALLTYPE Clear() override
    {
        const std::lock_guard lock(m_lock);
        m_nodes.clear();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetNodeByID(TOPOID qwTopoNodeID, IMFTopologyNode** ppNode) override
    {
        if (ppNode == nullptr) return E_POINTER;
        const std::lock_guard lock(m_lock);
        for (const ComPtr<IMFTopologyNode>& node : m_nodes)
        {
            TOPOID uiId = 0;
            if (SUCCEEDED(node->GetTopoNodeID(&uiId)) && uiId == qwTopoNodeID) return node.CopyTo(ppNode);
        }
        return MF_E_NOT_FOUND;
    }

    // Copies of topologies and collections of nodes are for those who edit graphs; GetNode serves for looking at one.
    HRESULT STDMETHODCALLTYPE CloneFrom(IMFTopology*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSourceNodeCollection(IMFCollection**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetOutputNodeCollection(IMFCollection**) override { return E_NOTIMPL; }

private:
    static constexpr std::size_t MAX_NODES = 0xffff;

    std::vector<ComPtr<IMFTopologyNode>>::iterator Locate(const IMFTopologyNode* pNode)
    {
        return std::find_if(m_nodes.begin(), m_nodes.end(), [&](const auto& node) { return node.Get() == pNode; });
    }

    const TOPOID m_uiId = NextId();
    std::mutex m_lock;
    std::vector<ComPtr<IMFTopologyNode>> m_nodes;
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateTopology(IMFTopology** ppTopo)
{
    if (ppTopo == nullptr) return E_POINTER;
    const HRESULT hrScript = mediafoundation::ScriptedResult(MediaWriteCall::CreateTopology);
    if (FAILED(hrScript)) return hrScript;
    return mediafoundation::WithoutExceptions([&] {
        *ppTopo = new mediafoundation::Topology();
        return S_OK;
    });
}

STDAPI MFCreateTopologyNode(MF_TOPOLOGY_TYPE NodeType, IMFTopologyNode** ppNode)
{
    if (ppNode == nullptr) return E_POINTER;
    if (NodeType > MF_TOPOLOGY_TEE_NODE) return E_INVALIDARG;
    return mediafoundation::WithoutExceptions([&] {
        *ppNode = new mediafoundation::TopologyNode(NodeType);
        return S_OK;
    });
}
