// A record of what goes on between a media session of the system, the media source in it and the test's own sink.
//
// A program that links session_record.cpp has its own MFCreateEventQueue and MFCreateMediaSession. They give the
// system's objects, wrapped by ones that pass every call on and keep a record. Only for systems with a Media Foundation.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include <mfidl.h>

// In the order in which it happens. Each text begins with where:
// "source" and "stream": an event that the source or its stream queues, as Describe gives it, or "shutdown";
// "session": an event that is taken from the session, as Describe gives it;
// "call": a call of the session, by its name;
// "sink": what the session asks of the sink, see CRecordingSink.
class CSessionRecord
{
public:
    static void Clear();
    static void Note(const std::string& text);
    static std::vector<std::string> Get();
    // Only those that begin with where, and without it.
    static std::vector<std::string> Get(const std::string& where);
};

// The system's queue of events, without a record.
HRESULT MakeUnrecordedQueue(IMFMediaEventQueue** ppQueue);

// The system's MPEG-4 sink, without sound.
HRESULT MakeSystemMpeg4Sink(IMFByteStream* pFile, IMFMediaType* pVideoType, IMFMediaSink** ppSink);
