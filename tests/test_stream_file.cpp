// File streams and the whole-file helpers: opening, byte reads and writes,
// end of data and failing reads, writes, seeks and closes, the control
// commands, lines read from files, and round trips through binary_to_File
// and File_to_binary.  Every test works in its own directory under /tmp.

#include <kry/error.h>
#include <kry/stream.h>

#include <gtest/gtest.h>
#include "test_support.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using Bytes = std::vector<uint8_t>;

void *arg(intptr_t n) { return reinterpret_cast<void *>(n); }

class FileStream : public ::testing::Test {
  protected:
    void SetUp() override {
        char tmpl[] = "/tmp/kry_stream_XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir_ = tmpl;
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    std::string path(const std::string &name) const { return dir_ + "/" + name; }
    void put(const std::string &name, const std::string &content) const {
        std::ofstream(path(name), std::ios::binary) << content;
    }
    std::string get(const std::string &name) const {
        std::ifstream in(path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    IO_STREAM open_reader(const std::string &name) {
        IO_STREAM s;
        EXPECT_EQ(ioOpenFileReader(&s, path(name).c_str()), 0);
        return s;
    }
    std::string dir_;
};

IO_STREAM poisoned() {
    IO_STREAM s;
    std::memset(&s, 0xA5, sizeof s);
    return s;
}

bool zeroed(const IO_STREAM &s) {
    const auto *p = reinterpret_cast<const uint8_t *>(&s);
    for (size_t i = 0; i < sizeof s; ++i)
        if (p[i] != 0) return false;
    return true;
}

// ---- opening --------------------------------------------------------------

TEST_F(FileStream, OpenReaderArguments) {
    IO_STREAM s = poisoned();
    EXPECT_EQ(ioOpenFileReader(nullptr, path("x").c_str()), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenFileReader(&s, nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenFileReader(&s, path("missing").c_str()), KRY_IO_OPEN_FAILED);
    EXPECT_TRUE(zeroed(s));
}

TEST_F(FileStream, OpenReaderRecord) {
    put("in", "x");
    IO_STREAM s = poisoned();
    ASSERT_EQ(ioOpenFileReader(&s, path("in").c_str()), 0);
    EXPECT_NE(s.operations, nullptr);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(s.flags, 0x181u);
    EXPECT_NE(s.handle, 0u);
    EXPECT_EQ(s.base, nullptr);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.value, 0u);
    EXPECT_EQ(_ioClose(&s), 0);
}

TEST_F(FileStream, OpenWriter) {
    IO_STREAM s = poisoned();
    EXPECT_EQ(ioOpenFileWriter(nullptr, path("x").c_str()), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(ioOpenFileWriter(&s, nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_TRUE(zeroed(s));
    s = poisoned();
    EXPECT_EQ(ioOpenFileWriter(&s, dir_.c_str()), KRY_IO_OPEN_FAILED);  // a directory
    EXPECT_TRUE(zeroed(s));
    EXPECT_EQ(ioOpenFileWriter(&s, path("no/such/dir").c_str()), KRY_IO_OPEN_FAILED);

    s = poisoned();
    ASSERT_EQ(ioOpenFileWriter(&s, path("out").c_str()), 0);
    EXPECT_NE(s.operations, nullptr);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(s.flags, 0x182u);
    EXPECT_NE(s.handle, 0u);
    EXPECT_EQ(s.base, nullptr);
    EXPECT_EQ(s.position, 0u);
    EXPECT_EQ(s.value, 0u);
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_TRUE(std::filesystem::exists(path("out")));
}

// ---- file writer -------------------------------------------------------------

TEST_F(FileStream, WriterWritesBytes) {
    IO_STREAM s;
    ASSERT_EQ(ioOpenFileWriter(&s, path("out").c_str()), 0);
    EXPECT_EQ(_ioWrite(&s, "hello", 5), 5);
    EXPECT_EQ(_ioWriteCh(&s, 0x141), 1);  // low 8 bits: 'A'
    EXPECT_EQ(s.operations->write_ch(&s, 0x7A42), 1);  // the slot writes one byte too
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(get("out"), "helloAB");
}

TEST_F(FileStream, WriterNothingWrittenIs33) {
    IO_STREAM s;
    ASSERT_EQ(ioOpenFileWriter(&s, path("out").c_str()), 0);
    EXPECT_EQ(_ioWrite(&s, "x", 0), -1);
    EXPECT_EQ(s.error, KRY_IO_FILE_FAILED);
    s.error = 0;
    EXPECT_EQ(_ioWrite(&s, nullptr, 3), -1);
    EXPECT_EQ(s.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioWrite(&s, "x", -2), -1);
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(get("out"), "");
}

// /dev/full accepts the open but fails every write that reaches it.
TEST_F(FileStream, WriteFailureAndCloseFailure) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    IO_STREAM s;
    ASSERT_EQ(ioOpenFileWriter(&s, "/dev/full"), 0);
    // Larger than the standard buffer: written through at once, and refused.
    Bytes big(1 << 17, 0x55);
    EXPECT_EQ(_ioWrite(&s, big.data(), static_cast<int32_t>(big.size())), -1);
    EXPECT_EQ(s.error, KRY_IO_FILE_FAILED);
    ASSERT_EQ(_ioClose(&s), 0);

    // One byte stays in the standard buffer; the flush in fclose fails.
    ASSERT_EQ(ioOpenFileWriter(&s, "/dev/full"), 0);
    EXPECT_EQ(_ioWriteCh(&s, 'x'), 1);
    EXPECT_EQ(_ioClose(&s), KRY_IO_CLOSE_FAILED);
    EXPECT_EQ(s.flags & KRY_IO_CLOSED, 0u);
    EXPECT_EQ(s.handle, 0u);  // the handle is gone all the same
    EXPECT_EQ(_ioClose(&s), 0);  // nothing left to close
    EXPECT_NE(s.flags & KRY_IO_CLOSED, 0u);
}

TEST_F(FileStream, WriterReadSlotsAreNullReads) {
    IO_STREAM s;
    ASSERT_EQ(ioOpenFileWriter(&s, path("out").c_str()), 0);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    char out[2];
    EXPECT_EQ(_ioRead(&s, out, 2), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioClose(&s), 0);
}

TEST_F(FileStream, WriterControl) {
    IO_STREAM s;
    ASSERT_EQ(ioOpenFileWriter(&s, path("out").c_str()), 0);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_FLUSH, nullptr), 0);
    EXPECT_EQ(_ioWrite(&s, "abcd", 4), 4);
    // 2: back to the start, error cleared.
    s.error = KRY_IO_FILE_FAILED;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_REWIND, nullptr), 0);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioWriteCh(&s, 'X'), 1);
    // 8: seeks to byte 1 and stores fseek's result.
    int32_t result = 77;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, &result), 0);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(_ioWriteCh(&s, 'Y'), 1);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, nullptr), KRY_IO_BAD_ARGUMENT);
    // 4 is for readers; 3, 5 to 7 and anything outside 1 to 8 are refused.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(SEEK_SET)), KRY_IO_UNSUPPORTED);
    for (int32_t cmd : {3, 5, 6, 7, 0, 9, 16, -1})
        EXPECT_EQ(_ioCtrl(&s, cmd, arg(SEEK_SET)), KRY_IO_UNSUPPORTED) << cmd;
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(get("out"), "XYcd");
}

// ---- file reader -------------------------------------------------------------

TEST_F(FileStream, ReaderCharacters) {
    put("in", std::string("a\xff\0z", 4));
    IO_STREAM s = open_reader("in");
    EXPECT_EQ(_ioReadCh(&s), 'a');
    EXPECT_EQ(_ioReadCh(&s), 0xFF);  // a byte, not a sign-extended char
    EXPECT_EQ(_ioReadCh(&s), 0);
    EXPECT_EQ(_ioReadCh(&s), 'z');
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_END);
    EXPECT_EQ(_ioClose(&s), 0);
}

TEST_F(FileStream, ReaderBlocks) {
    put("in", "0123456789");
    IO_STREAM s = open_reader("in");
    char out[16] = {0};
    EXPECT_EQ(_ioRead(&s, out, 4), 4);
    EXPECT_EQ(std::string(out), "0123");
    EXPECT_EQ(_ioRead(&s, out, 16), 6);
    EXPECT_EQ(std::string(out, 6), "456789");
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioRead(&s, out, 0), 0);  // a zero request is not the end
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioRead(&s, out, 16), 0);
    EXPECT_EQ(s.error, KRY_IO_END);
    s.error = 0;
    EXPECT_EQ(_ioRead(&s, nullptr, 4), -1);
    EXPECT_EQ(s.error, KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(_ioClose(&s), 0);
}

// A directory opens for reading here, but reading it fails: 33, not 29.
TEST_F(FileStream, ReadFailureIs33) {
    IO_STREAM s;
    ASSERT_EQ(ioOpenFileReader(&s, dir_.c_str()), 0);
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_FILE_FAILED);
    EXPECT_EQ(_ioClose(&s), 0);
}

TEST_F(FileStream, ReaderWriteSlotsAreNullReads) {
    put("in", "abc");
    IO_STREAM s = open_reader("in");
    EXPECT_EQ(_ioWriteCh(&s, 'x'), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    s.error = 0;
    EXPECT_EQ(_ioWrite(&s, "x", 1), -1);
    EXPECT_EQ(s.error, KRY_IO_UNSUPPORTED);
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(get("in"), "abc");
}

TEST_F(FileStream, ReaderControl) {
    put("in", "abcdef");
    IO_STREAM s = open_reader("in");
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_FLUSH, nullptr), 0);

    // 4: fseek by one byte, the argument being the origin.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(SEEK_SET)), 0);
    EXPECT_EQ(_ioReadCh(&s), 'b');
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(SEEK_CUR)), 0);
    EXPECT_EQ(_ioReadCh(&s), 'd');
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(SEEK_END)), 0);  // one past the end
    EXPECT_EQ(_ioReadCh(&s), KRY_IO_READ_FAILED);
    EXPECT_EQ(s.error, KRY_IO_END);
    // An argument that is no origin is refused as a failed seek.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(7)), KRY_IO_FILE_FAILED);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(-1)), KRY_IO_FILE_FAILED);

    // 2: back to the start, error cleared.
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_REWIND, nullptr), 0);
    EXPECT_EQ(s.error, 0);
    EXPECT_EQ(_ioReadCh(&s), 'a');
    EXPECT_EQ(_ioReadCh(&s), 'b');
    EXPECT_EQ(_ioReadCh(&s), 'c');

    // 8: to byte 1 from the start, fseek's result stored.
    int32_t result = 77;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, &result), 0);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(_ioReadCh(&s), 'b');
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, nullptr), KRY_IO_BAD_ARGUMENT);

    for (int32_t cmd : {3, 5, 6, 7, 0, 9, 16, 32, -1})
        EXPECT_EQ(_ioCtrl(&s, cmd, arg(SEEK_SET)), KRY_IO_UNSUPPORTED) << cmd;
    EXPECT_EQ(_ioClose(&s), 0);
}

// A pipe opened through /proc cannot seek: every seeking command gives 33.
TEST_F(FileStream, FailingSeekIs33) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], "pq", 2), 2);
    const std::string proc = "/proc/self/fd/" + std::to_string(fds[0]);
    IO_STREAM s;
    if (ioOpenFileReader(&s, proc.c_str()) != 0) {
        close(fds[0]);
        close(fds[1]);
        GTEST_SKIP() << "no /proc";
    }
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_REWIND, nullptr), KRY_IO_FILE_FAILED);
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_SKIP, arg(SEEK_CUR)), KRY_IO_FILE_FAILED);
    int32_t result = 77;
    EXPECT_EQ(_ioCtrl(&s, KRY_IO_TELL, &result), KRY_IO_FILE_FAILED);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(_ioReadCh(&s), 'p');
    EXPECT_EQ(_ioClose(&s), 0);
    close(fds[0]);
    close(fds[1]);
}

// ---- closing -------------------------------------------------------------------

TEST_F(FileStream, CloseTwice) {
    put("in", "abc");
    IO_STREAM s = open_reader("in");
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(s.flags, 0x181u | 0x40u);
    EXPECT_EQ(s.handle, 0u);
    EXPECT_EQ(_ioClose(&s), 0);
    EXPECT_EQ(s.flags, 0x181u | 0x40u);
}

TEST_F(FileStream, CloseSlot) {
    put("in", "abc");
    IO_STREAM s = open_reader("in");
    EXPECT_EQ(s.operations->close(nullptr), KRY_IO_BAD_ARGUMENT);
    EXPECT_EQ(s.operations->close(&s), 0);
    EXPECT_EQ(s.operations->close(&s), 0);  // no handle left: 0
}

// After closing, the operations find no handle and fail without touching it.
TEST_F(FileStream, OperationsAfterClose) {
    put("in", "abc");
    IO_STREAM r = open_reader("in");
    ASSERT_EQ(_ioClose(&r), 0);
    char out[4];
    EXPECT_EQ(_ioReadCh(&r), KRY_IO_READ_FAILED);
    EXPECT_EQ(r.error, KRY_IO_FILE_FAILED);
    EXPECT_EQ(_ioRead(&r, out, 4), -1);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_REWIND, nullptr), KRY_IO_FILE_FAILED);
    EXPECT_EQ(_ioCtrl(&r, KRY_IO_SKIP, arg(SEEK_SET)), KRY_IO_FILE_FAILED);
    IO_STREAM w;
    ASSERT_EQ(ioOpenFileWriter(&w, path("out").c_str()), 0);
    ASSERT_EQ(_ioClose(&w), 0);
    EXPECT_EQ(_ioWrite(&w, "a", 1), -1);
    EXPECT_EQ(w.error, KRY_IO_FILE_FAILED);
    EXPECT_EQ(_ioWriteCh(&w, 'a'), -1);
}

// ---- lines -----------------------------------------------------------------------

TEST_F(FileStream, ReadLines) {
    put("in", "ab\nlonger line\n\nlast");
    IO_STREAM s = open_reader("in");
    char line[8];
    EXPECT_EQ(_ioReadLn(&s, line, 8), 3);
    EXPECT_STREQ(line, "ab\n");
    EXPECT_EQ(_ioReadLn(&s, line, 8), -1);  // "longer line\n" does not fit
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(std::string(line, 7), "longer ");
    s.error = 0;
    EXPECT_EQ(_ioReadLn(&s, line, 8), 5);  // the rest of it
    EXPECT_STREQ(line, "line\n");
    EXPECT_EQ(_ioReadLn(&s, line, 8), 1);
    EXPECT_STREQ(line, "\n");
    // The last line has no line feed: the reads past the end store 27.
    EXPECT_EQ(_ioReadLn(&s, line, 8), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(std::string(line, 4), "last");
    for (int i = 4; i < 7; ++i) EXPECT_EQ(line[i], 27) << i;
    EXPECT_EQ(line[7], '\0');
    EXPECT_EQ(_ioClose(&s), 0);
}

TEST_F(FileStream, ReadLineSizeOne) {
    put("in", "\n");
    IO_STREAM s = open_reader("in");
    char line[1] = {'x'};
    EXPECT_EQ(_ioReadLn(&s, line, 1), -1);
    EXPECT_EQ(s.error, KRY_IO_LINE_TOO_LONG);
    EXPECT_EQ(line[0], '\0');
    char two[2];
    s.error = 0;
    EXPECT_EQ(_ioReadLn(&s, two, 2), 1);
    EXPECT_EQ(two[0], '\n');
    EXPECT_EQ(_ioClose(&s), 0);
}

// ---- File_to_binary / binary_to_File ----------------------------------------------

TEST_F(FileStream, RoundTrip) {
    const Bytes data = kry_test::TestRng(7).bytes(1000);
    EXPECT_EQ(binary_to_File(data.data(), 0, 1000, path("bin").c_str()), 1000);
    EXPECT_EQ(std::filesystem::file_size(path("bin")), 1000u);
    uint8_t *out = nullptr;
    ASSERT_EQ(File_to_binary(path("bin").c_str(), &out), 1000);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(Bytes(out, out + 1000), data);
    lum_free(out, __FILE__, __LINE__);
}

// binary_to_File writes `length` bytes starting at data + offset.
TEST_F(FileStream, OffsetWritesLengthBytesFromDataPlusOffset) {
    const char data[] = "abcdefgh";
    const auto *p = reinterpret_cast<const uint8_t *>(data);
    EXPECT_EQ(binary_to_File(p, 2, 3, path("off").c_str()), 3);
    EXPECT_EQ(get("off"), "cde");
    EXPECT_EQ(binary_to_File(p, 0, 1, path("one").c_str()), 1);
    EXPECT_EQ(get("one"), "a");
    // The file is truncated ("wb") when written again.
    EXPECT_EQ(binary_to_File(p, 1, 2, path("off").c_str()), 2);
    EXPECT_EQ(get("off"), "bc");
    // Only length minus offset must be at least 1: 2 bytes from data + 1.
    EXPECT_EQ(binary_to_File(p, 1, 2, path("two").c_str()), 2);
    EXPECT_EQ(binary_to_File(p, 2, 2, path("two").c_str()), -1);
}

TEST_F(FileStream, BinaryToFileRefusals) {
    const uint8_t data[4] = {1, 2, 3, 4};
    const std::string p = path("never");
    EXPECT_EQ(binary_to_File(nullptr, 0, 4, p.c_str()), -1);
    EXPECT_EQ(binary_to_File(data, 0, 4, nullptr), -1);
    EXPECT_EQ(binary_to_File(data, 0, 0, p.c_str()), -1);
    EXPECT_EQ(binary_to_File(data, 0, -1, p.c_str()), -1);
    EXPECT_EQ(binary_to_File(data, 4, 4, p.c_str()), -1);  // offset equal to length
    EXPECT_EQ(binary_to_File(data, 5, 4, p.c_str()), -1);
    EXPECT_EQ(binary_to_File(data, -1, 2, p.c_str()), -1);  // would read before the data
    EXPECT_FALSE(std::filesystem::exists(p));
    // Paths that cannot be opened for writing.
    EXPECT_EQ(binary_to_File(data, 0, 4, dir_.c_str()), -1);
    EXPECT_EQ(binary_to_File(data, 0, 4, path("no/such/dir").c_str()), -1);
}

TEST_F(FileStream, FileToBinaryRefusals) {
    uint8_t *out = reinterpret_cast<uint8_t *>(uintptr_t{0x1234});
    EXPECT_EQ(File_to_binary(nullptr, &out), -1);
    EXPECT_EQ(File_to_binary(path("missing").c_str(), &out), -1);
    put("empty", "");
    EXPECT_EQ(File_to_binary(path("empty").c_str(), &out), -1);
    // A directory opens but has no readable length or bytes.
    EXPECT_EQ(File_to_binary(dir_.c_str(), &out), -1);
    EXPECT_EQ(out, reinterpret_cast<uint8_t *>(uintptr_t{0x1234}));  // untouched on failure
    put("one", "z");
    EXPECT_EQ(File_to_binary(path("one").c_str(), nullptr), -1);
}

// A pipe has no length to seek to: -1.
TEST_F(FileStream, FileToBinaryOfPipe) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], "pq", 2), 2);
    const std::string proc = "/proc/self/fd/" + std::to_string(fds[0]);
    uint8_t *out = nullptr;
    EXPECT_EQ(File_to_binary(proc.c_str(), &out), -1);
    EXPECT_EQ(out, nullptr);
    close(fds[0]);
    close(fds[1]);
}

TEST_F(FileStream, StreamWriterThenFileToBinary) {
    IO_STREAM w;
    ASSERT_EQ(ioOpenFileWriter(&w, path("s").c_str()), 0);
    for (int i = 0; i < 300; ++i) ASSERT_EQ(_ioWriteCh(&w, i), 1);
    ASSERT_EQ(_ioClose(&w), 0);
    uint8_t *out = nullptr;
    ASSERT_EQ(File_to_binary(path("s").c_str(), &out), 300);
    for (int i = 0; i < 300; ++i) ASSERT_EQ(out[i], static_cast<uint8_t>(i)) << i;
    lum_free(out, __FILE__, __LINE__);
}

}  // namespace
