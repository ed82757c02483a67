// AMF's context, converter and encoder with results that a test sets. They record the calls of the writing thread. The
// surfaces are those of a scripted Direct3D.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "idle_amf.h"
#include "scripted_direct3d.h"
#include "support/bytes.h"

class ScriptedAmf;

// A value that was set, as a test writes it down: "int64 5", "size 64 x 48", "rate 30/1".
std::string TextOf(const AMFVariantStruct& value);

// Counts what lives.
class CLiving
{
public:
    explicit CLiving(std::atomic<int>& nCount) : m_nCount(nCount) { ++m_nCount; }
    ~CLiving() { --m_nCount; }
    CLiving(const CLiving&) = delete;
    CLiving& operator=(const CLiving&) = delete;

private:
    std::atomic<int>& m_nCount;
};

// An encoder's buffer of one picture.
class ScriptedBuffer : public IdleBuffer
{
public:
    ScriptedBuffer(std::atomic<int>& nLiving, Bytes vBytes) : m_living(nLiving), m_vBytes(std::move(vBytes)) {}

    AMF_RESULT QueryInterface(const AMFGuid& interfaceID, void** ppInterface) override;
    AMF_RESULT GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const override;
    amf_size GetSize() override { return m_vBytes.size(); }
    void* GetNative() override { return m_bMemory ? m_vBytes.data() : nullptr; }

    std::function<AMF_RESULT(const wchar_t* name, AMFVariantStruct* pValue)> m_funcGetProperty;
    bool m_bBuffer = true;  // false: it has no interface of a buffer
    bool m_bMemory = true;  // false: it has no memory

private:
    CLiving m_living;
    Bytes m_vBytes;
};

// Makes output of what it is given, by script. Input and output may be two threads' at once.
class ScriptedEncoder : public IdleComponent
{
public:
    explicit ScriptedEncoder(ScriptedAmf& amf) : m_amf(amf) {}

    AMF_RESULT SetProperty(const wchar_t* name, AMFVariantStruct value) override;
    AMF_RESULT Init(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height) override;
    AMF_RESULT Terminate() override;
    AMF_RESULT Drain() override;
    AMF_RESULT SubmitInput(AMFData* pData) override;
    AMF_RESULT QueryOutput(AMFData** ppData) override;

private:
    ScriptedAmf& m_amf;
};

// All objects are made by this one, and none of them outlives it.
class ScriptedAmf
{
public:
    explicit ScriptedAmf(ScriptedDirect3D& d3d) : m_d3d(d3d) {}
    ScriptedAmf(const ScriptedAmf&) = delete;
    ScriptedAmf& operator=(const ScriptedAmf&) = delete;

    // What a runtime's factory gives.
    AMF_RESULT CreateContext(AMFContext** ppContext);
    AMF_RESULT CreateComponent(AMFContext* pContext, const wchar_t* pwszId, AMFComponent** ppComponent);

    // --- what they do; to be set before the encoder's thread runs, but for what is atomic
    // That call, counted from 1 for each name, returns eResult and does nothing else. A name is that of m_vCalls
    // without its values.
    void Fail(const std::string& strCall, int nCall, AMF_RESULT eResult);
    void FailAlways(const std::string& strCall, AMF_RESULT eResult) { Fail(strCall, 0, eResult); }
    // Calls that succeed and give no object.
    bool m_bContext = true;
    bool m_bConverter = true;
    bool m_bEncoder = true;
    bool m_bBgraSurface = true;
    std::atomic<bool> m_bNv12Surface = true;
    bool m_bNativeBgra = true;  // false: the surface has no native one
    bool m_bNativeNv12 = true;  //
    bool m_bConverted = true;   // false: the converter gives no output
    bool m_bDevice = true;      // of GetDX9Device

    std::size_t m_uiPlaces = 16;                      // of pictures in the encoder before its input is full
    std::atomic<bool> m_bGives = true;                // false: pictures stay in the encoder
    std::atomic<bool> m_bEnds = true;                 // false: no end of the stream after the drain
    std::function<Bytes(int nPicture)> m_funcPacket;  // from 0
    std::function<void(ScriptedBuffer& buffer, int nPicture)> m_funcBuffer;  // changes what is given
    std::function<void(const std::string& strCall)> m_funcCalled;            // at the head of every recorded call
    std::function<void()> m_funcFull;   // when a picture or the drain finds the encoder full
    std::function<void()> m_funcEmpty;  // when the output is asked for and there is none

    // --- what they saw
    // With their values; the encoder's are "encoder.Drain()" and so on. Of the encoder's output there are counts only.
    std::vector<std::string> GetCalls() const;
    int Count(const std::string& strCall) const;  // by name
    std::vector<std::int64_t> m_vStartTimes;      // of each picture or attempt
    std::vector<Bytes> m_vSubmitted;              // the first row of each picture that the encoder took
    std::atomic<int> m_nQueries{0};
    std::atomic<int> m_nGiven{0};
    std::atomic<int> m_nLiving{0};  // objects not released

    // Records a call and looks up what it is to return.
    AMF_RESULT Note(const std::string& strName, const std::string& strValues = "");

    ScriptedDirect3D& m_d3d;

    // Of the encoder, under the lock.
    std::mutex m_mutex;
    std::deque<ScriptedBuffer*> m_vHeld;  // one reference each
    int m_nPictures = 0;
    bool m_bDrained = false;

private:
    mutable std::mutex m_mutexCalls;
    std::vector<std::string> m_vCalls;
    std::map<std::string, int> m_mapCounts;
    std::map<std::pair<std::string, int>, AMF_RESULT> m_mapFailures;
};
