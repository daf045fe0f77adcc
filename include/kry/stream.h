/**
 * @file kry/stream.h
 * @brief Byte streams over memory buffers, memory-buffer chains and files,
 * and two whole-file helpers.
 *
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

#define KRY_IO_BAD_ARGUMENT  6  /**< null stream or path */
#define KRY_IO_READ_FAILED   27 /**< result of a failed character read */
#define KRY_IO_LINE_TOO_LONG 28 /**< _ioReadLn: the line does not fit */
#define KRY_IO_END           29 /**< end of data */
#define KRY_IO_CLOSE_FAILED  30 /**< closing the file failed */
#define KRY_IO_OPEN_FAILED   32 /**< the file could not be opened */
#define KRY_IO_FILE_FAILED   33 /**< read, write or seek failed */
#define KRY_IO_UNSUPPORTED   34 /**< the stream has no such operation or command */

#define KRY_IO_READER 0x181u /**< flags of a reading stream */
#define KRY_IO_WRITER 0x182u /**< flags of a writing stream */
#define KRY_IO_CLOSED 0x40u  /**< or-ed into the flags once the stream is closed */

/** @name Control commands of _ioCtrl()
 * @{ */
#define KRY_IO_FLUSH  1  /**< flush buffered output */
#define KRY_IO_REWIND 2  /**< back to the start */
#define KRY_IO_SKIP   4  /**< readers: skip the number of units given as the argument itself */
#define KRY_IO_TELL   8  /**< the position, into *(uint32_t *)argument */
#define KRY_IO_CURSOR 16 /**< readers: the current address, into *(uint8_t **)argument */
/** @} */

/** A byte stream; see struct IO_STREAM. */
typedef struct IO_STREAM IO_STREAM;

/** The six operations of a stream kind; the _io calls dispatch to them. */
typedef struct IO_OPERATIONS {
    int32_t (*close)(IO_STREAM *stream);                                  /**< releases the underlying object */
    int32_t (*write_ch)(IO_STREAM *stream, int32_t ch);                   /**< writes one character */
    int32_t (*write)(IO_STREAM *stream, const void *data, int32_t length); /**< writes a block */
    int32_t (*read_ch)(IO_STREAM *stream);                                /**< reads one character */
    int32_t (*read)(IO_STREAM *stream, void *buffer, int32_t length);     /**< reads a block */
    int32_t (*ctrl)(IO_STREAM *stream, int32_t command, void *argument);  /**< a KRY_IO_ control command */
} IO_OPERATIONS;

/** A stream record.  Every field is public; each operation first checks
 *  that the fields describe a usable stream. */
struct IO_STREAM {
    const IO_OPERATIONS *operations; /**< the stream kind's operations */
    int32_t error;    /**< code of the last failure, 0 after success */
    uint32_t flags;   /**< KRY_IO_READER or KRY_IO_WRITER, | KRY_IO_CLOSED once closed */
    uintptr_t handle; /**< buffer streams: size in units; file streams: the FILE * */
    uint8_t *base;    /**< buffer streams: the buffer */
    uint32_t position;/**< buffer streams: units consumed or produced */
    uint8_t *cursor;  /**< buffer streams: the current address */
    uintptr_t value;  /**< buffer reader: the caller's value; memory-buffer streams: their MEM_BUF */
};

/** Opens a reader over a caller's buffer.
 *  @param stream the record to fill.
 *  @param buffer the buffer (4 x @p size bytes addressable; not owned).
 *  @param size   the buffer's size in units.
 *  @param value  a caller's value kept in the record.
 *  @return 0, or #KRY_IO_BAD_ARGUMENT for a null @p stream. */
KRY_API int32_t _ioOpenBufReader(IO_STREAM *stream, uint8_t *buffer, uint32_t size, uintptr_t value);
/** Opens a writer over a caller's buffer.
 *  @param stream the record to fill.
 *  @param buffer the buffer (not owned).
 *  @param size   the buffer's size in units.
 *  @return 0, or #KRY_IO_BAD_ARGUMENT. */
KRY_API int32_t ioOpenBufWriter(IO_STREAM *stream, uint8_t *buffer, uint32_t size);
/** Opens a file for reading (binary).  Close it with _ioClose().
 *  @param stream the record to fill.
 *  @param path   the file.
 *  @return 0, #KRY_IO_BAD_ARGUMENT or #KRY_IO_OPEN_FAILED. */
KRY_API int32_t ioOpenFileReader(IO_STREAM *stream, const char *path);
/** Creates or truncates a file for writing (binary).  Close it with _ioClose().
 *  @param stream the record to fill.
 *  @param path   the file.
 *  @return 0, #KRY_IO_BAD_ARGUMENT or #KRY_IO_OPEN_FAILED. */
KRY_API int32_t ioOpenFileWriter(IO_STREAM *stream, const char *path);
/** Opens a writer that appends to a memory buffer (memBufUpdate()).
 *  @param stream the record to fill.
 *  @param buffer the memory buffer (not owned).
 *  @return 0, or #KRY_IO_BAD_ARGUMENT. */
KRY_API int32_t ioOpenMemBufWriter(IO_STREAM *stream, MEM_BUF *buffer);
/** Opens a reader that walks a memory buffer's block chain.
 *  @param stream the record to fill.
 *  @param buffer the memory buffer (not owned).
 *  @return 0, or #KRY_IO_BAD_ARGUMENT. */
KRY_API int32_t ioOpenMemBufReader(IO_STREAM *stream, MEM_BUF *buffer);

/** Writes one character (its low byte).
 *  @param stream a writer.
 *  @param ch     the character.
 *  @return 0 or a KRY_IO_ code. */
KRY_API int32_t _ioWriteCh(IO_STREAM *stream, int32_t ch);
/** Writes a block.
 *  @param stream a writer.
 *  @param data   the bytes.
 *  @param length units to write.
 *  @return the units written, or -1 (the code is in stream->error). */
KRY_API int32_t _ioWrite(IO_STREAM *stream, const void *data, int32_t length);
/** Reads one character.
 *  @param stream a reader.
 *  @return the character, or #KRY_IO_READ_FAILED (the code is in stream->error). */
KRY_API int32_t _ioReadCh(IO_STREAM *stream);
/** Reads a block.
 *  @param stream a reader.
 *  @param buffer receives the bytes.
 *  @param length units wanted.
 *  @return the units read (0 at the end, with #KRY_IO_END stored), or -1. */
KRY_API int32_t _ioRead(IO_STREAM *stream, void *buffer, int32_t length);
/** Runs a control command (#KRY_IO_FLUSH, #KRY_IO_REWIND, #KRY_IO_SKIP,
 *  #KRY_IO_TELL, #KRY_IO_CURSOR); what each kind of stream supports varies.
 *  @param stream   the stream.
 *  @param command  the command.
 *  @param argument the command's argument or out pointer.
 *  @return 0 or a KRY_IO_ code (#KRY_IO_UNSUPPORTED for a command the stream
 *          does not have). */
KRY_API int32_t _ioCtrl(IO_STREAM *stream, int32_t command, void *argument);
/** Flushes, then closes the stream; a closed stream is not closed again.
 *  @param stream the stream.
 *  @return 0 or a KRY_IO_ code. */
KRY_API int32_t _ioClose(IO_STREAM *stream);
/** Reads one line: characters up to and including a line feed, at most
 *  @p size - 1 of them, then a NUL.
 *  @param stream a reader.
 *  @param buffer receives the line.
 *  @param size   bytes available at @p buffer.
 *  @return the characters stored, or -1 (#KRY_IO_LINE_TOO_LONG when no line
 *          feed came in time). */
KRY_API int32_t _ioReadLn(IO_STREAM *stream, char *buffer, int32_t size);

/** Null close operation, for operation tables.
 *  @param stream the stream (unused).
 *  @return 0. */
KRY_API int32_t ioNullClose(IO_STREAM *stream);
/** Null character read, for operation tables: stores #KRY_IO_UNSUPPORTED.
 *  @param stream the stream.
 *  @return #KRY_IO_READ_FAILED. */
KRY_API int32_t ioNullReadCh(IO_STREAM *stream);
/** Null block read, for operation tables: stores #KRY_IO_UNSUPPORTED.
 *  @param stream the stream.
 *  @return -1. */
KRY_API int32_t ioNullRead(IO_STREAM *stream);
/** Null control operation, for operation tables.
 *  @param stream  the stream (unused).
 *  @param command the command.
 *  @return 0 for #KRY_IO_FLUSH, #KRY_IO_UNSUPPORTED otherwise. */
KRY_API int32_t ioNullCtl(IO_STREAM *stream, int32_t command);

/** Reads a whole file into a new buffer.
 *  @param path the file.
 *  @param out  receives a lum_malloc() buffer; release it with lum_free().
 *  @return the file's length, or -1 (missing, empty or unreadable file). */
KRY_API int32_t File_to_binary(const char *path, uint8_t **out);
/** Writes @p length bytes from @p data + @p offset to a file (created or
 *  truncated).
 *  @param data   the bytes; they must hold @p offset + @p length bytes.
 *  @param offset where to start in @p data (not negative).
 *  @param length bytes to write.
 *  @param path   the file.
 *  @return the count written, or -1. */
KRY_API int32_t binary_to_File(const uint8_t *data, int32_t offset, int32_t length, const char *path);

KRY_END_DECLS

#endif /* KRY_STREAM_H */
