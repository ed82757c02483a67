// Where the GUIDs of the media headers stand.
#include "initguid.h"

#include "codecapi.h"
#include "icodecapi.h"
#include "mfapi.h"
#include "mfidl.h"
#include "mftransform.h"
#include "platform/mediafoundation/file_source.h"
#include "platform/mediafoundation/grabber_sink.h"
#include "uuids.h"
