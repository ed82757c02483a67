// The runtime under test, loaded by name as its clients load it.
#pragma once

#include <string>

#include <gtest/gtest.h>
#include <windows.h>

#include "runtimes/amf/amf_script.h"

// Loaded once and kept, so that what a script says outlives single tests' objects.
struct Runtime
{
    static const Runtime& Get();

    HMODULE hModule;
    AMFInit_Fn init;
    AMFQueryVersion_Fn queryVersion;
    const AmfRuntimeScript* pScript;
    AMFFactory* pFactory;
};

// A reference that a test holds.
template <typename Interface>
class Held
{
public:
    Held() = default;
    explicit Held(Interface* p) : m_p(p) {}
    Held(Held&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    Held& operator=(Held other) noexcept
    {
        std::swap(m_p, other.m_p);
        return *this;
    }
    ~Held() { Release(); }

    // The new count; -1 for null.
    amf_long Release() { return m_p ? std::exchange(m_p, nullptr)->Release() : -1; }
    Interface* Get() const { return m_p; }
    Interface* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    // For a null pointer.
    Interface** Put()
    {
        EXPECT_EQ(m_p, nullptr);
        return &m_p;
    }

    template <typename Other>
    Held<Other> As() const
    {
        void* p = nullptr;
        if (m_p)
        {
            m_p->QueryInterface(Other::IID(), &p);
        }
        return Held<Other>(static_cast<Other*>(p));
    }

private:
    Interface* m_p = nullptr;
};

AMFVariantStruct Number(std::int64_t nValue);
AMFVariantStruct Flag(bool bValue);
AMFVariantStruct Size(amf_int32 nWidth, amf_int32 nHeight);
AMFVariantStruct Rate(amf_uint32 uiNum, amf_uint32 uiDen);

// Each test begins with a runtime without a script, and ends with nothing of it alive.
class AmfRuntime : public testing::Test
{
protected:
    AmfRuntime();
    ~AmfRuntime() override;

    // A context without a device; terminated by the test.
    Held<AMFContext> MakeContext();
    // With one.
    Held<AMFContext> MakeDeviceContext();
    Held<AMFComponent> MakeComponent(AMFContext* pContext, const wchar_t* pwszId);
    Held<AMFSurface> MakeSurface(AMFContext* pContext, AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight);

    const Runtime& m_runtime;
    const AmfRuntimeScript& m_script;
    AMFFactory& m_factory;
};
