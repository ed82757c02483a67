// The section verHID of the module file: its build records, which the host reads from the file. No code uses them.
#include "moduleexport.h"
#include "mp4filesimpl/versiontexts.h"

constexpr int BUILD_RECORDS = 13;

// A text of UTF-16, zero after its end.
struct SBuildRecord
{
    char16_t m_aText[256];
};
static_assert(sizeof(SBuildRecord) == 512);

#define QM_BUILD_RECORD(element)                                                                                       \
    {                                                                                                                  \
        u"<variant version=\"1.0\"><" element "/></variant>"                                                           \
    }
#define QM_BUILD_VALUE(key, value) QM_BUILD_RECORD(key " value=\"" value "\"")

extern const SBuildRecord g_aBuildRecords[BUILD_RECORDS];  // not static: a compiler drops what isn't used

// The last record is the sign of a release build. Its place stays empty in any other.
QM_MODULE_SECTION("verHID")
constinit const SBuildRecord g_aBuildRecords[BUILD_RECORDS] = {
    QM_BUILD_VALUE("QM_GLOB_FILEVERSION_WCS", QM_VERSION_FILE),
    QM_BUILD_VALUE("QM_GLOB_PRODUCTVERSION_WCS", QM_VERSION_PRODUCT),
    QM_BUILD_VALUE("QM_GLOB_COMPANYNAME", QM_VERSION_COMPANY),
    QM_BUILD_VALUE("QM_GLOB_COPYRIGHT", QM_VERSION_COPYRIGHT),
    QM_BUILD_VALUE("QM_GLOB_TRADEMARKS", ""),
    QM_BUILD_VALUE("QM_LOCAL_COMMENTS", ""),
    QM_BUILD_VALUE("QM_LOCAL_FILEDESCRIPTION", QM_VERSION_DESCRIPTION),
    QM_BUILD_VALUE("QM_LOCAL_INTERNALNAME", QM_VERSION_NAME),
    QM_BUILD_VALUE("QM_LOCAL_ORIGINALFILENAME", QM_MODULE_FILE_NAME),
    QM_BUILD_VALUE("QM_LOCAL_PRODUCTNAME", QM_VERSION_NAME),
    QM_BUILD_VALUE("QM_LOCAL_PRIVATEBUILD", QM_VERSION_PRIVATE_BUILD),
    QM_BUILD_VALUE("QM_LOCAL_SPECIALBUILD", QM_VERSION_SPECIAL_BUILD),
#if defined(NDEBUG)
    QM_BUILD_RECORD("NDEBUG"),
#endif
};
