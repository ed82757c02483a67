// Kept in a file of its own so that a test can link another graph in its place.
#include <mferror.h>

#include "mp4_outputfile/writegraph.h"

// There is no H.264 encoder behind the system's codecs in this version, and the answer is that of a system without one.
HRESULT BuildWriteGraph(SWriteGraph& /*graph*/, CPictureHandover& /*handover*/)
{
    return MF_E_TOPO_CODEC_NOT_FOUND;
}
