// Version 1.4.9 of the AMF runtime's binary interface, by its published names, as this tree's callers and its software
// runtime need it. Declarations only, no code: include this header and nothing more.
#pragma once

#include "abi/amf/amfcomponent.h"
#include "abi/amf/amfcontext.h"
#include "abi/amf/amfdata.h"
#include "abi/amf/amfenums.h"
#include "abi/amf/amfinterface.h"
#include "abi/amf/amfproperties.h"
#include "abi/amf/amfresult.h"
#include "abi/amf/amfruntime.h"
#include "abi/amf/amftypes.h"
#include "abi/amf/amfvariant.h"
