// Where the GUIDs of the media headers stand.
#include "initguid.h"

#include "mfapi.h"
#include "mfidl.h"
#include "platform/mediafoundation/file_source.h"
#include "platform/mediafoundation/grabber_sink.h"
#include "uuids.h"
