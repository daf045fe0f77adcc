/*
 * kry - module state, error words, allocation wrappers and diagnostics.
 *
 * Toolkit functions return a 32-bit error word: 0 is success; bits 31..24
 * name the library (unit) that failed, bits 23..16 the function and bits
 * 15..0 the reason.  Two full-word values stand outside that layout:
 * KRY_ERR_NOT_PROVEN (0xFFFFFFFF), the refusal of a non-approved algorithm
 * in proven mode, and KRY_ERR_TEST_FAIL (0xFFFFFFFE), a failed self-test or
 * test-mode gate.  GetErrorCode() prints a word as text.
 */
#ifndef KRY_ERROR_H
#define KRY_ERROR_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

#define KRY_ERR_NOT_PROVEN 0xFFFFFFFFu
#define KRY_ERR_TEST_FAIL  0xFFFFFFFEu

/* Module flags: each holds 1 when the library is loaded. */
KRY_API extern uint8_t statusisproven;  /* 1: only approved algorithms */
KRY_API extern uint8_t test_mode;       /* 1: the test-mode gate is active */
KRY_API extern uint8_t initialize_flag; /* 1: LUMCryptoInitialize not yet run */

/* The byte statusisproven. */
KRY_API uint8_t IsProven(void);
/* Leaves proven mode for the rest of the process. */
KRY_API void ChangeNonProvenMode(void);
/* Switches the test-mode gate off for good; returns 0. */
KRY_API uint32_t ChangeTestMode(void);
/* Module start-up hook run by the first gated call; returns 0. */
KRY_API uint32_t LUMCryptoInitialize(void);

/* Platform information hooks: do nothing on this platform. */
KRY_API void get_os_sysinfo(void);
KRY_API void init_os_sysinfo(void);
KRY_API void finalize_os_sysinfo(void);
KRY_API void get_sysinfo_raw(void);

/* Prints the library, function and reason texts of an error word. */
KRY_API void GetErrorCode(uint32_t error);

/* Allocation wrappers; file and line are accepted for diagnostics only. */
KRY_API void *lum_malloc(uint32_t size, const char *file, int32_t line);
KRY_API void *lum_calloc(uint32_t count, uint32_t size, const char *file, int32_t line);
KRY_API void *lum_realloc(void *ptr, uint32_t size, const char *file, int32_t line);
KRY_API void lum_free(void *ptr, const char *file, int32_t line);
/* Zeroes length bytes at ptr (a wipe the compiler keeps), then frees it. */
KRY_API void lum_Free(void *ptr, uint32_t length);

/* Hexadecimal printing to standard output ("%02X:" per byte). */
KRY_API void print_hex(const uint8_t *bytes, int32_t length);
KRY_API void print_hex_nl(const uint8_t *bytes, int32_t length);
KRY_API void print_hex_no_nl(const uint8_t *bytes, int32_t length);
/* "01:AB" text in a new buffer of 3 x length bytes; the caller frees it. */
KRY_API char *dump_hex(const uint8_t *bytes, int32_t length);

/* The toolkit's version text, "5.0.9". */
KRY_API const char *get_CryptoVersion(void);

KRY_END_DECLS

#endif /* KRY_ERROR_H */
