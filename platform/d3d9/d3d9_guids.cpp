// The GUIDs of Direct3D 9 and its video services.
#include "initguid.h"

#include "dxva2api.h"
