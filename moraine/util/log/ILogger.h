#pragma once

#include <cstdint>
#include <memory>

#include "moraine/Export.h"
#include "moraine/io/FileOutputStream.h"
#include "moraine/text/UTF8Encoder.h"
#include "moraine/text/WideChar.h"

namespace moraine::platform {
class LoggerMutex;
}

namespace moraine::util::log {

/// Writes lines of text with a timestamp to a file: "2026/11/18 07:35:22 message\r\n", in Universal Time and UTF-8.
///
/// It is complete as it is; a class derived from it may replace the way a line is written.
///
/// The file is opened by the first `write`, which cuts an existing file to length 0, and stays open; each line is
/// handed to the system before `write` returns. So every logger, and every run of a program, starts its file afresh,
/// and two loggers on one file destroy each other's lines. A path set after the file has been opened does not
/// redirect the log. Where the system takes no more, a full disk say, lines are lost without a word.
///
/// UTF-8 here is that of `text::UTF8Encoder`: a character beyond U+FFFF, which is a pair of units, becomes six bytes.
/// That is not RFC 3629, and other programs refuse it or show replacement characters.
///
/// Threads and processes. `write` may be called by any thread. One lock, named "LoggerMutex", serialises the writing of
/// all loggers of all processes of the machine; it is held while the file is opened and a line is written. There is no
/// time-out: a thread that stays in `doWriteLog` keeps all others waiting. The thread that has the lock may take it
/// again, so `doWriteLog` may write through another logger. A process that dies frees it. Where the lock cannot be had,
/// lines are written without it, and only the threads of one logger exclude each other; two loggers must not write
/// through each other there, or two threads may wait for each other without end.
///
/// The lock is a System V semaphore with the key 0x4C6F674D ("LogM"), made by the first line that needs it. "Of the
/// machine" means of the IPC namespace: containers share the lock only if they share that. The logger keeps nothing of
/// it between two lines, and no descriptor at any time, so descriptors may be closed and the process may fork as it
/// likes. A forked child has no part in the lock, even if the thread that forked it had it. A child that was forked
/// while another thread was in `write` should not use that thread's logger, whose state may be in the middle of a
/// change. A process must not replace itself by another program (`exec`) while one of its threads is in `write`: the
/// new program would keep the lock until it ends.
///
/// A thread that is cancelled while it waits for the lock, or has it, goes on to the next cancellation point of
/// `doWriteLog`; the library's own has none. The lock is freed on every way out. The other operations are for one
/// thread at a time. Not copyable.
class MORAINE_API ILogger {
public:
    /// A logger without a path.
    /// @throws std::bad_alloc
    ILogger();
    ILogger(const ILogger& other) = delete;

    /// Closes the file.
    virtual ~ILogger();

    ILogger& operator=(const ILogger& other) = delete;

    /// Keeps a copy of a zero-terminated path, which may be the present one, for the next `write` that opens a file:
    /// the first one, and the one after an attempt to open that failed. A null path counts as empty, which opens
    /// no file. The path as it was stays where there is no room for the copy (`std::bad_alloc`).
    virtual void setOutputPath(const WideChar* path);

    /// The path as it was given, null if none was. Belongs to the logger and is good until the next `setOutputPath`.
    virtual const WideChar* getOutputPath();

    /// Writes a line. A null message counts as empty.
    /// @throws lang::IllegalStateException "Output path is NULL." if no path was set
    /// @throws io::FileNotFoundException, io::IOException if the file cannot be opened, on the terms of
    ///         `io::FileOutputStream::setFileName`; the next `write` tries again
    /// @throws std::length_error if the line would have 2^32 units, or bytes in UTF-8, or more; nothing is written
    ///
    /// What `doWriteLog` throws, and `std::bad_alloc`, passes through; the lock is freed in every case.
    virtual void write(const WideChar* message);

protected:
    /// The name of the object's class, for failures: static text.
    virtual const WideChar* getClassName() const;

    /// Writes one line to the open file and flushes it: the time, a blank, @p message, which may be null, and "\r\n".
    /// Called by `write` with the lock held. A class derived from this one reaches the file through this operation
    /// only, so it changes the message and passes it on, or writes elsewhere.
    virtual void doWriteLog(const WideChar* message);

private:
    MORAINE_HIDDEN bool writeLocked(const WideChar* message);
    MORAINE_HIDDEN void stamp();

    std::unique_ptr<WideChar[]> outputPath;
    bool needReopen = false;
    const std::unique_ptr<platform::LoggerMutex> mutex;
    WideChar timestamp[20] = {};  // of the last line
    std::int64_t time = -1;       // that it tells
    io::FileOutputStream stream;
    text::UTF8Encoder encoder;
};

}  // namespace moraine::util::log
