// The topology that encodes and writes: source, encoder, sink.
#pragma once

#include <windows.h>

#include <mfidl.h>
#include <mftransform.h>

// Connects the first selected video stream of the source with the encoder and the sink's stream. The source's other
// streams before it are deselected. Without such a stream the topology has no nodes, and that is no failure. Without
// an encoder the source can't be connected, which is one.
//
// *ppTopology is the caller's to release, and unchanged after a failure.
HRESULT BuildWriteTopology(IMFMediaSource* pSource, IMFTransform* pTransform, IMFStreamSink* pStreamSink,
                           IMFTopology** ppTopology);
