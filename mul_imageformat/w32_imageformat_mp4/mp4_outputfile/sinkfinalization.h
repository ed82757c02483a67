// The end of a file that a media sink writes.
#pragma once

#include <windows.h>

#include <mfidl.h>

// Has the sink write what it writes last, its index among it, and shuts it down. A sink that isn't finalised in this
// way is left as it is. Failures aren't reported: the file shows what became of it.
//
// Returns when the sink has finished, when it refuses to begin, or when the file at pwszPath hasn't grown for ten
// minutes: the sink is left as it is then, since its shutdown may wait for what never comes. The callback object of
// each finished file and its event stay allocated, since the sink may still call it then.
void FinalizeSink(IMFMediaSink* pSink, const wchar_t* pwszPath);
