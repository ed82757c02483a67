#include "hostapi/hostcore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{

// Built like a format object: an interface and the counted base, both derived from one root.
class IThing : public virtual IQmInterface
{
public:
    virtual int Value() = 0;
};

class CThing : public IThing, public virtual CQmClass
{
public:
    CThing(bool bDeleteOnRelease, int* pnDeleted, bool bThrow = false)
        : CQmClass(bDeleteOnRelease), m_pnDeleted(pnDeleted)
    {
        if (bThrow) throw std::runtime_error("no");
    }
    ~CThing() override { ++*m_pnDeleted; }

    CQmClass* GetQmClass() override { return this; }
    const SQmClassRecord* GetClassRecord() override { return nullptr; }
    int Value() override { return 42; }

    void* QueryInterface(const char* pszInterface) override
    {
        if (std::strcmp(pszInterface, "IThing") != 0) return nullptr;
        AddRef();
        return static_cast<IThing*>(this);
    }

private:
    int* m_pnDeleted;
};

}  // namespace

TEST(QmClass, BelongsToTheCallerThatAddsTheFirstReference)
{
    int nDeleted = 0;
    IQmInterface* pInterface = new ("factory", 1u) CThing(true, &nDeleted);
    auto* pThing = static_cast<IThing*>(pInterface->GetQmClass()->QueryInterface("IThing"));
    ASSERT_NE(pThing, nullptr);
    EXPECT_EQ(pThing->Value(), 42);
    EXPECT_EQ(pInterface->GetQmClass()->AddRef(), 2);
    EXPECT_EQ(pThing->GetQmClass()->Release(), 1);
    EXPECT_EQ(nDeleted, 0);
    EXPECT_EQ(pThing->GetQmClass()->Release(), 0);
    EXPECT_EQ(nDeleted, 1);
}

TEST(QmClass, StaysWhenReleaseIsNotToDelete)
{
    int nDeleted = 0;
    CThing thing(false, &nDeleted);
    EXPECT_EQ(thing.AddRef(), 1);
    EXPECT_EQ(thing.Release(), 0);
    EXPECT_EQ(nDeleted, 0);
    EXPECT_EQ(thing.AddRef(), 1);
}

TEST(QmClass, IsDeletedThroughItsRoot)
{
    int nDeleted = 0;
    IQmInterface* pInterface = new (__FILE__, 1u) CThing(true, &nDeleted);
    delete pInterface;
    EXPECT_EQ(nDeleted, 1);
}

TEST(QmClass, ReturnsNullWithoutMemory)
{
    volatile std::size_t uiTooMuch = std::numeric_limits<std::size_t>::max() / 2;
    EXPECT_EQ(CQmClass::operator new(uiTooMuch, "file", 1u), nullptr);
    CQmClass::operator delete(nullptr);
}

TEST(QmClass, AThrowingConstructorFreesItsMemory)
{
    int nDeleted = 0;
    EXPECT_THROW(new (__FILE__, 1u) CThing(true, &nDeleted, true), std::runtime_error);
    EXPECT_EQ(nDeleted, 0);
}

TEST(QmClass, CountsFromManyThreads)
{
    int nDeleted = 0;
    auto* pThing = new (__FILE__, 1u) CThing(true, &nDeleted);
    pThing->AddRef();
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i)
    {
        pThing->AddRef();
        vThreads.emplace_back([pThing] {
            for (int k = 0; k < 10000; ++k)
            {
                pThing->AddRef();
                pThing->Release();
            }
            pThing->Release();
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
    EXPECT_EQ(nDeleted, 0);
    EXPECT_EQ(pThing->Release(), 0);
    EXPECT_EQ(nDeleted, 1);
}
