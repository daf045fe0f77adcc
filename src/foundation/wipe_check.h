// Release-time zeroisation check.
//
// Every block the library releases must have been wiped first.  In a build
// configured with -DKRY_WIPE_CHECK=ON the library's own calls of the lum_
// allocation wrappers are redirected (by the macros at the end of this
// header, inside the library only) to tracking versions that record each
// block's requested size and allocation site; the releasing calls then
// verify that every requested byte is zero and report a violation with both
// sites.  Blocks the library hands to its caller (hex texts and the like) are
// released by the caller through the exported wrappers, which are not
// checked.
//
// The scanning core (check_block) is compiled in every build so that it can
// be tested anywhere; only the interception depends on the macro.
#ifndef KRY_SRC_FOUNDATION_WIPE_CHECK_H
#define KRY_SRC_FOUNDATION_WIPE_CHECK_H

#include <kry/error.h>

#include <cstddef>
#include <cstdint>

namespace kry::wipecheck {

struct Violation {
    const void *block;         // the block being released
    size_t size;               // bytes that had to be zero
    size_t offset;             // first non-zero byte
    const char *alloc_file;    // allocation site (nullptr if unknown)
    int32_t alloc_line;
    const char *release_file;  // release site
    int32_t release_line;
};

using Handler = void (*)(const Violation &);

// True in the check build (KRY_WIPE_CHECK), where the library's releases are
// intercepted.
bool active();

// Installs a violation handler and returns the previous one; nullptr
// restores the default, which prints both sites on stderr and aborts.
Handler set_handler(Handler handler);

// Number of violations reported since start-up.
size_t violations();

// Verifies that the size bytes at block are all zero; reports a violation
// to the handler otherwise.  Returns true when the block is clean.
bool check_block(const void *block, size_t size, const char *alloc_file, int32_t alloc_line,
                 const char *release_file, int32_t release_line);

// ---- tracking (does the work only in the check build) ----------------------
// Records a block handed out by an allocator.
void note_alloc(void *block, size_t size, const char *file, int32_t line);
// Checks a block about to be released against its recorded size and site,
// and forgets it.  Unknown blocks are forgotten without a check.
void note_release(const void *block, const char *file, int32_t line);
// Forgets a block without checking it (released by its owner outside the
// library).
void forget(const void *block);
// Recorded requested size of a tracked block, or 0 when unknown.
size_t tracked_size(const void *block);

// Library-side wrappers used in the check build.
void *lib_malloc(uint32_t size, const char *file, int32_t line);
void *lib_calloc(uint32_t count, uint32_t size, const char *file, int32_t line);
void *lib_realloc(void *ptr, uint32_t size, const char *file, int32_t line);
void lib_free(void *ptr, const char *file, int32_t line);
void lib_Free(void *ptr, uint32_t length, const char *file, int32_t line);

// Wipes a heap block whose length the caller does not know (its whole
// usable size, which covers the size requested) and releases it.  For
// blocks from the lum_ allocators (plain malloc underneath in every build).
void free_unsized(void *ptr, const char *file, int32_t line);

}  // namespace kry::wipecheck

#if defined(KRY_WIPE_CHECK) && defined(KRY_BUILDING_LIBRARY)
#define lum_malloc(size, file, line) ::kry::wipecheck::lib_malloc((size), (file), (line))
#define lum_calloc(count, size, file, line) \
    ::kry::wipecheck::lib_calloc((count), (size), (file), (line))
#define lum_realloc(ptr, size, file, line) ::kry::wipecheck::lib_realloc((ptr), (size), (file), (line))
#define lum_free(ptr, file, line) ::kry::wipecheck::lib_free((ptr), (file), (line))
#define lum_Free(ptr, length) ::kry::wipecheck::lib_Free((ptr), (length), __FILE__, __LINE__)
#endif

#endif  // KRY_SRC_FOUNDATION_WIPE_CHECK_H
