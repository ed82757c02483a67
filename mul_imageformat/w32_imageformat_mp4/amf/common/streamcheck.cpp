#include "amf/common/streamcheck.h"

#include <new>
#include <string>

#include "amf/common/amftrace.h"

AMF_RESULT TraceFailedCheck(const wchar_t* pwszSource, std::int32_t nLine, const wchar_t* pwszScope,
                            const wchar_t* pwszCondition, AMF_RESULT eResult, const wchar_t* pwszMessage)
{
    try
    {
        std::wstring strLine = eResult == AMF_OUT_OF_MEMORY ? AMFFormatResult(eResult) : L"Assertion failed: ";
        strLine += pwszCondition;
        if (*pwszMessage != L'\0') strLine += L' ';
        strLine += pwszMessage;
        AMFTraceW(pwszSource, nLine, AMF_TRACE_ERROR, pwszScope, strLine.c_str());
    }
    catch (const std::bad_alloc&)
    {
        // The result is returned without a line.
    }
    return eResult;
}
