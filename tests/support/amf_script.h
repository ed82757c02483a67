// The script of the software AMF runtime.
#pragma once

#include "runtimes/amf/amf_script.h"
#include "support/runtime_script.h"

namespace test_support
{

class AmfScript : public RuntimeScript<AmfRuntimeScript>
{
public:
    AmfScript() : RuntimeScript(L"amfrt64.dll", "AmfRuntimeGetScript") {}
};

}  // namespace test_support
