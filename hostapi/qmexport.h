// Where a host library's symbols come from: exported while the library itself is built, imported everywhere else.
#pragma once

#if defined(_WIN32)
#define QM_SYMBOL_EXPORT __declspec(dllexport)
#define QM_SYMBOL_IMPORT __declspec(dllimport)
#else
#define QM_SYMBOL_EXPORT __attribute__((visibility("default")))
#define QM_SYMBOL_IMPORT __attribute__((visibility("default")))
#endif

#if defined(QM_BUILDING_HOSTCORE)
#define QM_HOSTCORE QM_SYMBOL_EXPORT
#else
#define QM_HOSTCORE QM_SYMBOL_IMPORT
#endif

#if defined(QM_BUILDING_HOSTPICBASE)
#define QM_HOSTPICBASE QM_SYMBOL_EXPORT
#else
#define QM_HOSTPICBASE QM_SYMBOL_IMPORT
#endif

#if defined(QM_BUILDING_HOSTPICTURE)
#define QM_HOSTPICTURE QM_SYMBOL_EXPORT
#else
#define QM_HOSTPICTURE QM_SYMBOL_IMPORT
#endif

#if defined(QM_BUILDING_HOSTMETA)
#define QM_HOSTMETA QM_SYMBOL_EXPORT
#else
#define QM_HOSTMETA QM_SYMBOL_IMPORT
#endif

#if defined(QM_BUILDING_HOSTPLATFORM)
#define QM_HOSTPLATFORM QM_SYMBOL_EXPORT
#else
#define QM_HOSTPLATFORM QM_SYMBOL_IMPORT
#endif
