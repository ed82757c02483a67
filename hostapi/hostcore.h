// The host library `hostcore`: the reference-counted base, strings, byte arrays, variants, dates, and the record
// that describes a picture sequence.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "hostapi/qmexport.h"
#include "hostapi/qmstatus.h"

class CQmClass;

// Root of every object that the host reaches through an interface.
class QM_HOSTCORE IQmInterface
{
public:
    IQmInterface();
    virtual ~IQmInterface();

    // Returns the object's CQmClass view, without adding a reference.
    virtual CQmClass* GetQmClass() = 0;
};

// What a module declares about one of its classes. The host finds the class by its name.
struct SQmClassRecord
{
    const char* m_pszClass;      // class name
    std::size_t m_uiObjectSize;  // bytes that the factory allocates
    IQmInterface* (*m_pfnFactory)(const char* pszFile, unsigned int uiLine);
    const char* m_pszParent;  // name of the interface that the class stands for
};

// Reference-counted base. The count starts at 0, and the object belongs to the caller that adds the first reference,
// usually through QueryInterface. Counting is atomic.
class QM_HOSTCORE CQmClass : public virtual IQmInterface
{
public:
    // bDeleteOnRelease: whether the Release that brings the count to 0 deletes the object.
    explicit CQmClass(bool bDeleteOnRelease);
    ~CQmClass() override;

    CQmClass(const CQmClass&) = delete;
    CQmClass& operator=(const CQmClass&) = delete;

    // The host's allocator. pszFile and uiLine name the calling place, for its records. Returns null when there is no
    // memory.
    static void* operator new(std::size_t uiSize, const char* pszFile, unsigned int uiLine) noexcept;
    static void operator delete(void* pBlock) noexcept;
    static void operator delete(void* pBlock, const char* pszFile, unsigned int uiLine) noexcept;

    // Both return the new count.
    virtual std::int32_t AddRef();
    virtual std::int32_t Release();

    virtual const SQmClassRecord* GetClassRecord() = 0;

    // Returns the view that pszInterface names, with a reference added, or null when the object has no such view.
    virtual void* QueryInterface(const char* pszInterface) = 0;

protected:
    bool m_bDeleteOnRelease;

private:
    std::atomic<std::int32_t> m_nRefCount;
};

enum class EQmByteArrayModeOp : std::int32_t
{
    Replace = 0,
    Append = 1
};

enum class EQmByteArrayModeAlloc : std::int32_t
{
    Default = 0
};

// A block of bytes that grows. Owns its memory. When there is no memory, a new copy is empty and an assignment changes
// nothing.
class QM_HOSTCORE CQmByteArray
{
public:
    CQmByteArray();
    CQmByteArray(const CQmByteArray& other);
    virtual ~CQmByteArray();
    CQmByteArray& operator=(const CQmByteArray& other);

    // The byte at uiPosition, which may be the size (one past the last byte). Null past that, and for an empty array.
    virtual unsigned char* GetData(std::size_t uiPosition) const;
    virtual std::size_t GetSize() const;
    // Shortens, or lengthens with zero bytes. Status, QM_ERR_FAIL when there is no memory; the array is then unchanged.
    virtual QmStatus SetSize(std::size_t uiSize);
    // Replaces the contents by, or appends, uiSize bytes at pData (null with size 0 is allowed; the bytes may lie in
    // this very array). Status as SetSize.
    virtual QmStatus SetData(const void* pData, std::size_t uiSize, EQmByteArrayModeOp eOp,
                             EQmByteArrayModeAlloc eAlloc);

private:
    bool Reserve(std::size_t uiCapacity);

    unsigned char* m_pBytes;
    std::size_t m_uiSize;
    std::size_t m_uiCapacity;
};

// Narrow text, nul-terminated, never null. A null pointer gives the empty text. When there is no memory for a text, it
// is empty too.
class QM_HOSTCORE CQmStringA
{
public:
    CQmStringA();
    CQmStringA(const CQmStringA& other);
    ~CQmStringA();
    CQmStringA& operator=(const CQmStringA& other);
    CQmStringA& operator=(const char* pszText);

    operator const char*() const;
    const char* GetString() const;

private:
    char* m_pszText;
};

// Wide text, nul-terminated, never null, as CQmStringA.
class QM_HOSTCORE CQmStringW
{
public:
    CQmStringW();
    CQmStringW(const CQmStringW& other);
    CQmStringW(const wchar_t* pwszText);
    // Widens UTF-8 text. A byte that isn't UTF-8 becomes U+FFFD. uiLength 0 means up to the nul, any other number at
    // most that many bytes and at most up to a nul.
    CQmStringW(const char* pszText, std::size_t uiLength);
    ~CQmStringW();
    CQmStringW& operator=(const CQmStringW& other);
    CQmStringW& operator=(const wchar_t* pwszText);

    operator const wchar_t*() const;
    const wchar_t* GetString() const;
    void Empty();

private:
    wchar_t* m_pwszText;
};

// True when the text differs.
QM_HOSTCORE bool operator!=(const CQmStringW& str, const wchar_t* pwszText);

// One value of any of the host's simple types. Modules pass it through.
class QM_HOSTCORE CQmVariant
{
public:
    CQmVariant();
    CQmVariant(const CQmVariant& other);
    explicit CQmVariant(std::int64_t nValue);
    explicit CQmVariant(double dValue);
    explicit CQmVariant(const CQmStringW& strValue);
    ~CQmVariant();
    CQmVariant& operator=(const CQmVariant& other);

    enum class EType : std::int32_t
    {
        Empty,
        Integer,
        Double,
        String
    };
    EType GetType() const;
    std::int64_t GetInteger() const;      // 0 unless the value is an integer
    double GetDouble() const;             // 0.0 unless the value is a double
    const CQmStringW& GetString() const;  // empty unless the value is a string

private:
    EType m_eType;
    std::int64_t m_nValue;
    double m_dValue;
    CQmStringW m_strValue;
};

// A point in time of the Gregorian calendar.
class QM_HOSTCORE CQmDateTime
{
public:
    // The broken-down time is taken as it stands, without time zones.
    explicit CQmDateTime(const std::tm& time);

    // Days since noon of January 1, 4713 BC (Julian calendar), with the time of day as the fraction.
    double GetJulianDayNumber() const;

private:
    std::tm m_time;
};

// The shape of a picture sequence. A plain record that is copied as a block.
struct QM_HOSTCORE SQmImageAttributes
{
    SQmImageAttributes();

    std::uint32_t m_uiWidth;       // pixels
    std::uint32_t m_uiWidthBytes;  // bytes in a row
    std::uint32_t m_uiHeight;      // pixels
    std::uint32_t m_uiComponents;
    std::uint8_t m_uiBitsInMemory;     // per component
    std::uint8_t m_uiBitsSignificant;  // per component
    std::uint32_t m_uiReservedAttr;
    std::uint32_t m_uiSequenceCount;  // number of frames
    std::uint32_t m_uiTileWidth;      // 0 for no tiling
    std::uint32_t m_uiTileHeight;     // 0 for no tiling
    std::int32_t m_uiCompression;
    double m_dCompressionParam;
};

// Returns the translation of a source text in the context that pszContext names, or the text itself if it has none. The
// result is valid until the calling thread's next call, and no longer than the source text.
QM_HOSTCORE const wchar_t* QM_GetTranslation(const wchar_t* pwszText, const char* pszContext);
