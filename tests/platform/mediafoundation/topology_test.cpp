// Nodes and how they hang together.
#include <gtest/gtest.h>

#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_ptr.h"

namespace
{

using platform::ComPtr;

ComPtr<IMFTopologyNode> Node(MF_TOPOLOGY_TYPE type)
{
    ComPtr<IMFTopologyNode> node;
    EXPECT_EQ(MFCreateTopologyNode(type, node.Put()), S_OK);
    return node;
}

TEST(TopologyNodes, AreConnectedAtBothEnds)
{
    const auto source = Node(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = Node(MF_TOPOLOGY_OUTPUT_NODE);
    ASSERT_EQ(source->ConnectOutput(0, output.Get(), 0), S_OK);
    ComPtr<IMFTopologyNode> found;
    DWORD dwIndex = 7;
    ASSERT_EQ(source->GetOutput(0, found.Put(), &dwIndex), S_OK);
    EXPECT_EQ(found.Get(), output.Get());
    EXPECT_EQ(dwIndex, 0U);
    ASSERT_EQ(output->GetInput(0, found.Put(), &dwIndex), S_OK);
    EXPECT_EQ(found.Get(), source.Get());

    ASSERT_EQ(source->DisconnectOutput(0), S_OK);
    EXPECT_EQ(source->GetOutput(0, found.Put(), &dwIndex), MF_E_NOT_FOUND);
    EXPECT_EQ(output->GetInput(0, found.Put(), &dwIndex), MF_E_NOT_FOUND);
}

TEST(TopologyNodes, AConnectionToNothingFails)
{
    const auto source = Node(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = Node(MF_TOPOLOGY_OUTPUT_NODE);
    EXPECT_EQ(source->ConnectOutput(0, nullptr, 0), E_INVALIDARG);
    EXPECT_LT(output->ConnectOutput(0, source.Get(), 0), 0);
    EXPECT_LT(source->ConnectOutput(0, source.Get(), 0), 0);
}

TEST(TopologyNodes, TheDownstreamNodeLosesAnInputThatGoes)
{
    const auto output = Node(MF_TOPOLOGY_OUTPUT_NODE);
    {
        const auto source = Node(MF_TOPOLOGY_SOURCESTREAM_NODE);
        ASSERT_EQ(source->ConnectOutput(0, output.Get(), 0), S_OK);
    }
    ComPtr<IMFTopologyNode> found;
    DWORD dwIndex = 0;
    EXPECT_EQ(output->GetInput(0, found.Put(), &dwIndex), MF_E_NOT_FOUND);
}

TEST(TopologyNodes, ANewConnectionReplacesTheOldOne)
{
    const auto first = Node(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto second = Node(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = Node(MF_TOPOLOGY_OUTPUT_NODE);
    ASSERT_EQ(first->ConnectOutput(0, output.Get(), 0), S_OK);
    ASSERT_EQ(second->ConnectOutput(0, output.Get(), 0), S_OK);
    ComPtr<IMFTopologyNode> found;
    DWORD dwIndex = 0;
    EXPECT_EQ(first->GetOutput(0, found.Put(), &dwIndex), MF_E_NOT_FOUND);
    ASSERT_EQ(output->GetInput(0, found.Put(), &dwIndex), S_OK);
    EXPECT_EQ(found.Get(), second.Get());
}

TEST(Topologies, HoldTheirNodesInOrder)
{
    ComPtr<IMFTopology> topology;
    ASSERT_EQ(MFCreateTopology(topology.Put()), S_OK);
    const auto source = Node(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = Node(MF_TOPOLOGY_OUTPUT_NODE);
    ASSERT_EQ(topology->AddNode(source.Get()), S_OK);
    ASSERT_EQ(topology->AddNode(output.Get()), S_OK);
    EXPECT_EQ(topology->AddNode(source.Get()), E_INVALIDARG);
    WORD wCount = 0;
    EXPECT_EQ(topology->GetNodeCount(&wCount), S_OK);
    EXPECT_EQ(wCount, 2U);
    ComPtr<IMFTopologyNode> found;
    ASSERT_EQ(topology->GetNode(1, found.Put()), S_OK);
    EXPECT_EQ(found.Get(), output.Get());
    TOPOID uiId = 0;
    ASSERT_EQ(source->GetTopoNodeID(&uiId), S_OK);
    ASSERT_EQ(topology->GetNodeByID(uiId, found.Put()), S_OK);
    EXPECT_EQ(found.Get(), source.Get());
    EXPECT_EQ(topology->GetNode(2, found.Put()), MF_E_INVALIDINDEX);
    ASSERT_EQ(topology->RemoveNode(source.Get()), S_OK);
    EXPECT_EQ(topology->RemoveNode(source.Get()), E_INVALIDARG);
    ASSERT_EQ(topology->Clear(), S_OK);
    EXPECT_EQ(topology->GetNodeCount(&wCount), S_OK);
    EXPECT_EQ(wCount, 0U);
}

}  // namespace
