// Byte streams: one record and a table of six operations (close, write
// character, write block, read character, read block, control) over a
// caller's buffer, a file, or a memory buffer (MEM_BUF); the _io dispatch
// calls; line reading; and two whole-file helpers.
//
// Buffer streams count units.  The character operations move 32-bit cells
// (stored little-endian with memcpy, no alignment assumed); the block
// operations copy bytes but still move the cursor four bytes per unit, so a
// buffer stream of size S addresses 4 x S bytes.  Mixing the two kinds of
// operation on one stream is not supported.
//
// Memory-buffer streams follow the same cell layout inside each block of a
// MEM_BUF: the writer appends with memBufUpdate (whose write position also
// advances four bytes per byte counted), and the reader walks the block
// chain, reading unit i of a block at data + 4 * i.  A character read there
// gives one byte, which is what a character write appended.
//
// Every record field is public, so each operation first checks that the
// fields describe a usable stream; a damaged record fails with
// KRY_IO_BAD_ARGUMENT instead of touching memory outside its buffer.

#include <kry/error.h>
#include <kry/stream.h>

#include "foundation/common.h"
#include "foundation/mempool_internal.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kFile[] = ".\\src\\stream";

// ---- record helpers ----------------------------------------------------

FILE *file_of(const IO_STREAM *s) { return reinterpret_cast<FILE *>(s->handle); }

bool is_reader(const IO_STREAM *s) { return (s->flags & 1u) != 0; }

void fill(IO_STREAM *s, const IO_OPERATIONS *ops, uint32_t flags, uintptr_t handle,
          uint8_t *base, uintptr_t value) {
    s->operations = ops;
    s->error = 0;
    s->flags = flags;
    s->handle = handle;
    s->base = base;
    s->position = 0;
    s->cursor = base;
    s->value = value;
}

// ---- null operations (slot adapters) -----------------------------------

int32_t null_write_ch(IO_STREAM *s, int32_t) { return ioNullRead(s); }
int32_t null_write(IO_STREAM *s, const void *, int32_t) { return ioNullRead(s); }
int32_t null_read(IO_STREAM *s, void *, int32_t) { return ioNullRead(s); }

// ---- buffer streams ----------------------------------------------------

// The buffer record is consistent: a buffer for every nonzero size, 4 x size
// bytes addressable without wrapping, the position within the size and the
// cursor exactly four bytes per unit past the base.
bool buffer_usable(const IO_STREAM *s) {
    const uintptr_t size = s->handle;
    if (size == 0)
        return s->position == 0 && s->cursor == s->base;
    if (s->base == nullptr || size > UINTPTR_MAX / 4)
        return false;
    const uintptr_t base = reinterpret_cast<uintptr_t>(s->base);
    if (base > UINTPTR_MAX - 4 * size)
        return false;
    if (s->position > size)
        return false;
    return reinterpret_cast<uintptr_t>(s->cursor) == base + 4 * uintptr_t{s->position};
}

uintptr_t units_left(const IO_STREAM *s) { return s->handle - s->position; }

void advance(IO_STREAM *s, uint32_t units) {
    s->position += units;
    s->cursor += 4 * uintptr_t{units};
}

int32_t buffer_read_ch(IO_STREAM *s) {
    if (s == nullptr)
        return KRY_IO_READ_FAILED;
    if (!buffer_usable(s)) {
        s->error = KRY_IO_BAD_ARGUMENT;
        return KRY_IO_READ_FAILED;
    }
    if (units_left(s) == 0) {
        s->error = KRY_IO_END;
        return KRY_IO_READ_FAILED;
    }
    uint32_t cell;
    std::memcpy(&cell, s->cursor, 4);
    advance(s, 1);
    return static_cast<int32_t>(cell);
}

int32_t buffer_write_ch(IO_STREAM *s, int32_t ch) {
    if (s == nullptr)
        return -1;
    if (!buffer_usable(s)) {
        s->error = KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    if (units_left(s) == 0) {
        s->error = KRY_IO_END;
        return 0;
    }
    const uint32_t cell = static_cast<uint32_t>(ch);
    std::memcpy(s->cursor, &cell, 4);
    advance(s, 1);
    return 1;
}

// Units a block operation may move: min(length, size - position), or -1 for
// a damaged record or a negative length.  The copy of n bytes at the cursor
// ends at most 4 * position + (size - position) <= 4 * size bytes past the
// base.  At the end of the buffer it stores KRY_IO_END and gives 0.
int64_t block_units(IO_STREAM *s, const void *memory, int32_t length) {
    if (!buffer_usable(s) || length < 0 || (memory == nullptr && length > 0)) {
        s->error = KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    const uintptr_t left = units_left(s);
    if (left == 0) {
        s->error = KRY_IO_END;
        return 0;
    }
    return static_cast<int64_t>(uintptr_t(length) < left ? uintptr_t(length) : left);
}

int32_t buffer_read(IO_STREAM *s, void *buffer, int32_t length) {
    if (s == nullptr)
        return -1;
    const int64_t n = block_units(s, buffer, length);
    if (n > 0) {
        std::memcpy(buffer, s->cursor, static_cast<size_t>(n));
        advance(s, static_cast<uint32_t>(n));
    }
    return static_cast<int32_t>(n);
}

int32_t buffer_write(IO_STREAM *s, const void *data, int32_t length) {
    if (s == nullptr)
        return -1;
    const int64_t n = block_units(s, data, length);
    if (n > 0) {
        std::memcpy(s->cursor, data, static_cast<size_t>(n));
        advance(s, static_cast<uint32_t>(n));
    }
    return static_cast<int32_t>(n);
}

// Commands: 1 flush, 2 rewind, 4 skip (readers; the argument is the unit
// count itself), 8 position into *(uint32_t *)argument, 16 cursor into
// *(uint8_t **)argument (readers).
int32_t buffer_ctrl(IO_STREAM *s, int32_t command, void *argument) {
    if (s == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    switch (command) {
    case KRY_IO_FLUSH:
        return 0;
    case KRY_IO_REWIND:
        s->position = 0;
        s->cursor = s->base;
        s->error = 0;
        return 0;
    case KRY_IO_SKIP: {
        if (!is_reader(s))
            return KRY_IO_UNSUPPORTED;
        if (!buffer_usable(s))
            return KRY_IO_BAD_ARGUMENT;
        const uintptr_t want = reinterpret_cast<uintptr_t>(argument);
        const uintptr_t left = units_left(s);
        advance(s, static_cast<uint32_t>(want < left ? want : left));
        return 0;
    }
    case KRY_IO_TELL:
        if (argument == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        std::memcpy(argument, &s->position, sizeof s->position);
        return 0;
    case KRY_IO_CURSOR:
        if (!is_reader(s))
            return KRY_IO_UNSUPPORTED;
        if (argument == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        std::memcpy(argument, &s->cursor, sizeof s->cursor);
        return 0;
    default:
        return KRY_IO_UNSUPPORTED;
    }
}

// ---- file streams ------------------------------------------------------

int32_t file_close(IO_STREAM *s) {
    if (s == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    FILE *f = file_of(s);
    if (f == nullptr)
        return 0;
    s->handle = 0;  // the handle is gone whatever fclose reports
    return std::fclose(f) == 0 ? 0 : KRY_IO_CLOSE_FAILED;
}

int32_t file_write(IO_STREAM *s, const void *data, int32_t length) {
    if (s == nullptr)
        return -1;
    FILE *f = file_of(s);
    if (f == nullptr || length < 0 || (data == nullptr && length > 0)) {
        s->error = f == nullptr ? KRY_IO_FILE_FAILED : KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    const size_t written =
        length == 0 ? 0 : std::fwrite(data, 1, static_cast<size_t>(length), f);
    if (written == 0) {
        s->error = KRY_IO_FILE_FAILED;
        return -1;
    }
    return static_cast<int32_t>(written);
}

int32_t file_write_ch(IO_STREAM *s, int32_t ch) {
    const uint8_t byte = static_cast<uint8_t>(ch);
    return file_write(s, &byte, 1);
}

int32_t file_read(IO_STREAM *s, void *buffer, int32_t length) {
    if (s == nullptr)
        return -1;
    FILE *f = file_of(s);
    if (f == nullptr || length < 0 || (buffer == nullptr && length > 0)) {
        s->error = f == nullptr ? KRY_IO_FILE_FAILED : KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    if (length == 0)
        return 0;
    const size_t got = std::fread(buffer, 1, static_cast<size_t>(length), f);
    if (got == 0)
        s->error = KRY_IO_END;
    return static_cast<int32_t>(got);
}

int32_t file_read_ch(IO_STREAM *s) {
    if (s == nullptr)
        return KRY_IO_READ_FAILED;
    FILE *f = file_of(s);
    if (f == nullptr) {
        s->error = KRY_IO_FILE_FAILED;
        return KRY_IO_READ_FAILED;
    }
    uint8_t byte;
    if (std::fread(&byte, 1, 1, f) == 1)
        return byte;
    s->error = std::feof(f) ? KRY_IO_END : KRY_IO_FILE_FAILED;
    return KRY_IO_READ_FAILED;
}

bool valid_origin(intptr_t origin) {
    return origin == SEEK_SET || origin == SEEK_CUR || origin == SEEK_END;
}

// Commands: 1 flush, 2 back to the start, 4 (readers) seek by one byte from
// the origin passed as the argument, 8 seek to byte 1 with fseek's result
// stored in *(int32_t *)argument.
int32_t file_ctrl(IO_STREAM *s, int32_t command, void *argument) {
    if (s == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    FILE *f = file_of(s);
    switch (command) {
    case KRY_IO_FLUSH:
        return 0;
    case KRY_IO_REWIND:
        if (f == nullptr || std::fseek(f, 0, SEEK_SET) != 0)
            return KRY_IO_FILE_FAILED;
        s->error = 0;
        return 0;
    case KRY_IO_SKIP: {
        if (!is_reader(s))
            return KRY_IO_UNSUPPORTED;
        const intptr_t origin = reinterpret_cast<intptr_t>(argument);
        if (f == nullptr || !valid_origin(origin))
            return KRY_IO_FILE_FAILED;
        return std::fseek(f, 1, static_cast<int>(origin)) == 0 ? 0 : KRY_IO_FILE_FAILED;
    }
    case KRY_IO_TELL: {
        if (argument == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        const int32_t r = f == nullptr ? -1 : std::fseek(f, 1, SEEK_SET);
        std::memcpy(argument, &r, sizeof r);
        return r == 0 ? 0 : KRY_IO_FILE_FAILED;
    }
    default:
        return KRY_IO_UNSUPPORTED;
    }
}

// ---- memory-buffer streams ---------------------------------------------

MEM_BUF *membuf_of(const IO_STREAM *s) { return reinterpret_cast<MEM_BUF *>(s->value); }

// Writer: position counts the bytes this stream appended.
int32_t membuf_write(IO_STREAM *s, const void *data, int32_t length) {
    if (s == nullptr)
        return -1;
    MEM_BUF *buf = membuf_of(s);
    if (buf == nullptr || length < 0 || (data == nullptr && length > 0)) {
        s->error = KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    const uint32_t before = buf->length;
    const uint32_t rc =
        length == 0 ? 0
                    : memBufUpdate(buf, static_cast<const uint8_t *>(data),
                                   static_cast<uint32_t>(length));
    uint32_t added = buf->length - before;
    if (added > static_cast<uint32_t>(length))
        added = static_cast<uint32_t>(length);
    s->position += added;
    if (rc != 0) {
        s->error = KRY_IO_FILE_FAILED;
        if (added == 0)
            return -1;
    }
    return static_cast<int32_t>(added);
}

int32_t membuf_write_ch(IO_STREAM *s, int32_t ch) {
    const uint8_t byte = static_cast<uint8_t>(ch);
    return membuf_write(s, &byte, 1);
}

// Commands: 1 flush, 8 bytes appended into *(uint32_t *)argument; the
// buffer only grows, so there is no rewind or skip.
int32_t membuf_writer_ctrl(IO_STREAM *s, int32_t command, void *argument) {
    if (s == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    switch (command) {
    case KRY_IO_FLUSH:
        return 0;
    case KRY_IO_TELL:
        if (argument == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        std::memcpy(argument, &s->position, sizeof s->position);
        return 0;
    default:
        return KRY_IO_UNSUPPORTED;
    }
}

// Reader state: handle = the current block (null before the first block
// exists), base = that block's data, cursor = base + 4 * (units read from
// the block), position = units read in all.
MEM_BUF_BLOCK *current_block(const IO_STREAM *s) {
    return reinterpret_cast<MEM_BUF_BLOCK *>(s->handle);
}

void enter_block(IO_STREAM *s, MEM_BUF_BLOCK *block) {
    s->handle = reinterpret_cast<uintptr_t>(block);
    s->base = block != nullptr ? block->data : nullptr;
    s->cursor = s->base;
}

// Units of the current block that can still be read, at most `want`, each
// lying inside the block's data area (sized by memBufUpdate for the 4-byte
// stride): the copy of n bytes from unit i ends at 4 * i + n.
uint32_t readable_here(const IO_STREAM *s, uint32_t want) {
    const MEM_BUF_BLOCK *b = current_block(s);
    if (b == nullptr || b->data == nullptr || s->cursor < b->data)
        return 0;
    const uint64_t offset = static_cast<uint64_t>(s->cursor - b->data);
    const uint64_t capacity = kry::membuf_block_bytes(b);
    if (offset % 4 != 0)
        return 0;
    const uint64_t index = offset / 4;
    if (index >= b->used || offset >= capacity)
        return 0;
    uint64_t n = b->used - index;
    if (n > capacity - offset)
        n = capacity - offset;
    return static_cast<uint32_t>(n < want ? n : want);
}

// Moves to the first block after the current one that has a readable unit;
// false at the end of the chain (the reader stays where it is, so bytes
// appended later are still found).
bool settle(IO_STREAM *s) {
    MEM_BUF *buf = membuf_of(s);
    if (s->handle == 0) {
        if (buf->first == nullptr)
            return false;
        enter_block(s, buf->first);
    }
    for (;;) {
        if (readable_here(s, 1) != 0)
            return true;
        MEM_BUF_BLOCK *next = current_block(s)->next;
        if (next == nullptr)
            return false;
        enter_block(s, next);
    }
}

bool membuf_reader_usable(const IO_STREAM *s) {
    const MEM_BUF *buf = membuf_of(s);
    if (buf == nullptr)
        return false;
    const MEM_BUF_BLOCK *b = current_block(s);
    return b == nullptr || (b->data == s->base && s->cursor >= s->base);
}

int32_t membuf_read_ch(IO_STREAM *s) {
    if (s == nullptr)
        return KRY_IO_READ_FAILED;
    if (!membuf_reader_usable(s)) {
        s->error = KRY_IO_BAD_ARGUMENT;
        return KRY_IO_READ_FAILED;
    }
    if (!settle(s)) {
        s->error = KRY_IO_END;
        return KRY_IO_READ_FAILED;
    }
    const uint8_t byte = *s->cursor;
    s->cursor += 4;
    s->position += 1;
    return byte;
}

// Copies up to length units, moving on through the chain; the caller's
// buffer is filled contiguously.
uint32_t membuf_take(IO_STREAM *s, uint8_t *out, uint32_t length) {
    uint32_t done = 0;
    while (done < length && settle(s)) {
        const uint32_t n = readable_here(s, length - done);
        if (out != nullptr)
            std::memcpy(out + done, s->cursor, n);
        s->cursor += 4 * uintptr_t{n};
        s->position += n;
        done += n;
    }
    return done;
}

int32_t membuf_read(IO_STREAM *s, void *buffer, int32_t length) {
    if (s == nullptr)
        return -1;
    if (!membuf_reader_usable(s) || length < 0 || (buffer == nullptr && length > 0)) {
        s->error = KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    if (length == 0)
        return 0;
    const uint32_t got =
        membuf_take(s, static_cast<uint8_t *>(buffer), static_cast<uint32_t>(length));
    if (got == 0)
        s->error = KRY_IO_END;
    return static_cast<int32_t>(got);
}

// Commands as for a buffer reader: 1 flush, 2 rewind, 4 skip (the argument
// is the unit count), 8 units read into *(uint32_t *)argument, 16 cursor
// into *(uint8_t **)argument.
int32_t membuf_reader_ctrl(IO_STREAM *s, int32_t command, void *argument) {
    if (s == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    switch (command) {
    case KRY_IO_FLUSH:
        return 0;
    case KRY_IO_REWIND: {
        MEM_BUF *buf = membuf_of(s);
        if (buf == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        enter_block(s, buf->first);
        s->position = 0;
        s->error = 0;
        return 0;
    }
    case KRY_IO_SKIP: {
        if (!membuf_reader_usable(s))
            return KRY_IO_BAD_ARGUMENT;
        const uintptr_t want = reinterpret_cast<uintptr_t>(argument);
        membuf_take(s, nullptr, want > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(want));
        return 0;
    }
    case KRY_IO_TELL:
        if (argument == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        std::memcpy(argument, &s->position, sizeof s->position);
        return 0;
    case KRY_IO_CURSOR:
        if (argument == nullptr)
            return KRY_IO_BAD_ARGUMENT;
        std::memcpy(argument, &s->cursor, sizeof s->cursor);
        return 0;
    default:
        return KRY_IO_UNSUPPORTED;
    }
}

// ---- operation tables --------------------------------------------------

constexpr IO_OPERATIONS kBufferReader = {ioNullClose, null_write_ch, null_write,
                                         buffer_read_ch, buffer_read, buffer_ctrl};
constexpr IO_OPERATIONS kBufferWriter = {ioNullClose, buffer_write_ch, buffer_write,
                                         ioNullReadCh, null_read, buffer_ctrl};
constexpr IO_OPERATIONS kFileReader = {file_close, null_write_ch, null_write,
                                       file_read_ch, file_read, file_ctrl};
constexpr IO_OPERATIONS kFileWriter = {file_close, file_write_ch, file_write,
                                       ioNullReadCh, null_read, file_ctrl};
constexpr IO_OPERATIONS kMemBufWriter = {ioNullClose, membuf_write_ch, membuf_write,
                                         ioNullReadCh, null_read, membuf_writer_ctrl};
constexpr IO_OPERATIONS kMemBufReader = {ioNullClose, null_write_ch, null_write,
                                         membuf_read_ch, membuf_read, membuf_reader_ctrl};

constexpr uint32_t kMemBufWriterFlags = 2;
constexpr uint32_t kMemBufReaderFlags = 129;

// The stream's operation table, or null (with KRY_IO_UNSUPPORTED stored)
// when it has none.
const IO_OPERATIONS *table_of(IO_STREAM *s) {
    const IO_OPERATIONS *ops = s->operations;
    if (ops == nullptr)
        s->error = KRY_IO_UNSUPPORTED;
    return ops;
}

void unsupported(IO_STREAM *s) { s->error = KRY_IO_UNSUPPORTED; }

}  // namespace

// ---- opening -------------------------------------------------------------

int32_t _ioOpenBufReader(IO_STREAM *stream, uint8_t *buffer, uint32_t size, uintptr_t value) {
    if (stream == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    fill(stream, &kBufferReader, KRY_IO_READER, size, buffer, value);
    return 0;
}

int32_t ioOpenBufWriter(IO_STREAM *stream, uint8_t *buffer, uint32_t size) {
    if (stream == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    fill(stream, &kBufferWriter, KRY_IO_WRITER, size, buffer, 0);
    return 0;
}

int32_t ioOpenFileReader(IO_STREAM *stream, const char *path) {
    if (stream == nullptr || path == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    std::memset(stream, 0, sizeof *stream);
    FILE *f = std::fopen(path, "rb");
    if (f == nullptr)
        return KRY_IO_OPEN_FAILED;
    fill(stream, &kFileReader, KRY_IO_READER, reinterpret_cast<uintptr_t>(f), nullptr, 0);
    return 0;
}

int32_t ioOpenFileWriter(IO_STREAM *stream, const char *path) {
    if (stream == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    std::memset(stream, 0, sizeof *stream);
    if (path == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    FILE *f = std::fopen(path, "wb");
    if (f == nullptr)
        return KRY_IO_OPEN_FAILED;
    fill(stream, &kFileWriter, KRY_IO_WRITER, reinterpret_cast<uintptr_t>(f), nullptr, 0);
    return 0;
}

int32_t ioOpenMemBufWriter(IO_STREAM *stream, MEM_BUF *buffer) {
    if (stream == nullptr || buffer == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    fill(stream, &kMemBufWriter, kMemBufWriterFlags, 0, nullptr,
         reinterpret_cast<uintptr_t>(buffer));
    return 0;
}

int32_t ioOpenMemBufReader(IO_STREAM *stream, MEM_BUF *buffer) {
    if (stream == nullptr || buffer == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    fill(stream, &kMemBufReader, kMemBufReaderFlags, 0, nullptr,
         reinterpret_cast<uintptr_t>(buffer));
    enter_block(stream, buffer->first);
    return 0;
}

// ---- dispatch ------------------------------------------------------------

int32_t _ioWriteCh(IO_STREAM *stream, int32_t ch) {
    if (stream == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    const IO_OPERATIONS *ops = table_of(stream);
    if (ops == nullptr)
        return KRY_IO_UNSUPPORTED;
    if (ops->write_ch == nullptr) {
        unsupported(stream);
        return KRY_IO_UNSUPPORTED;
    }
    return ops->write_ch(stream, ch & 0xFF);
}

int32_t _ioWrite(IO_STREAM *stream, const void *data, int32_t length) {
    if (stream == nullptr)
        return -1;
    const IO_OPERATIONS *ops = table_of(stream);
    if (ops == nullptr)
        return -1;
    if (ops->write == nullptr) {
        unsupported(stream);
        return -1;
    }
    return ops->write(stream, data, length);
}

int32_t _ioReadCh(IO_STREAM *stream) {
    if (stream == nullptr)
        return KRY_IO_READ_FAILED;
    const IO_OPERATIONS *ops = table_of(stream);
    if (ops == nullptr)
        return KRY_IO_READ_FAILED;
    if (ops->read_ch == nullptr) {
        unsupported(stream);
        return KRY_IO_READ_FAILED;
    }
    return ops->read_ch(stream);
}

int32_t _ioRead(IO_STREAM *stream, void *buffer, int32_t length) {
    if (stream == nullptr)
        return -1;
    const IO_OPERATIONS *ops = table_of(stream);
    if (ops == nullptr)
        return -1;
    if (ops->read == nullptr) {
        unsupported(stream);
        return -1;
    }
    return ops->read(stream, buffer, length);
}

int32_t _ioCtrl(IO_STREAM *stream, int32_t command, void *argument) {
    if (stream == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    const IO_OPERATIONS *ops = table_of(stream);
    if (ops == nullptr)
        return KRY_IO_UNSUPPORTED;
    if (ops->ctrl == nullptr) {
        unsupported(stream);
        return KRY_IO_UNSUPPORTED;
    }
    return ops->ctrl(stream, command, argument);
}

// Flushes (control 1), then closes; the closed bit is set only when both
// succeed, and a closed stream is not closed again.
int32_t _ioClose(IO_STREAM *stream) {
    if (stream == nullptr)
        return KRY_IO_BAD_ARGUMENT;
    if ((stream->flags & KRY_IO_CLOSED) != 0)
        return 0;
    const IO_OPERATIONS *ops = table_of(stream);
    if (ops == nullptr || ops->ctrl == nullptr || ops->close == nullptr) {
        unsupported(stream);
        return KRY_IO_UNSUPPORTED;
    }
    int32_t r = ops->ctrl(stream, KRY_IO_FLUSH, nullptr);
    if (r != 0)
        return r;
    r = ops->close(stream);
    if (r != 0)
        return r;
    stream->flags |= KRY_IO_CLOSED;
    return 0;
}

// Reads characters up to and including a line feed, at most size - 1 of
// them, and ends them with a NUL.  At the end of the data every further
// read gives the failure value 27, which is stored like a character, so a
// last line without a line feed fills the buffer and fails with 28.
int32_t _ioReadLn(IO_STREAM *stream, char *buffer, int32_t size) {
    if (stream == nullptr)
        return -1;
    if (buffer == nullptr && size != 0) {
        stream->error = KRY_IO_BAD_ARGUMENT;
        return -1;
    }
    if (size > 0)
        std::memset(buffer, 0, static_cast<size_t>(size));
    if (size <= 1) {
        stream->error = KRY_IO_LINE_TOO_LONG;
        return -1;
    }
    for (int32_t i = 0; i < size - 1; ++i) {
        const int32_t ch = _ioReadCh(stream);
        if (stream->error != 0 && stream->error != KRY_IO_END)
            return -1;
        buffer[i] = static_cast<char>(ch);
        if (ch == '\n') {
            buffer[i + 1] = '\0';
            return i + 1;
        }
    }
    stream->error = KRY_IO_LINE_TOO_LONG;
    return -1;
}

// ---- null operations -----------------------------------------------------

int32_t ioNullClose(IO_STREAM *) { return 0; }

int32_t ioNullReadCh(IO_STREAM *stream) {
    if (stream != nullptr)
        stream->error = KRY_IO_UNSUPPORTED;
    return KRY_IO_READ_FAILED;
}

int32_t ioNullRead(IO_STREAM *stream) {
    if (stream != nullptr)
        stream->error = KRY_IO_UNSUPPORTED;
    return -1;
}

int32_t ioNullCtl(IO_STREAM *, int32_t command) {
    return command == KRY_IO_FLUSH ? 0 : KRY_IO_UNSUPPORTED;
}

// ---- whole-file helpers --------------------------------------------------

int32_t File_to_binary(const char *path, uint8_t **out) {
    if (path == nullptr || out == nullptr)
        return -1;
    FILE *f = std::fopen(path, "rb");
    if (f == nullptr)
        return -1;
    long length = -1;
    if (std::fseek(f, 0, SEEK_END) == 0)
        length = std::ftell(f);
    if (length <= 0 || length > INT32_MAX) {
        std::fclose(f);
        return -1;
    }
    const uint32_t n = static_cast<uint32_t>(length);
    auto *data = static_cast<uint8_t *>(lum_malloc(n, kFile, __LINE__));
    if (data == nullptr) {
        std::fclose(f);
        return -1;
    }
    if (std::fseek(f, 0, SEEK_SET) != 0 || std::fread(data, 1, n, f) != n) {
        std::fclose(f);
        kry::wipe(data, n);
        lum_free(data, kFile, __LINE__);
        return -1;
    }
    std::fclose(f);
    *out = data;
    return static_cast<int32_t>(n);
}

// Writes `length` bytes from data + offset, so the caller's data holds
// offset + length bytes.  A negative offset would read before the data and
// is refused.
int32_t binary_to_File(const uint8_t *data, int32_t offset, int32_t length, const char *path) {
    if (path == nullptr || data == nullptr || length < 1 ||
        static_cast<int64_t>(length) - offset < 1 || offset < 0)
        return -1;
    FILE *f = std::fopen(path, "wb");
    if (f == nullptr)
        return -1;
    const size_t written = std::fwrite(data + offset, 1, static_cast<size_t>(length), f);
    std::fclose(f);
    return static_cast<int32_t>(written);
}
