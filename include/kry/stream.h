/*
 * kry - byte streams over memory buffers, memory-buffer chains and files,
 * and two file helpers.
 *
 * A stream carries a table of six operations; the _io calls dispatch to
 * them.  Streams report failures with small codes kept in the stream record
 * (KRY_IO_*), not with error words.
 *
 * Buffer streams count units: the character operations read and write
 * 32-bit cells, and the cursor moves four bytes per unit for the block
 * operations too, so a buffer stream of size S addresses 4 x S bytes.
 */
#ifndef KRY_STREAM_H
#define KRY_STREAM_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/mempool.h>

KRY_BEGIN_DECLS

#define KRY_IO_BAD_ARGUMENT  6  /* null stream or path */
#define KRY_IO_READ_FAILED   27 /* result of a failed character read */
#define KRY_IO_LINE_TOO_LONG 28
#define KRY_IO_END           29 /* end of data */
#define KRY_IO_CLOSE_FAILED  30
#define KRY_IO_OPEN_FAILED   32
#define KRY_IO_FILE_FAILED   33 /* read, write or seek failed */
#define KRY_IO_UNSUPPORTED   34

#define KRY_IO_READER 0x181u
#define KRY_IO_WRITER 0x182u
#define KRY_IO_CLOSED 0x40u

/* Control commands */
#define KRY_IO_FLUSH  1
#define KRY_IO_REWIND 2
#define KRY_IO_SKIP   4
#define KRY_IO_TELL   8
#define KRY_IO_CURSOR 16

typedef struct IO_STREAM IO_STREAM;

typedef struct IO_OPERATIONS {
    int32_t (*close)(IO_STREAM *stream);
    int32_t (*write_ch)(IO_STREAM *stream, int32_t ch);
    int32_t (*write)(IO_STREAM *stream, const void *data, int32_t length);
    int32_t (*read_ch)(IO_STREAM *stream);
    int32_t (*read)(IO_STREAM *stream, void *buffer, int32_t length);
    int32_t (*ctrl)(IO_STREAM *stream, int32_t command, void *argument);
} IO_OPERATIONS;

struct IO_STREAM {
    const IO_OPERATIONS *operations;
    int32_t error;    /* code of the last failure, 0 after success */
    uint32_t flags;   /* KRY_IO_READER or KRY_IO_WRITER, | KRY_IO_CLOSED once closed */
    uintptr_t handle; /* buffer streams: size in units; file streams: the FILE * */
    uint8_t *base;    /* buffer streams: the buffer */
    uint32_t position;/* buffer streams: units consumed or produced */
    uint8_t *cursor;  /* buffer streams: the current address */
    uintptr_t value;  /* buffer reader: the caller's value; memory-buffer streams: their MEM_BUF */
};

KRY_API int32_t _ioOpenBufReader(IO_STREAM *stream, uint8_t *buffer, uint32_t size, uintptr_t value);
KRY_API int32_t ioOpenBufWriter(IO_STREAM *stream, uint8_t *buffer, uint32_t size);
KRY_API int32_t ioOpenFileReader(IO_STREAM *stream, const char *path);
KRY_API int32_t ioOpenFileWriter(IO_STREAM *stream, const char *path);
KRY_API int32_t ioOpenMemBufWriter(IO_STREAM *stream, MEM_BUF *buffer);
KRY_API int32_t ioOpenMemBufReader(IO_STREAM *stream, MEM_BUF *buffer);

KRY_API int32_t _ioWriteCh(IO_STREAM *stream, int32_t ch);
KRY_API int32_t _ioWrite(IO_STREAM *stream, const void *data, int32_t length);
KRY_API int32_t _ioReadCh(IO_STREAM *stream);
KRY_API int32_t _ioRead(IO_STREAM *stream, void *buffer, int32_t length);
KRY_API int32_t _ioCtrl(IO_STREAM *stream, int32_t command, void *argument);
KRY_API int32_t _ioClose(IO_STREAM *stream);
/* One line, with its line feed and a NUL: the characters stored, or -1. */
KRY_API int32_t _ioReadLn(IO_STREAM *stream, char *buffer, int32_t size);

KRY_API int32_t ioNullClose(IO_STREAM *stream);
KRY_API int32_t ioNullReadCh(IO_STREAM *stream);
KRY_API int32_t ioNullRead(IO_STREAM *stream);
KRY_API int32_t ioNullCtl(IO_STREAM *stream, int32_t command);

/* The whole file in a lum_malloc buffer (release with lum_free): its
 * length, or -1. */
KRY_API int32_t File_to_binary(const char *path, uint8_t **out);
/* Writes length bytes from data + offset: the count written, or -1. */
KRY_API int32_t binary_to_File(const uint8_t *data, int32_t offset, int32_t length, const char *path);

KRY_END_DECLS

#endif /* KRY_STREAM_H */
