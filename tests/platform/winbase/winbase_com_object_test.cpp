#include "platform/com/com_object.h"

#include <atomic>

#include "platform/com/com_ptr.h"
#include "winbase_testing.h"

using namespace platform;
using namespace winbase_testing;

namespace
{

// An interface with a base, and one without.
const GUID IID_IShape = {0x6b1d0001, 0x1, 0x2, {1, 2, 3, 4, 5, 6, 7, 8}};
struct IShape : public IUnknown
{
    virtual int STDMETHODCALLTYPE Corners() = 0;
};
const GUID IID_ISquare = {0x6b1d0002, 0x1, 0x2, {1, 2, 3, 4, 5, 6, 7, 8}};
struct ISquare : public IShape
{
    virtual int STDMETHODCALLTYPE Side() = 0;
};
const GUID IID_IColoured = {0x6b1d0003, 0x1, 0x2, {1, 2, 3, 4, 5, 6, 7, 8}};
struct IColoured : public IUnknown
{
    virtual int STDMETHODCALLTYPE Colour() = 0;
};

}  // namespace

PLATFORM_INTERFACE_IID(IShape);
PLATFORM_INTERFACE_IID(ISquare);
PLATFORM_INTERFACE_IID(IColoured);

namespace
{

class RedSquare : public ComObject<Implements<ISquare, IColoured>, Answers<IShape>>
{
public:
    explicit RedSquare(int* pnGone) : m_pnGone(pnGone) {}
    ~RedSquare() override { ++*m_pnGone; }
    int STDMETHODCALLTYPE Corners() override { return 4; }
    int STDMETHODCALLTYPE Side() override { return 3; }
    int STDMETHODCALLTYPE Colour() override { return 0xFF0000; }

private:
    int* m_pnGone;
};

class WinbaseComObject : public testing::Test
{
protected:
    int m_nGone = 0;
    ComPtr<ISquare> m_pSquare = ComPtr<ISquare>::Attach(new RedSquare(&m_nGone));
};

TEST_F(WinbaseComObject, AnswersForEveryInterfaceOfBothLists)
{
    const auto pShape = m_pSquare.As<IShape>();
    const auto pColoured = m_pSquare.As<IColoured>();
    ASSERT_TRUE(pShape && pColoured);
    EXPECT_EQ(pShape->Corners(), 4);
    EXPECT_EQ(pColoured->Colour(), 0xFF0000);
    EXPECT_EQ(pColoured.As<ISquare>()->Side(), 3);
}

TEST_F(WinbaseComObject, IsTheSameUnknownFromEveryInterface)
{
    const auto pFirst = m_pSquare.As<IUnknown>();
    const auto pSecond = m_pSquare.As<IColoured>().As<IUnknown>();
    EXPECT_TRUE(pFirst);
    EXPECT_EQ(pFirst.Get(), pSecond.Get());
}

TEST_F(WinbaseComObject, OtherInterfacesGiveNull)
{
    void* p = this;
    EXPECT_EQ(m_pSquare->QueryInterface(IID_IClassFactory, &p), E_NOINTERFACE);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(m_pSquare->QueryInterface(IID_IShape, nullptr), E_POINTER);
}

TEST_F(WinbaseComObject, LivesUntilTheLastReferenceGoes)
{
    EXPECT_EQ(m_pSquare->AddRef(), 2U);
    EXPECT_EQ(m_pSquare->Release(), 1U);
    auto pColoured = m_pSquare.As<IColoured>();
    m_pSquare = nullptr;
    EXPECT_EQ(m_nGone, 0);
    EXPECT_EQ(pColoured->Colour(), 0xFF0000);
    pColoured = nullptr;
    EXPECT_EQ(m_nGone, 1);
}

TEST_F(WinbaseComObject, PointerPassesReferencesOn)
{
    ISquare* pRaw = nullptr;
    m_pSquare.CopyTo(&pRaw);
    EXPECT_EQ(pRaw, m_pSquare.Get());
    EXPECT_EQ(pRaw->Release(), 1U);
    pRaw = m_pSquare.Detach();
    EXPECT_FALSE(m_pSquare);
    m_pSquare = ComPtr<ISquare>(pRaw);
    EXPECT_EQ(pRaw->Release(), 1U);
    const ComPtr<IShape> pBase = m_pSquare;
    EXPECT_EQ(pBase->AddRef(), 3U);
    EXPECT_EQ(pBase->Release(), 2U);
}

TEST_F(WinbaseComObject, TypedQueryFindsTheIidByItself)
{
    IColoured* pColoured = nullptr;
    EXPECT_EQ(m_pSquare->QueryInterface(IID_PPV_ARGS(&pColoured)), S_OK);
    EXPECT_EQ(pColoured->Release(), 1U);
    IUnknown* const pUnknown = m_pSquare.Get();
    EXPECT_EQ(pUnknown->QueryInterface(&pColoured), S_OK);
    EXPECT_EQ(pColoured->Release(), 1U);
}

TEST_F(WinbaseComObject, ReferencesMayBeTakenFromAnyThread)
{
    const auto body = [p = m_pSquare.Get()] {
        for (int i = 0; i < 5000; ++i)
        {
            p->AddRef();
            p->Release();
        }
    };
    {
        Thread t1(body);
        Thread t2(body);
    }
    EXPECT_EQ(m_nGone, 0);
    EXPECT_EQ(m_pSquare->AddRef(), 2U);
    m_pSquare->Release();
}

}  // namespace
