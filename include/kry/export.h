/**
 * @file kry/export.h
 * @brief Export and linkage macros shared by every public header.
 */
#ifndef KRY_EXPORT_H
#define KRY_EXPORT_H

/** @def KRY_API
 *  Marks a function or variable exported by the shared library. */
#if defined(_WIN32)
#  if defined(KRY_BUILDING_LIBRARY)
#    define KRY_API __declspec(dllexport)
#  else
#    define KRY_API __declspec(dllimport)
#  endif
#elif defined(__GNUC__)
#  define KRY_API __attribute__((visibility("default")))
#else
#  define KRY_API
#endif

/** @def KRY_BEGIN_DECLS
 *  Opens C linkage for the declarations that follow when compiled as C++.
 *  @def KRY_END_DECLS
 *  Closes the C linkage opened by #KRY_BEGIN_DECLS. */
#ifdef __cplusplus
#  define KRY_BEGIN_DECLS extern "C" {
#  define KRY_END_DECLS }
#else
#  define KRY_BEGIN_DECLS
#  define KRY_END_DECLS
#endif

#endif /* KRY_EXPORT_H */
