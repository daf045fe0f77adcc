// Byte streams over caller buffers and memory buffers: the record each open
// call fills, the 32-bit cells of the character operations against the
// bytes of the block operations (both moving the cursor four bytes per
// unit), end of data, control commands, the null operations, dispatch on
// null or incomplete streams, _ioClose and _ioReadLn.

#include <kry/mempool.h>
#include <kry/stream.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// One 32-bit little-endian cell per character, as the character
// operations of a buffer stream read them.
Bytes cells(const std::string &text) {
    Bytes b(4 * text.size(), 0);
    for (size_t i = 0; i < text.size(); ++i)
        b[4 * i] = static_cast<uint8_t>(text[i]);
    return b;
}

uint32_t cell_at(const Bytes &b, size_t unit) {
    uint32_t v;
    std::memcpy(&v, b.data() + 4 * unit, 4);
    return v;
}

void *arg(uintptr_t n) { return reinterpret_cast<void *>(n); }

IO_STREAM reader_over(Bytes &b, uint32_t units, uintptr_t value = 0) {
    IO_STREAM s;
    std::memset(&s, 0xA5, sizeof s);
    EXPECT_EQ(_ioOpenBufReader(&s, b.data(), units, value), 0);
    return s;
}

IO_STREAM writer_over(Bytes &b, uint32_t units) {
    IO_STREAM s;
    std::memset(&s, 0xA5, sizeof s);
    EXPECT_EQ(ioOpenBufWriter(&s, b.data(), units), 0);
    return s;
}

// ---- opening -------------------------------------------------------------

TEST(BufferStream, ReaderRecord) {
    Bytes b(16);
    IO_STREAM s = reader_over(b, 4, 0x1234);
    EXPECT_NE(s.operations, nullptr);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(s.flags, 0x181u);
    EXPECT_EQ(s.handle, 4u);
    EXPECT_EQ(s.base, b.data());
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.cursor, b.data());
    EXPECT_EQ(s.value, 0x1234u);
}

TEST(BufferStream, WriterRecord) {
    Bytes b(16);
    IO_STREAM s = writer_over(b, 4);
    EXPECT_NE(s.operations, nullptr);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(s.flags, 0x182u);
    EXPECT_EQ(s.handle, 4u);
    EXPECT_EQ(s.base, b.data());
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.cursor, b.data());
    EXPECT_EQ(s.value, 0u);
    IO_STREAM r = reader_over(b, 4);
    EXPECT_NE(s.operations, r.operations);
}

TEST(BufferStream, OpenWithNullStream) {
    Bytes b(4);
    EXPECT_EQ(_ioOpenBufReader(nullptr, b.data(), 1, 0), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenBufWriter(nullptr, b.data(), 1), KRY_IO_BAD_ARGUMENT);
}

// ---- buffer reader -------------------------------------------------------

TEST(BufferReader, CharactersAreLittleEndianCells) {
    Bytes b = {0x44, 0x33, 0x22, 0x11, 0xDD, 0xCC, 0xBB, 0xAA};
    IO_STREAM s = reader_over(b, 2);
    EXPECT_EQ(_ioReadCh(&s), 0x11223344);
    EXPECT_EQ(s.position, 1u);
    EXPECT_EQ(s.cursor, b.data() + 4);
    EXPECT_EQ(static_cast<uint32_t>(_ioReadCh(&s)), 0xAABBCCDDu);
    EXPECT_EQ(s.position, 2u);
    EXPECT_EQ(s.cursor, b.data() + 8);
    EXPECT_EQ(s.error, 0);
}

// Unaligned cells are read byte by byte.
TEST(BufferReader, UnalignedBuffer) {
    Bytes b(9, 0);
    b[1] = 0x78; b[2] = 0x56; b[3] = 0x34; b[4] = 0x12;
    IO_STREAM s = reader_over(b, 0);
    ASSERT_EQ(_ioOpenBufReader(&s, b.data() + 1, 2, 0), 0);
    EXPECT_EQ(_ioReadCh(&s), 0x12345678);
}

TEST(BufferReader, ExhaustedReaderGives27AndError29) {
    Bytes b = cells("a");
    IO_STREAM s = reader_over(b, 1);
    EXPECT_EQ(_ioReadCh(&s), 'a');
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_END);
    EXPECT_EQ(s.position, 1u);
    EXPECT_EQ(s.cursor, b.data() + 4);
    // The block read reports the end the same way, with a count of 0.
    s.error = 0;
    uint8_t out[4] = {9, 9, 9, 9};
    EXPECT_EQ(_ioRead(&s, out, 4), 0);
    EXPECT_EQ(s.error, KRY_IO_END);
    EXPECT_EQ(out[0], 9);
}

TEST(BufferReader, EmptyBufferIsAtEnd) {
    IO_STREAM s;
    ASSERT_EQ(_ioOpenBufReader(&s, nullptr, 0, 0), 0);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_END);
    uint8_t out[1];
    EXPECT_EQ(_ioRead(&s, out, 1), 0);
}

// Block reads copy bytes but move the cursor four bytes per byte copied, and
// copy at most size - position bytes.
TEST(BufferReader, BlockReadStride) {
    Bytes b(16);
    for (size_t i = 0; i < b.size(); ++i) b[i] = static_cast<uint8_t>(0x10 + i);
    IO_STREAM s = reader_over(b, 4);
    uint8_t out[16];
    std::memset(out, 0, sizeof out);
    EXPECT_EQ(_ioRead(&s, out, 2), 2);
    EXPECT_EQ(out[0], 0x10);
    EXPECT_EQ(out[1], 0x11);
    EXPECT_EQ(s.position, 2u);
    EXPECT_EQ(s.cursor, b.data() + 8);
    std::memset(out, 0, sizeof out);
    EXPECT_EQ(_ioRead(&s, out, 10), 2);  // min(10, 4 - 2)
    EXPECT_EQ(out[0], 0x18);
    EXPECT_EQ(out[1], 0x19);
    EXPECT_EQ(out[2], 0);
    EXPECT_EQ(s.position, 4u);
    EXPECT_EQ(s.cursor, b.data() + 16);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioRead(&s, out, 1), 0);
    EXPECT_EQ(s.error, KRY_IO_END);
}

TEST(BufferReader, ZeroLengthBlockRead) {
    Bytes b(8);
    IO_STREAM s = reader_over(b, 2);
    EXPECT_EQ(_ioRead(&s, nullptr, 0), 0);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(s.position, 0u);
}

// The character and block operations address the same 4 x size bytes.
TEST(BufferReader, CharacterAndBlockStrideAgree) {
    Bytes b = cells("wxyz");
    IO_STREAM s = reader_over(b, 4);
    EXPECT_EQ(_ioReadCh(&s), 'w');
    uint8_t out[1] = {0};
    EXPECT_EQ(_ioRead(&s, out, 1), 1);
    EXPECT_EQ(out[0], 'x');  // the byte at the cursor, base + 4
    EXPECT_EQ(_ioReadCh(&s), 'y');
    EXPECT_EQ(s.cursor, b.data() + 12);
}

TEST(BufferReader, WriteSlotsAreNullReads) {
    Bytes b = cells("ab");
    IO_STREAM s = reader_over(b, 2);
    EXPECT_EQ(_ioWriteCh(&s, 'x'), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioWrite(&s, "x", 1), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(b, cells("ab"));
}

TEST(BufferReader, Control) {
    Bytes b = cells("abcdef");
    IO_STREAM s = reader_over(b, 6);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_FLUSH, nullptr), 0);

    // 4: skip by the argument's value, at most to the end.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(2)), 0);
    EXPECT_EQ(s.position, 2u);
    EXPECT_EQ(s.cursor, b.data() + 8);
    EXPECT_EQ(_ioReadCh(&s), 'c');

    // 8: the position; 16: the cursor address.
    uint32_t pos = 99;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, &pos), 0);
    EXPECT_EQ(pos, 3u);
    uint8_t *cursor = nullptr;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_CURSOR, &cursor), 0);
    EXPECT_EQ(cursor, b.data() + 12);

    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(100)), 0);
    EXPECT_EQ(s.position, 6u);
    EXPECT_EQ(s.cursor, b.data() + 24);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_END);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(1)), 0);
    EXPECT_EQ(s.position, 6u);

    // 2: rewind clears the error too.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_REWIND, nullptr), 0);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.cursor, b.data());
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioReadCh(&s), 'a');

    for (int32_t cmd : {0, 3, 5, 6, 7, 9, 15, 17, 32, -1})
        EXPECT_EQ(_ioCtrl(&s, cmd, nullptr), KRY_IO_UNSUPPORTED) << cmd;
    EXPECT_EQ(s.position, 1u);
}

TEST(BufferReader, ControlWithNullResultPointer) {
    Bytes b = cells("a");
    IO_STREAM s = reader_over(b, 1);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_CURSOR, nullptr), KRY_IO_BAD_ARGUMENT);
}

// ---- buffer writer -------------------------------------------------------

TEST(BufferWriter, CharactersAreCells) {
    Bytes b(12, 0xEE);
    IO_STREAM s = writer_over(b, 3);
    // _ioWriteCh passes only the low 8 bits.
    EXPECT_EQ(_ioWriteCh(&s, 0x1234), 1);
    EXPECT_EQ(cell_at(b, 0), 0x34u);
    EXPECT_EQ(s.position, 1u);
    EXPECT_EQ(s.cursor, b.data() + 4);
    // The slot itself stores the whole value as a 32-bit cell.
    EXPECT_EQ(s.operations->write_ch(&s, 0x11223344), 1);
    EXPECT_EQ(cell_at(b, 1), 0x11223344u);
    EXPECT_EQ(_ioWriteCh(&s, -1), 1);
    EXPECT_EQ(cell_at(b, 2), 0xFFu);
    EXPECT_EQ(s.error, 0);
    // Full: 0 and error 29, nothing written.
    EXPECT_EQ(_ioWriteCh(&s, 'z'), 0);
    EXPECT_EQ(s.error, KRY_IO_END);
    EXPECT_EQ(s.position, 3u);
    EXPECT_EQ(b.size(), 12u);
}

TEST(BufferWriter, BlockWriteStride) {
    Bytes b(16, 0xEE);
    IO_STREAM s = writer_over(b, 4);
    EXPECT_EQ(_ioWrite(&s, "ab", 2), 2);
    EXPECT_EQ(s.position, 2u);
    EXPECT_EQ(s.cursor, b.data() + 8);
    EXPECT_EQ(_ioWrite(&s, "cdef", 4), 2);  // min(4, 4 - 2)
    EXPECT_EQ(s.position, 4u);
    EXPECT_EQ(s.cursor, b.data() + 16);
    EXPECT_EQ(_ioWrite(&s, "g", 1), 0);
    EXPECT_EQ(s.error, KRY_IO_END);
    const Bytes want = {'a', 'b', 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE,
                        'c', 'd', 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(b, want);
}

TEST(BufferWriter, ReadSlotsAreNullReads) {
    Bytes b(8);
    IO_STREAM s = writer_over(b, 2);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    uint8_t out[2];
    EXPECT_EQ(_ioRead(&s, out, 2), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
}

TEST(BufferWriter, Control) {
    Bytes b(16, 0);
    IO_STREAM s = writer_over(b, 4);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_FLUSH, nullptr), 0);
    EXPECT_EQ(_ioWriteCh(&s, 'a'), 1);
    EXPECT_EQ(_ioWriteCh(&s, 'b'), 1);
    uint32_t pos = 0;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, &pos), 0);
    EXPECT_EQ(pos, 2u);
    // Skip and cursor are for readers only.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(1)), KRY_IO_UNSUPPORTED);
    uint8_t *cursor = nullptr;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_CURSOR, &cursor), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(cursor, nullptr);
    EXPECT_EQ(s.position, 2u);
    for (int32_t cmd : {0, 3, 5, 6, 7, 9, 32, -1})
        EXPECT_EQ(_ioCtrl(&s, cmd, nullptr), KRY_IO_UNSUPPORTED) << cmd;
    // Rewind: the next character overwrites the first cell.
    s.error = KRY_IO_END;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_REWIND, nullptr), 0);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.cursor, b.data());
    EXPECT_EQ(_ioWriteCh(&s, 'z'), 1);
    EXPECT_EQ(cell_at(b, 0), static_cast<uint32_t>('z'));
    EXPECT_EQ(cell_at(b, 1), static_cast<uint32_t>('b'));
}

TEST(BufferWriter, WriterThenReaderRoundTrip) {
    Bytes b(4 * 5, 0);
    IO_STREAM w = writer_over(b, 5);
    for (char c : std::string("hello")) EXPECT_EQ(_ioWriteCh(&w, c), 1);
    EXPECT_EQ(b, cells("hello"));
    IO_STREAM r = reader_over(b, 5);
    std::string got;
    for (int i = 0; i < 5; ++i) got += static_cast<char>(_ioReadCh(&r));
    EXPECT_EQ(got, "hello");
}

// ---- damaged records and bad arguments ------------------------------------

TEST(BufferStream, DamagedRecordFailsWithoutAccess) {
    Bytes b = cells("abcd");
    IO_STREAM s = reader_over(b, 4);
    s.cursor = b.data() + 1000;  // cursor no longer base + 4 * position
    uint8_t out[4];
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioRead(&s, out, 4), -1);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(1)), KRY_IO_BAD_ARGUMENT);

    s = reader_over(b, 4);
    s.position = 9;  // beyond the size
    s.cursor = b.data() + 36;
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_BAD_ARGUMENT);

    Bytes w(16);
    IO_STREAM t = writer_over(w, 4);
    t.base = nullptr;
    t.cursor = nullptr;
    EXPECT_EQ(_ioWriteCh(&t, 'a'), -1);
    EXPECT_EQ(t.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioWrite(&t, "a", 1), -1);

    IO_STREAM n;
    ASSERT_EQ(_ioOpenBufReader(&n, nullptr, 4, 0), 0);
    EXPECT_EQ(_ioReadCh(&n), KRY_IO_READ_FAILED);
    EXPECT_EQ(n.error, KRY_IO_BAD_ARGUMENT);
}

TEST(BufferStream, NegativeLengthAndNullBlock) {
    Bytes b(16);
    IO_STREAM r = reader_over(b, 4);
    EXPECT_EQ(_ioRead(&r, b.data(), -1), -1);
    EXPECT_EQ(r.error, KRY_IO_BAD_ARGUMENT);
    r.error = 0;
    EXPECT_EQ(_ioRead(&r, nullptr, 2), -1);
    EXPECT_EQ(r.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(r.position, 0u);
    IO_STREAM w = writer_over(b, 4);
    EXPECT_EQ(_ioWrite(&w, "a", -5), -1);
    EXPECT_EQ(w.error, KRY_IO_BAD_ARGUMENT);
    w.error = 0;
    EXPECT_EQ(_ioWrite(&w, nullptr, 2), -1);
    EXPECT_EQ(w.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(w.position, 0u);
}

// ---- null operations -------------------------------------------------------

TEST(NullOperations, Results) {
    IO_STREAM s;
    std::memset(&s, 0, sizeof s);
    EXPECT_EQ(ioNullClose(&s), 0);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(ioNullReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(ioNullRead(&s), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(ioNullCtl(&s, 1), 0);
    for (int32_t cmd : {0, 2, 4, 8, 16, -1})
        EXPECT_EQ(ioNullCtl(&s, cmd), KRY_IO_UNSUPPORTED) << cmd;
    EXPECT_EQ(s.error, 0);
}

TEST(NullOperations, NullStream) {
    EXPECT_EQ(ioNullClose(nullptr), 0);
    EXPECT_EQ(ioNullReadCh(nullptr), KRY_IO_READ_FAILED);
    EXPECT_EQ(ioNullRead(nullptr), -1);
    EXPECT_EQ(ioNullCtl(nullptr, 1), 0);
    EXPECT_EQ(ioNullCtl(nullptr, 2), KRY_IO_UNSUPPORTED);
}

// ---- dispatch -------------------------------------------------------------

TEST(Dispatch, NullStream) {
    char line[4];
    EXPECT_EQ(_ioWriteCh(nullptr, 'a'), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioWrite(nullptr, "a", 1), -1);
    EXPECT_EQ(_ioReadCh(nullptr), KRY_IO_READ_FAILED);
    EXPECT_EQ(_ioRead(nullptr, line, 1), -1);
    EXPECT_EQ(_ioCtrl(nullptr, 1, nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioClose(nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioReadLn(nullptr, line, 4), -1);
}

TEST(Dispatch, StreamWithoutTable) {
    IO_STREAM s;
    std::memset(&s, 0, sizeof s);
    uint8_t out[2];
    EXPECT_EQ(_ioWriteCh(&s, 'a'), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioWrite(&s, "a", 1), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioRead(&s, out, 2), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioCtrl(&s, 1, nullptr), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioClose(&s), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(s.flags & KRY_IO_CLOSED, 0u);
}

TEST(Dispatch, TableWithEmptySlots) {
    static const IO_OPERATIONS empty = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    IO_STREAM s;
    std::memset(&s, 0, sizeof s);
    s.operations = &empty;
    uint8_t out[2];
    char line[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(_ioWriteCh(&s, 'a'), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioWrite(&s, "a", 1), -1);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(_ioRead(&s, out, 2), -1);
    EXPECT_EQ(_ioCtrl(&s, 1, nullptr), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioClose(&s), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioReadLn(&s, line, 4), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
}

// ---- _ioClose ---------------------------------------------------------------

struct Counting {
    static int closes, flushes, close_result, ctrl_result;
    static int32_t close(IO_STREAM *) { ++closes; return close_result; }
    static int32_t ctrl(IO_STREAM *, int32_t command, void *) {
        if (command == KRY_IO_FLUSH) ++flushes;
        return ctrl_result;
    }
    static void reset() { closes = flushes = close_result = ctrl_result = 0; }
};
int Counting::closes, Counting::flushes, Counting::close_result, Counting::ctrl_result;

const IO_OPERATIONS kCounting = {Counting::close, nullptr, nullptr, nullptr, nullptr,
                                 Counting::ctrl};

IO_STREAM counting_stream() {
    IO_STREAM s;
    std::memset(&s, 0, sizeof s);
    s.operations = &kCounting;
    s.flags = KRY_IO_WRITER;
    Counting::reset();
    return s;
}

TEST(Close, TwiceCallsTheCloseSlotOnce) {
    IO_STREAM s = counting_stream();
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(Counting::flushes, 1);
    EXPECT_EQ(Counting::closes, 1);
    EXPECT_EQ(s.flags, KRY_IO_WRITER | KRY_IO_CLOSED);
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(Counting::flushes, 1);
    EXPECT_EQ(Counting::closes, 1);
}

TEST(Close, FailingFlushStopsBeforeClose) {
    IO_STREAM s = counting_stream();
    Counting::ctrl_result = 33;
    EXPECT_EQ(_ioClose(&s), 33);
    EXPECT_EQ(Counting::closes, 0);
    EXPECT_EQ(s.flags & KRY_IO_CLOSED, 0u);
}

TEST(Close, FailingCloseLeavesStreamOpen) {
    IO_STREAM s = counting_stream();
    Counting::close_result = KRY_IO_CLOSE_FAILED;
    EXPECT_EQ(_ioClose(&s), KRY_IO_CLOSE_FAILED);
    EXPECT_EQ(s.flags & KRY_IO_CLOSED, 0u);
    Counting::close_result = 0;
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(Counting::closes, 2);
    EXPECT_NE(s.flags & KRY_IO_CLOSED, 0u);
}

TEST(Close, BufferStreams) {
    Bytes b(8);
    IO_STREAM r = reader_over(b, 2);
    EXPECT_EQ(_ioClose(&r), 0);
    EXPECT_EQ(r.flags, 0x181u | 0x40u);
    EXPECT_EQ(_ioClose(&r), 0);
    IO_STREAM w = writer_over(b, 2);
    EXPECT_EQ(_ioClose(&w), 0);
    EXPECT_EQ(w.flags, 0x182u | 0x40u);
}

// ---- _ioReadLn --------------------------------------------------------------

TEST(ReadLine, LinesThatFit) {
    Bytes b = cells("ab\ncd\n");
    IO_STREAM s = reader_over(b, 6);
    char line[10];
    std::memset(line, 'x', sizeof line);
    EXPECT_EQ(_ioReadLn(&s, line, 10), 3);  // "ab\n": the line feed counts, the NUL not
    EXPECT_STREQ(line, "ab\n");
    for (int i = 3; i < 10; ++i) EXPECT_EQ(line[i], '\0') << i;  // zeroed first
    EXPECT_EQ(_ioReadLn(&s, line, 10), 3);
    EXPECT_STREQ(line, "cd\n");
    EXPECT_EQ(s.error, 0);
}

TEST(ReadLine, ExactFit) {
    Bytes b = cells("abc\n");
    IO_STREAM s = reader_over(b, 4);
    char line[5];
    EXPECT_EQ(_ioReadLn(&s, line, 5), 4);
    EXPECT_STREQ(line, "abc\n");
}

TEST(ReadLine, EmptyLine) {
    Bytes b = cells("\nx");
    IO_STREAM s = reader_over(b, 2);
    char line[2] = {'x', 'x'};
    EXPECT_EQ(_ioReadLn(&s, line, 2), 1);
    EXPECT_EQ(line[0], '\n');
    EXPECT_EQ(line[1], '\0');
}

TEST(ReadLine, TooLong) {
    Bytes b = cells("abcdef\n");
    IO_STREAM s = reader_over(b, 7);
    char line[4];
    EXPECT_EQ(_ioReadLn(&s, line, 4), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(std::string(line, 3), "abc");
    EXPECT_EQ(s.position, 3u);  // size - 1 characters were read

    // One more than fits: "abc\n" needs five bytes.
    Bytes c = cells("abc\n");
    IO_STREAM t = reader_over(c, 4);
    EXPECT_EQ(_ioReadLn(&t, line, 4), -1);
    EXPECT_EQ(t.error, KRY_IO_LINE_TOO_LONG);
}

TEST(ReadLine, SizeZeroAndOne) {
    Bytes b = cells("\n");
    IO_STREAM s = reader_over(b, 1);
    char line[2] = {'x', 'x'};
    EXPECT_EQ(_ioReadLn(&s, line, 0), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(line[0], 'x');  // size 0: nothing touched
    s.error = 0;
    EXPECT_EQ(_ioReadLn(&s, line, 1), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(line[0], '\0');  // size 1: zeroed
    EXPECT_EQ(line[1], 'x');
    EXPECT_EQ(s.position, 0u);  // nothing read
    EXPECT_EQ(_ioReadLn(&s, line, -3), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
}

// At the end of the data every read stores 27, so a last line without a
// line feed fills the buffer and fails with 28.
TEST(ReadLine, LastLineWithoutLineFeed) {
    Bytes b = cells("ab");
    IO_STREAM s = reader_over(b, 2);
    char line[6];
    EXPECT_EQ(_ioReadLn(&s, line, 6), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(line[0], 'a');
    EXPECT_EQ(line[1], 'b');
    for (int i = 2; i < 5; ++i) EXPECT_EQ(line[i], 27) << i;
    EXPECT_EQ(line[5], '\0');
}

TEST(ReadLine, StreamErrorStopsTheLine) {
    Bytes b = cells("ab\n");
    IO_STREAM s = reader_over(b, 3);
    s.error = KRY_IO_FILE_FAILED;  // an earlier failure stays in the record
    char line[8];
    EXPECT_EQ(_ioReadLn(&s, line, 8), -1);
    EXPECT_EQ(s.error, KRY_IO_FILE_FAILED);
    EXPECT_EQ(s.position, 1u);

    Bytes w(16);
    IO_STREAM t = writer_over(w, 4);  // read character is the null read
    EXPECT_EQ(_ioReadLn(&t, line, 8), -1);
    EXPECT_EQ(t.error, KRY_IO_UNSUPPORTED);
}

TEST(ReadLine, NullBuffer) {
    Bytes b = cells("a\n");
    IO_STREAM s = reader_over(b, 2);
    EXPECT_EQ(_ioReadLn(&s, nullptr, 8), -1);
    EXPECT_EQ(s.position, 0u);
}

// ---- memory-buffer streams ---------------------------------------------------

class MemBufStream : public ::testing::Test {
  protected:
    void SetUp() override {
        pool_ = memPoolInit(nullptr, 0);
        ASSERT_NE(pool_, nullptr);
    }
    void TearDown() override { memPoolDestroy(pool_); }
    void init(uint32_t block_size) { ASSERT_EQ(memBufInit(&buf_, pool_, block_size), 0u); }
    MEM_POOL *pool_ = nullptr;
    MEM_BUF buf_{};
};

TEST_F(MemBufStream, OpenRecords) {
    init(16);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(w.flags, 2u);
    EXPECT_EQ(w.error, 0);
    EXPECT_EQ(w.value, reinterpret_cast<uintptr_t>(&buf_));
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    EXPECT_EQ(r.flags, 129u);
    EXPECT_EQ(r.error, 0);
    EXPECT_EQ(r.value, reinterpret_cast<uintptr_t>(&buf_));
    EXPECT_EQ(ioOpenMemBufWriter(nullptr, &buf_), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenMemBufReader(nullptr, &buf_), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenMemBufWriter(&w, nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenMemBufReader(&r, nullptr), KRY_IO_BAD_ARGUMENT);
}

TEST_F(MemBufStream, BlockWriteThenBlockRead) {
    init(16);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(_ioWrite(&w, "hello", 5), 5);
    EXPECT_EQ(buf_.length, 5u);
    ASSERT_NE(buf_.first, nullptr);
    EXPECT_EQ(std::memcmp(buf_.first->data, "hello", 5), 0);

    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    char out[10] = {0};
    EXPECT_EQ(_ioRead(&r, out, 10), 5);
    EXPECT_EQ(std::string(out), "hello");
    EXPECT_EQ(r.error, 0);
    EXPECT_EQ(_ioRead(&r, out, 10), 0);
    EXPECT_EQ(r.error, KRY_IO_END);
    r.error = 0;
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_END);
}

// Character writes append one byte each, four bytes apart inside a block;
// character reads find them at the same stride.
TEST_F(MemBufStream, CharacterRoundTripAndStride) {
    init(16);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    for (char c : std::string("line\n")) EXPECT_EQ(_ioWriteCh(&w, c | 0x100), 1);
    EXPECT_EQ(buf_.length, 5u);
    ASSERT_NE(buf_.first, nullptr);
    EXPECT_EQ(buf_.first->data[0], 'l');
    EXPECT_EQ(buf_.first->data[4], 'i');
    EXPECT_EQ(buf_.first->data[16], '\n');

    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    EXPECT_EQ(_ioReadCh(&r), 'l');
    EXPECT_EQ(r.cursor, buf_.first->data + 4);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_REWIND, nullptr), 0);
    char line[16];
    EXPECT_EQ(_ioReadLn(&r, line, 16), 5);
    EXPECT_STREQ(line, "line\n");
}

TEST_F(MemBufStream, ReaderWalksTheBlockChain) {
    init(4);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(_ioWrite(&w, "abcd", 4), 4);
    EXPECT_EQ(_ioWrite(&w, "efgh", 4), 4);
    EXPECT_EQ(_ioWrite(&w, "ij", 2), 2);
    ASSERT_NE(buf_.first, nullptr);
    ASSERT_NE(buf_.first->next, nullptr);
    ASSERT_NE(buf_.first->next->next, nullptr);

    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    char out[16] = {0};
    EXPECT_EQ(_ioRead(&r, out, 16), 10);
    EXPECT_EQ(std::string(out), "abcdefghij");
    uint32_t pos = 0;
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_TELL, &pos), 0);
    EXPECT_EQ(pos, 10u);

    EXPECT_EQ(_ioCtrl(&r, KRY_IO_REWIND, nullptr), 0);
    std::memset(out, 0, sizeof out);
    EXPECT_EQ(_ioRead(&r, out, 3), 3);
    // The cursor moved 12 bytes: the first block's last unit is the byte at
    // data + 12 (zero, "d" sits at data + 3), then "ef" from the next block.
    EXPECT_EQ(_ioRead(&r, out + 3, 3), 3);
    EXPECT_EQ(std::string(out, 6), std::string("abc\0ef", 6));
}

TEST_F(MemBufStream, CharactersAcrossBlocks) {
    init(4);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    const std::string text = "abcdefghij";
    for (char c : text) EXPECT_EQ(_ioWriteCh(&w, c), 1);
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    std::string got;
    for (size_t i = 0; i < text.size(); ++i) got += static_cast<char>(_ioReadCh(&r));
    EXPECT_EQ(got, text);
    EXPECT_EQ(r.error, 0);
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_END);
}

TEST_F(MemBufStream, ReaderSeesLaterAppends) {
    init(8);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);  // empty buffer
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_END);
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(_ioWriteCh(&w, 'q'), 1);
    EXPECT_EQ(_ioReadCh(&r), 'q');
    EXPECT_EQ(_ioWriteCh(&w, 'r'), 1);
    EXPECT_EQ(_ioReadCh(&r), 'r');
}

TEST_F(MemBufStream, ReaderControl) {
    init(4);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    for (char c : std::string("abcdefg")) EXPECT_EQ(_ioWriteCh(&w, c), 1);
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_FLUSH, nullptr), 0);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_SKIP, arg(5)), 0);  // into the second block
    uint32_t pos = 0;
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_TELL, &pos), 0);
    EXPECT_EQ(pos, 5u);
    uint8_t *cursor = nullptr;
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_CURSOR, &cursor), 0);
    EXPECT_EQ(cursor, buf_.first->next->data + 4);
    EXPECT_EQ(_ioReadCh(&r), 'f');
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_SKIP, arg(100)), 0);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_TELL, &pos), 0);
    EXPECT_EQ(pos, 7u);
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_END);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_REWIND, nullptr), 0);
    EXPECT_EQ(r.error, 0);
    EXPECT_EQ(_ioReadCh(&r), 'a');
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_TELL, nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_CURSOR, nullptr), KRY_IO_BAD_ARGUMENT);
    for (int32_t cmd : {0, 3, 5, 6, 7, 9, 32, -1})
        EXPECT_EQ(_ioCtrl(&r, cmd, nullptr), KRY_IO_UNSUPPORTED) << cmd;
}

TEST_F(MemBufStream, WriterControl) {
    init(16);
    IO_STREAM w;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(_ioCtrl(&w, KRY_IO_FLUSH, nullptr), 0);
    EXPECT_EQ(_ioWrite(&w, "abc", 3), 3);
    EXPECT_EQ(_ioWriteCh(&w, 'd'), 1);
    uint32_t pos = 0;
    EXPECT_EQ(_ioCtrl(&w, KRY_IO_TELL, &pos), 0);
    EXPECT_EQ(pos, 4u);
    EXPECT_EQ(_ioCtrl(&w, KRY_IO_TELL, nullptr), KRY_IO_BAD_ARGUMENT);
    // The buffer only grows: no rewind, skip or cursor.
    uint8_t *cursor = nullptr;
    EXPECT_EQ(_ioCtrl(&w, KRY_IO_REWIND, nullptr), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioCtrl(&w, KRY_IO_SKIP, arg(1)), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioCtrl(&w, KRY_IO_CURSOR, &cursor), KRY_IO_UNSUPPORTED);
    EXPECT_EQ(cursor, nullptr);
    for (int32_t cmd : {0, 3, 5, 6, 7, 9, 32, -1})
        EXPECT_EQ(_ioCtrl(&w, cmd, nullptr), KRY_IO_UNSUPPORTED) << cmd;
    EXPECT_EQ(buf_.length, 4u);
}

TEST_F(MemBufStream, NullSlots) {
    init(16);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    uint8_t out[2];
    EXPECT_EQ(_ioReadCh(&w), KRY_IO_READ_FAILED);
    EXPECT_EQ(w.error, KRY_IO_UNSUPPORTED);
    w.error = 0;
    EXPECT_EQ(_ioRead(&w, out, 2), -1);
    EXPECT_EQ(w.error, KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioWriteCh(&r, 'a'), -1);
    EXPECT_EQ(r.error, KRY_IO_UNSUPPORTED);
    r.error = 0;
    EXPECT_EQ(_ioWrite(&r, "a", 1), -1);
    EXPECT_EQ(r.error, KRY_IO_UNSUPPORTED);
    EXPECT_EQ(buf_.length, 0u);
}

// An append that the buffer layer ends early (its source pointer moves four
// bytes per byte copied, so the second copy of "cdefgh" would start past the
// data) reports the bytes kept and error 33.
TEST_F(MemBufStream, ShortAppend) {
    init(4);
    IO_STREAM w;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(_ioWrite(&w, "ab", 2), 2);
    EXPECT_EQ(w.error, 0);
    EXPECT_EQ(_ioWrite(&w, "cdefgh", 6), 2);
    EXPECT_EQ(w.error, KRY_IO_FILE_FAILED);
    EXPECT_EQ(buf_.length, 4u);
    EXPECT_EQ(_ioWrite(&w, nullptr, 1), -1);
    EXPECT_EQ(w.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioWrite(&w, "x", -1), -1);
    EXPECT_EQ(buf_.length, 4u);
}

TEST_F(MemBufStream, Close) {
    init(16);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    EXPECT_EQ(_ioClose(&w), 0);
    EXPECT_EQ(w.flags, 2u | 0x40u);
    EXPECT_EQ(_ioClose(&w), 0);
    EXPECT_EQ(_ioClose(&r), 0);
    EXPECT_EQ(r.flags, 129u | 0x40u);
}

TEST_F(MemBufStream, DamagedReaderFails) {
    init(16);
    IO_STREAM w, r;
    ASSERT_EQ(ioOpenMemBufWriter(&w, &buf_), 0);
    EXPECT_EQ(_ioWrite(&w, "abcd", 4), 4);
    ASSERT_EQ(ioOpenMemBufReader(&r, &buf_), 0);
    r.cursor = r.base + 2;  // off the 4-byte grid
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_END);
    r.base = nullptr;  // no longer the block's data
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_BAD_ARGUMENT);
    r.value = 0;
    uint8_t out[4];
    EXPECT_EQ(_ioRead(&r, out, 4), -1);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_REWIND, nullptr), KRY_IO_BAD_ARGUMENT);
}

}  // namespace
