// Kept in a file of its own so that a test can link another graph in its place.
#include <mferror.h>

#include "mp4_outputfile/writegraph.h"

// This version writes nothing with the system's codecs. The answer is that of a system without an H.264 encoder.
HRESULT BuildWriteGraph(SWriteGraph& /*graph*/, const SEncoderSettings& /*settings*/, CPictureHandover& /*handover*/)
{
    return MF_E_TOPO_CODEC_NOT_FOUND;
}

// No graph of this version has a sink whose file could be finished.
void FinalizeWriteGraph(SWriteGraph& /*graph*/) {}
