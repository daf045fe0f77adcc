// Release-time zeroisation check; see wipe_check.h.

#include "foundation/wipe_check.h"

#include "foundation/common.h"

#include <malloc.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

namespace kry::wipecheck {
namespace {

struct Site {
    size_t size;
    const char *file;
    int32_t line;
};

void default_handler(const Violation &v) {
    std::fprintf(stderr,
                 "kry wipe check: block %p of %zu bytes allocated at %s:%d released unwiped at "
                 "%s:%d (byte %zu is not zero)\n",
                 v.block, v.size, v.alloc_file != nullptr ? v.alloc_file : "?", v.alloc_line,
                 v.release_file != nullptr ? v.release_file : "?", v.release_line, v.offset);
    // KRY_WIPE_CHECK_CONTINUE=1 lists every violation of a run instead of
    // stopping at the first.
    const char *go_on = std::getenv("KRY_WIPE_CHECK_CONTINUE");
    if (go_on == nullptr || std::strcmp(go_on, "1") != 0)
        std::abort();
}

std::atomic<Handler> g_handler{nullptr};
std::atomic<size_t> g_violations{0};

#ifdef KRY_WIPE_CHECK
std::mutex &table_lock() {
    static std::mutex lock;
    return lock;
}
// Never destroyed: releases may still arrive from static destructors.
std::unordered_map<const void *, Site> &table() {
    static auto *t = new std::unordered_map<const void *, Site>();
    return *t;
}
#endif

}  // namespace

bool active() {
#ifdef KRY_WIPE_CHECK
    return true;
#else
    return false;
#endif
}

Handler set_handler(Handler handler) { return g_handler.exchange(handler); }

size_t violations() { return g_violations.load(); }

bool check_block(const void *block, size_t size, const char *alloc_file, int32_t alloc_line,
                 const char *release_file, int32_t release_line) {
    if (block == nullptr)
        return true;
    const auto *bytes = static_cast<const volatile uint8_t *>(block);
    for (size_t i = 0; i < size; i++) {
        if (bytes[i] != 0) {
            g_violations.fetch_add(1);
            const Violation v{block, size, i, alloc_file, alloc_line, release_file, release_line};
            Handler h = g_handler.load();
            (h != nullptr ? h : default_handler)(v);
            return false;
        }
    }
    return true;
}

void note_alloc([[maybe_unused]] void *block, [[maybe_unused]] size_t size,
                [[maybe_unused]] const char *file, [[maybe_unused]] int32_t line) {
#ifdef KRY_WIPE_CHECK
    if (block == nullptr)
        return;
    std::lock_guard<std::mutex> guard(table_lock());
    table()[block] = Site{size, file, line};
#endif
}

void note_release([[maybe_unused]] const void *block, [[maybe_unused]] const char *file,
                  [[maybe_unused]] int32_t line) {
#ifdef KRY_WIPE_CHECK
    if (block == nullptr)
        return;
    Site site{};
    {
        std::lock_guard<std::mutex> guard(table_lock());
        auto it = table().find(block);
        if (it == table().end())
            return;
        site = it->second;
        table().erase(it);
    }
    check_block(block, site.size, site.file, site.line, file, line);
#endif
}

void forget([[maybe_unused]] const void *block) {
#ifdef KRY_WIPE_CHECK
    if (block == nullptr)
        return;
    std::lock_guard<std::mutex> guard(table_lock());
    table().erase(block);
#endif
}

size_t tracked_size([[maybe_unused]] const void *block) {
#ifdef KRY_WIPE_CHECK
    std::lock_guard<std::mutex> guard(table_lock());
    auto it = table().find(block);
    return it == table().end() ? 0 : it->second.size;
#else
    return 0;
#endif
}

void *lib_malloc(uint32_t size, const char *file, int32_t line) {
    void *p = std::malloc(size);
    note_alloc(p, size, file, line);
    return p;
}

void *lib_calloc(uint32_t count, uint32_t size, const char *file, int32_t line) {
    void *p = std::calloc(count, size);
    note_alloc(p, size_t{count} * size, file, line);
    return p;
}

// Moves the contents to a fresh block and wipes the old one, so that a
// grown or shrunk buffer leaves no copy behind.
void *lib_realloc(void *ptr, uint32_t size, const char *file, int32_t line) {
    if (ptr == nullptr)
        return lib_malloc(size, file, line);
    size_t old_size = tracked_size(ptr);
    if (old_size == 0)
        old_size = malloc_usable_size(ptr);
    if (size == 0) {
        kry::wipe(ptr, old_size);
        forget(ptr);
        std::free(ptr);
        return nullptr;
    }
    void *fresh = std::malloc(size);
    if (fresh == nullptr)
        return nullptr;
    std::memcpy(fresh, ptr, old_size < size ? old_size : size);
    kry::wipe(ptr, old_size);
    forget(ptr);
    std::free(ptr);
    note_alloc(fresh, size, file, line);
    return fresh;
}

void lib_free(void *ptr, const char *file, int32_t line) {
    if (ptr == nullptr)
        return;
    note_release(ptr, file, line);
    std::free(ptr);
}

void lib_Free(void *ptr, uint32_t length, const char *file, int32_t line) {
    if (ptr == nullptr)
        return;
    kry::wipe(ptr, length);
    note_release(ptr, file, line);
    std::free(ptr);
}

void free_unsized(void *ptr, const char *file, int32_t line) {
    if (ptr == nullptr)
        return;
    kry::wipe(ptr, malloc_usable_size(ptr));
    note_release(ptr, file, line);
    std::free(ptr);
}

}  // namespace kry::wipecheck
