/**
 * @file kry/error.h
 * @brief Module state, error words, allocation wrappers and diagnostics.
 *
 * Toolkit functions return a 32-bit error word: 0 is success; bits 31..24
 * name the library (unit) that failed, bits 23..16 the function and bits
 * 15..0 the reason.  Two full-word values stand outside that layout:
 * KRY_ERR_NOT_PROVEN (0xFFFFFFFF), the refusal of a non-approved algorithm
 * in proven mode, and KRY_ERR_TEST_FAIL (0xFFFFFFFE), a failed self-test or
 * test-mode gate.  GetErrorCode() prints a word as text; docs/errors.md
 * tables the library, function and reason codes.
 */
#ifndef KRY_ERROR_H
#define KRY_ERROR_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** The error word of a non-approved algorithm refused in proven mode. */
#define KRY_ERR_NOT_PROVEN 0xFFFFFFFFu
/** The error word of a failed self-test or test-mode gate. */
#define KRY_ERR_TEST_FAIL  0xFFFFFFFEu

/* Module flags: each holds 1 when the library is loaded. */
/** Module flag, 1 when the library is loaded: only approved algorithms are
 *  allowed.  Read it with IsProven(); clear it with ChangeNonProvenMode(). */
KRY_API extern uint8_t statusisproven;
/** Module flag, 1 when the library is loaded: the test-mode gate is active.
 *  ChangeTestMode() clears it. */
KRY_API extern uint8_t test_mode;
/** Module flag, 1 when the library is loaded: LUMCryptoInitialize() has not
 *  run yet. */
KRY_API extern uint8_t initialize_flag;

/** Reads the toolkit's proven-mode flag.
 *  @return the byte #statusisproven: 1 in proven mode, 0 outside it. */
KRY_API uint8_t IsProven(void);
/** Leaves the toolkit's proven mode for the rest of the process: every unit
 *  set up afterwards allows the non-approved algorithms.  The context API has
 *  its own switch, KRY_ChangeNonProvenMode(). */
KRY_API void ChangeNonProvenMode(void);
/** Switches the test-mode gate off for good.
 *  @return 0. */
KRY_API uint32_t ChangeTestMode(void);
/** Module start-up hook, run by the first gated call.
 *  @return 0. */
KRY_API uint32_t LUMCryptoInitialize(void);

/** Platform information hook; does nothing on this platform. */
KRY_API void get_os_sysinfo(void);
/** Platform information hook; does nothing on this platform. */
KRY_API void init_os_sysinfo(void);
/** Platform information hook; does nothing on this platform. */
KRY_API void finalize_os_sysinfo(void);
/** Platform information hook; does nothing on this platform. */
KRY_API void get_sysinfo_raw(void);

/** Prints the library, function and reason texts of an error word on
 *  standard output (e.g. ">> ERROR : L_DIGEST F_INIT_DIGEST
 *  ERR_INVALID_ALGORITHM_ID").  Parts without a text print nothing.
 *  @param error an error word returned by a toolkit function. */
KRY_API void GetErrorCode(uint32_t error);

/** Allocates memory (malloc semantics).
 *  @param size bytes.
 *  @param file source file of the caller, for diagnostics only.
 *  @param line source line of the caller, for diagnostics only.
 *  @return the block, or NULL; release it with lum_free() or lum_Free(). */
KRY_API void *lum_malloc(uint32_t size, const char *file, int32_t line);
/** Allocates zeroed memory (calloc semantics).
 *  @param count number of elements.
 *  @param size  bytes per element.
 *  @param file  source file of the caller, for diagnostics only.
 *  @param line  source line of the caller, for diagnostics only.
 *  @return the block, or NULL; release it with lum_free() or lum_Free(). */
KRY_API void *lum_calloc(uint32_t count, uint32_t size, const char *file, int32_t line);
/** Resizes a block (realloc semantics).
 *  @param ptr  a block from lum_malloc(), lum_calloc() or lum_realloc(), or NULL.
 *  @param size new size in bytes.
 *  @param file source file of the caller, for diagnostics only.
 *  @param line source line of the caller, for diagnostics only.
 *  @return the resized block, or NULL (then @p ptr is still valid). */
KRY_API void *lum_realloc(void *ptr, uint32_t size, const char *file, int32_t line);
/** Releases a block (free semantics; NULL is ignored).
 *  @param ptr  the block.
 *  @param file source file of the caller, for diagnostics only.
 *  @param line source line of the caller, for diagnostics only. */
KRY_API void lum_free(void *ptr, const char *file, int32_t line);
/** Zeroes @p length bytes at @p ptr (a wipe the compiler keeps), then frees
 *  the block.  Use it for memory that held secrets.
 *  @param ptr    the block (NULL is ignored).
 *  @param length bytes to wipe. */
KRY_API void lum_Free(void *ptr, uint32_t length);

/** Prints bytes in hexadecimal on standard output, "%02X:" per byte.
 *  @param bytes  the bytes.
 *  @param length how many. */
KRY_API void print_hex(const uint8_t *bytes, int32_t length);
/** Prints bytes as print_hex() does, then a newline.
 *  @param bytes  the bytes.
 *  @param length how many. */
KRY_API void print_hex_nl(const uint8_t *bytes, int32_t length);
/** Prints bytes as print_hex() does, without a newline.
 *  @param bytes  the bytes.
 *  @param length how many. */
KRY_API void print_hex_no_nl(const uint8_t *bytes, int32_t length);
/** Formats bytes as "01:AB" text.
 *  @param bytes  the bytes.
 *  @param length how many.
 *  @return a new NUL-terminated buffer of 3 x @p length bytes, or NULL; the
 *          caller frees it with lum_free(). */
KRY_API char *dump_hex(const uint8_t *bytes, int32_t length);

/** The toolkit's version text.
 *  @return "5.0.9", a static string (do not free). */
KRY_API const char *get_CryptoVersion(void);

KRY_END_DECLS

#endif /* KRY_ERROR_H */
