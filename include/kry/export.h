/*
 * kry - export and linkage macros shared by every public header.
 */
#ifndef KRY_EXPORT_H
#define KRY_EXPORT_H

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

#ifdef __cplusplus
#  define KRY_BEGIN_DECLS extern "C" {
#  define KRY_END_DECLS }
#else
#  define KRY_BEGIN_DECLS
#  define KRY_END_DECLS
#endif

#endif /* KRY_EXPORT_H */
