// libFuzzer target: stream operation sequences on buffer streams and
// memory-buffer streams, with _ioReadLn on fuzzed data.
//
// Every buffer the library is handed is an exactly sized heap block, so the
// sanitizers see any access past it.  After each operation on a buffer
// stream the record must stay consistent: position <= size and
// cursor == base + 4 * position.  _ioReadLn must return -1 or a count below
// the line buffer's size, with a NUL after the count.  (A cell whose low
// byte is a line feed but whose upper bytes are not zero is stored as a line
// feed without ending the line: cells are compared whole.)
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <kry/mempool.h>
#include <kry/stream.h>

// A failed check names itself and aborts: libFuzzer keeps the input.
#define check(ok)                                                                  \
    do {                                                                           \
        if (!(ok)) {                                                               \
            fprintf(stderr, "check failed: %s (%s:%d)\n", #ok, __FILE__, __LINE__); \
            abort();                                                               \
        }                                                                          \
    } while (0)

namespace {


struct Reader {
    const uint8_t *p;
    size_t n;
    bool empty() const { return n == 0; }
    uint8_t byte() {
        if (n == 0) return 0;
        --n;
        return *p++;
    }
};

void consistent(const IO_STREAM &s, uint8_t *base, uint32_t units) {
    check(s.position <= units);
    check(s.base == base);
    check(s.cursor == base + 4u * s.position);
}

void read_line(IO_STREAM *s, Reader &rd) {
    const int32_t size = static_cast<int32_t>(rd.byte() % 40);
    char *line = static_cast<char *>(malloc(size > 0 ? static_cast<size_t>(size) : 1));
    check(line != nullptr);
    const int32_t got = _ioReadLn(s, size > 0 ? line : nullptr, size);
    if (got >= 0) {
        check(size > 0 && got < size);
        check(line[got] == '\0');
    } else {
        check(got == -1);
    }
    free(line);
}

// Operations shared by readers: characters, blocks, lines, control.
void reader_step(IO_STREAM *s, Reader &rd) {
    const uint8_t op = rd.byte();
    switch (op % 6) {
    case 0:
        (void)_ioReadCh(s);
        break;
    case 1: {
        const int32_t n = static_cast<int32_t>(rd.byte() % 64);
        uint8_t *out = static_cast<uint8_t *>(malloc(n ? static_cast<size_t>(n) : 1));
        check(out != nullptr);
        const int32_t got = _ioRead(s, out, n);
        check(got >= -1 && got <= n);
        free(out);
        break;
    }
    case 2:
    case 3:
        read_line(s, rd);
        break;
    case 4: {
        const uint8_t c = rd.byte();
        const int32_t commands[] = {KRY_IO_FLUSH, KRY_IO_REWIND, KRY_IO_SKIP, KRY_IO_TELL, KRY_IO_CURSOR, 0, -1};
        const int32_t command = commands[c % 7];
        if (command == KRY_IO_TELL) {
            uint32_t pos = 0;
            (void)_ioCtrl(s, command, &pos);
        } else if (command == KRY_IO_CURSOR) {
            uint8_t *cursor = nullptr;
            (void)_ioCtrl(s, command, &cursor);
        } else if (command == KRY_IO_SKIP) {
            // The skip count is the argument itself; include huge ones.
            uintptr_t n = rd.byte();
            if (c & 0x80) n = ~n;
            (void)_ioCtrl(s, command, reinterpret_cast<void *>(n));
        } else {
            (void)_ioCtrl(s, command, nullptr);
        }
        break;
    }
    case 5: {
        // Writes on a reader are refused by the null slots.
        uint8_t b = op;
        (void)_ioWriteCh(s, b);
        (void)_ioWrite(s, &b, 1);
        break;
    }
    }
}

void buffer_reader(Reader &rd) {
    const uint32_t units = rd.byte() % 64;
    uint8_t *buf = static_cast<uint8_t *>(malloc(units ? 4u * units : 1));
    check(buf != nullptr);
    // Cells: one input byte per character, or four raw bytes.
    const bool raw = rd.byte() & 1;
    memset(buf, 0, units ? 4u * units : 1);
    for (uint32_t i = 0; i < units; ++i) {
        if (raw)
            for (int k = 0; k < 4; ++k) buf[4 * i + static_cast<uint32_t>(k)] = rd.byte();
        else
            buf[4 * i] = rd.byte() % 4 == 0 ? '\n' : rd.byte();
    }
    IO_STREAM s;
    memset(&s, 0xA5, sizeof s);
    check(_ioOpenBufReader(&s, buf, units, 7) == 0);
    for (int step = 0; step < 100 && !rd.empty(); ++step) {
        reader_step(&s, rd);
        consistent(s, buf, units);
    }
    (void)_ioClose(&s);
    (void)_ioClose(&s);
    free(buf);
}

void buffer_writer(Reader &rd) {
    const uint32_t units = rd.byte() % 64;
    uint8_t *buf = static_cast<uint8_t *>(malloc(units ? 4u * units : 1));
    check(buf != nullptr);
    memset(buf, 0, units ? 4u * units : 1);
    IO_STREAM s;
    memset(&s, 0xA5, sizeof s);
    check(ioOpenBufWriter(&s, buf, units) == 0);
    for (int step = 0; step < 100 && !rd.empty(); ++step) {
        const uint8_t op = rd.byte();
        switch (op % 4) {
        case 0:
            (void)_ioWriteCh(&s, rd.byte() % 3 == 0 ? '\n' : rd.byte());
            break;
        case 1: {
            const size_t n = std::min<size_t>(rd.byte() % 64u, rd.n);
            uint8_t *copy = static_cast<uint8_t *>(malloc(n ? n : 1));
            check(copy != nullptr);
            memcpy(copy, rd.p, n);
            rd.p += n;
            rd.n -= n;
            const int32_t got = _ioWrite(&s, copy, static_cast<int32_t>(n));
            check(got >= -1 && got <= static_cast<int32_t>(n));
            free(copy);
            break;
        }
        case 2:
            (void)_ioCtrl(&s, (op & 0x10) ? KRY_IO_REWIND : KRY_IO_FLUSH, nullptr);
            break;
        case 3: {
            uint32_t pos = 0;
            (void)_ioCtrl(&s, KRY_IO_TELL, &pos);
            check(pos == s.position);
            (void)_ioReadCh(&s);  // a writer's read slots are null reads
            break;
        }
        }
        consistent(s, buf, units);
    }
    (void)_ioClose(&s);
    // Read back what was written, line by line.
    IO_STREAM r;
    check(_ioOpenBufReader(&r, buf, units, 0) == 0);
    for (int i = 0; i < 70; ++i) {
        read_line(&r, rd);
        consistent(r, buf, units);
        if (r.error == KRY_IO_END) break;
    }
    (void)_ioClose(&r);
    free(buf);
}

void membuf_streams(Reader &rd) {
    MEM_POOL *pool = memPoolInit(nullptr, 0);
    check(pool != nullptr);
    MEM_BUF mb;
    // Blocks of at least four bytes of area per counted byte.
    check(memBufInit(&mb, pool, 4u * (1u + rd.byte() % 40u)) == 0);
    IO_STREAM w;
    check(ioOpenMemBufWriter(&w, &mb) == 0);
    const int writes = rd.byte() % 16;
    for (int i = 0; i < writes && !rd.empty(); ++i) {
        if (rd.byte() & 1) {
            (void)_ioWriteCh(&w, rd.byte() % 3 == 0 ? '\n' : rd.byte());
        } else {
            const size_t n = std::min<size_t>(rd.byte() % 32u, rd.n);
            uint8_t *copy = static_cast<uint8_t *>(malloc(n ? n : 1));
            check(copy != nullptr);
            memcpy(copy, rd.p, n);
            rd.p += n;
            rd.n -= n;
            (void)_ioWrite(&w, copy, static_cast<int32_t>(n));
            free(copy);
        }
    }
    (void)_ioClose(&w);
    IO_STREAM r;
    check(ioOpenMemBufReader(&r, &mb) == 0);
    for (int step = 0; step < 100 && !rd.empty(); ++step) reader_step(&r, rd);
    (void)_ioClose(&r);
    memPoolDestroy(pool);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Reader rd{data, size};
    switch (rd.byte() % 3) {
    case 0: buffer_reader(rd); break;
    case 1: buffer_writer(rd); break;
    case 2: membuf_streams(rd); break;
    }
    return 0;
}
