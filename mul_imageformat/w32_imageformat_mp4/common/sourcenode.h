// The first node of a topology, when reading and when writing.
#pragma once

#include <windows.h>

#include <mfidl.h>

// Adds a node for a stream of the source. Its work queue has the number of file objects made so far, so graphs that run
// side by side tend to get different ones. *ppNode is the caller's to release, also after a failure, if it isn't null.
HRESULT AddSourceNode(IMFTopology* pTopology, IMFMediaSource* pSource, IMFPresentationDescriptor* pPresentation,
                      IMFStreamDescriptor* pStream, IMFTopologyNode** ppNode);
